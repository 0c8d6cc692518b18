#pragma once

namespace corvel::ui {

/// Makes screen readers see each `SheetDialog` as a modal dialog, although it is part of its window.
void installSheetAccessibility();

}  // namespace corvel::ui
