#pragma once

namespace corvel::ui {

/// Has screen readers know each `SheetDialog` as a modal dialog, although it is part of its window.
void installSheetAccessibility();

}  // namespace corvel::ui
