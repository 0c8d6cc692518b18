#pragma once

#include "core/routes/KeyboardShortcutSpec.hpp"

#include <QString>

#include <optional>

class QKeyEvent;

/// Conversion of keyboard shortcuts between the toolkit's key events, the model, and the labels of keys.
namespace corvel::ui {

/// The shortcut of a key press; no value for a key without modifiers, a modifier alone, or a key that types nothing.
///
/// Ctrl is `command`, Super `control`, Alt `option` and Shift `shift`; other modifiers are ignored. Letters and digits
/// are identified by the key's position on the keyboard, whatever its layout; other keys by the text that they type
/// with Shift applied.
[[nodiscard]] std::optional<KeyboardShortcutSpec> shortcutForKeyEvent(const QKeyEvent& event);

/// The shortcut with the names of the keys on the keyboard: "Ctrl+Alt+P".
[[nodiscard]] QString shortcutInWords(const KeyboardShortcutSpec& shortcut);

}  // namespace corvel::ui
