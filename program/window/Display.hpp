#pragma once

#include "program/Start.hpp"

#include <QApplication>

#include <memory>

namespace corvel {

/// The application object for a window, on the user's display. Null where there is none that can be opened, of which is
/// said so on standard error. Before any other application object.
///
/// Where the desktop's text is larger or smaller than usual, the program starts itself again with everything in that
/// scale, because the toolkit takes a scale only at its start.
[[nodiscard]] std::unique_ptr<QApplication> openDisplay(const Start& start);

/// The application object for windows that are only drawn, with so many pixels to a point; needs no display. Before any
/// other application object, and while the program has one thread.
[[nodiscard]] std::unique_ptr<QApplication> openDrawing(QtArguments& arguments, double scale);

}  // namespace corvel
