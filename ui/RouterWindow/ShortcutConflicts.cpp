#include "ui/RouterWindow/ShortcutConflicts.hpp"

#include "ui/RouterWindow/KeyEventShortcut.hpp"
#include "ui/RouterWindow/RouteTexts.hpp"

#include <QAction>
#include <QList>
#include <QShortcut>
#include <QWidget>

#include <algorithm>

namespace corvel::ui {

namespace {

/// The title of the window's command with these keys; empty if there is none.
QString commandWith(const QKeySequence& keys, const QWidget& window) {
    QList<const QWidget*> views(1, &window);
    views.append(window.findChildren<const QWidget*>());
    for (const QWidget* const view : views) {
        for (const QAction* const action : view->actions()) {
            if (action->shortcuts().contains(keys)) {
                return action->text();
            }
        }
    }
    for (const QShortcut* const shortcut : window.findChildren<const QShortcut*>()) {
        if (shortcut->key() == keys) {
            return shortcut->whatsThis();
        }
    }
    return {};
}

bool hasShortcut(const MIDIRoute& route, const KeyboardShortcutSpec& shortcut) {
    return std::ranges::any_of(route.variants,
                               [&](const MIDIRouteVariant& variant) { return variant.shortcut == shortcut; });
}

}  // namespace

QKeySequence keySequence(const KeyboardShortcutSpec& shortcut) {
    // The key is labelled "Super"; the toolkit calls it "Meta".
    return QKeySequence::fromString(
        shortcutInWords(shortcut).replace(QStringLiteral("Super+"), QStringLiteral("Meta+")));
}

QString shortcutConflict(const MIDIRouterViewModel& model, const UUID& routeID, const KeyboardShortcutSpec& shortcut,
                         const QKeySequence& keys, const QWidget& window) {
    if (const QString command = commandWith(keys, window); !command.isEmpty()) {
        return QStringLiteral("In other sets these keys mean “%1”").arg(command);
    }
    for (const MIDIRoute& route : model.routes()) {
        if (route.id != routeID && hasShortcut(route, shortcut)) {
            return QStringLiteral("Also a shortcut of “%1”").arg(connectionName(model, route));
        }
    }
    return {};
}

}  // namespace corvel::ui
