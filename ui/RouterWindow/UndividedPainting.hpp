#pragma once

#include <functional>

namespace corvel::ui {

/// Runs `paint`, which paints into an image, and returns when it is done.
///
/// The toolkit hands every larger translucent fill in pieces to its thread pool. Here that takes many times longer than
/// the fill itself, but it does not divide what is already painted on one of the pool's threads, as this is.
/// `paint` uses no pixmaps. Main thread only.
void paintUndivided(const std::function<void()>& paint);

}  // namespace corvel::ui
