#pragma once

#include "program/QtArguments.hpp"

#include <QApplication>

#include <memory>

namespace corvel {

/// The application object for a window, on the user's display. Null where there is none that can be opened, of which is
/// said so on standard error. Before any other application object.
[[nodiscard]] std::unique_ptr<QApplication> openDisplay(QtArguments& arguments);

/// The application object for windows that are only drawn, with so many pixels to a point; needs no display. Before any
/// other application object, and while the program has one thread.
[[nodiscard]] std::unique_ptr<QApplication> openDrawing(QtArguments& arguments, double scale);

}  // namespace corvel
