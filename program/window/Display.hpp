#pragma once

#include "program/Start.hpp"

#include <QApplication>

#include <memory>

namespace corvel {

/// The application object for a window on the user's display. Null if no display can be opened, which is reported on
/// standard error. Must come before any other application object.
///
/// If the desktop's text is larger or smaller than usual, the program starts itself again in that scale, because the
/// toolkit takes a scale only at its start.
[[nodiscard]] std::unique_ptr<QApplication> openDisplay(const Start& start);

/// The application object for windows that are only drawn, with this number of pixels per point. Needs no display. Must
/// come before any other application object, and while the program has one thread.
[[nodiscard]] std::unique_ptr<QApplication> openDrawing(QtArguments& arguments, double scale);

}  // namespace corvel
