#pragma once

#include <functional>

namespace corvel::ui {

/// Runs `paint`, which paints into an image, on a thread of the toolkit's pool, and waits for it.
///
/// On other threads the toolkit divides every larger translucent fill among the pool's threads, which takes many times
/// longer here than the fill itself. `paint` must not use pixmaps. Main thread only.
void paintOnPoolThread(const std::function<void()>& paint);

}  // namespace corvel::ui
