#pragma once

#include "core/routes/KeyboardShortcutSpec.hpp"

#include <QString>

#include <optional>

class QKeyEvent;

/// Keyboard shortcuts between the toolkit's key events, the model and what is printed on the keys.
namespace corvel::ui {

/// The shortcut that a key press stands for, or none: a bare key, a modifier alone, a key that writes nothing.
///
/// Ctrl is `command`, Super `control`, Alt `option` and Shift `shift`; other modifiers do not count. Letters and digits
/// are told by the key's place on the keyboard, whatever its layout; other keys by what they write with Shift applied.
[[nodiscard]] std::optional<KeyboardShortcutSpec> shortcutForKeyEvent(const QKeyEvent& event);

/// The shortcut as a keyboard names its keys: "Ctrl+Alt+P".
[[nodiscard]] QString shortcutInWords(const KeyboardShortcutSpec& shortcut);

}  // namespace corvel::ui
