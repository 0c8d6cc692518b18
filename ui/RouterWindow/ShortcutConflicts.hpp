#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "core/routes/KeyboardShortcutSpec.hpp"
#include "core/support/UUID.hpp"

#include <QKeySequence>
#include <QString>

class QWidget;

namespace corvel::ui {

/// The shortcut as the toolkit knows it.
[[nodiscard]] QKeySequence keySequence(const KeyboardShortcutSpec& shortcut);

/// What else a shortcut of this connection means, in one line: a command of the program, or a channel of another
/// connection of the current set. Empty if it means nothing else. `keys` are those that were pressed for it; `window`
/// is the one that has the program's commands.
[[nodiscard]] QString shortcutConflict(const MIDIRouterViewModel& model, const UUID& routeID,
                                       const KeyboardShortcutSpec& shortcut, const QKeySequence& keys,
                                       const QWidget& window);

}  // namespace corvel::ui
