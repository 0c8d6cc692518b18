#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "core/routes/KeyboardShortcutSpec.hpp"
#include "core/support/UUID.hpp"

#include <QKeySequence>
#include <QString>

class QWidget;

namespace corvel::ui {

/// The shortcut as a key sequence of the toolkit.
[[nodiscard]] QKeySequence keySequence(const KeyboardShortcutSpec& shortcut);

/// The other meaning of a shortcut of this connection, in one line: a command of the program, or a channel of another
/// connection of the current set. Empty if there is none. `keys` were pressed for the shortcut; `window` has the
/// program's commands.
[[nodiscard]] QString shortcutConflict(const MIDIRouterViewModel& model, const UUID& routeID,
                                       const KeyboardShortcutSpec& shortcut, const QKeySequence& keys,
                                       const QWidget& window);

}  // namespace corvel::ui
