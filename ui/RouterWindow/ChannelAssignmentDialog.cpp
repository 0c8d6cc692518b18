#include "ui/RouterWindow/ChannelAssignmentDialog.hpp"

#include "ui/RouterWindow/ChannelAssignmentView.hpp"
#include "ui/RouterWindow/RouteTexts.hpp"
#include "ui/RouterWindow/ShortcutConflicts.hpp"
#include "ui/controls/LookLabel.hpp"

namespace corvel::ui {

ChannelAssignmentDialog* ChannelAssignmentDialog::forAdding(MIDIRouterViewModel& model, const Look& look,
                                                            const MIDIRoute& route, QWidget* parent) {
    auto* const editor =
        new ChannelAssignmentView(look, MIDIRouterViewModel::suggestedVariantChannelMode(route), std::nullopt);
    return new ChannelAssignmentDialog(
        model, look, route.id, std::nullopt, QStringLiteral("Add Output Channel"),
        QStringLiteral("Choose the output channel and optionally press a shortcut while this dialog is open."), editor,
        parent);
}

ChannelAssignmentDialog* ChannelAssignmentDialog::forEditing(MIDIRouterViewModel& model, const Look& look,
                                                             const MIDIRoute& route, QWidget* parent) {
    const MIDIRouteVariant* const active = route.activeVariant();
    if (active == nullptr) {
        return nullptr;
    }
    auto* const editor = new ChannelAssignmentView(look, channelMode(*active), active->shortcut);
    return new ChannelAssignmentDialog(
        model, look, route.id, active->id, QStringLiteral("Edit Output Channel"),
        QStringLiteral("Edit the selected output channel and optionally press a shortcut while this dialog is open."),
        editor, parent);
}

ChannelAssignmentDialog::ChannelAssignmentDialog(MIDIRouterViewModel& model, const Look& look, const UUID& routeID,
                                                 const std::optional<UUID>& variantID, const QString& message,
                                                 const QString& informativeText, ChannelAssignmentView* editor,
                                                 QWidget* parent)
    : AlertDialog(look, Style::plain, message, informativeText, QStringLiteral("OK"), TextButton::Role::primary,
                  parent),
      model_(model),
      routeID_(routeID),
      variantID_(variantID),
      editor_(editor) {
    auto* const name = new LookLabel(look, Look::font(14, QFont::DemiBold), &Theme::text, this);
    name->setAlignment(Qt::AlignCenter);
    name->setElided(true);
    name->setMaximumWidth(editor->width());
    if (const MIDIRoute* const route = model.route(routeID); route != nullptr) {
        name->setLine(connectionName(model, *route));
    }
    setAccessory(name);
    setAccessory(editor);
    const QWidget& window = *parent->window();
    const auto showConflict = [this, &window] {
        const std::optional<KeyboardShortcutSpec>& shortcut = editor_->shortcut();
        editor_->setConflict(shortcut ? shortcutConflict(model_, routeID_, *shortcut, editor_->keys(), window)
                                      : QString());
    };
    connect(editor, &ChannelAssignmentView::shortcutChanged, this, showConflict);
    showConflict();
}

bool ChannelAssignmentDialog::isStillAboutSomething() const {
    const MIDIRoute* const route = model_.route(routeID_);
    return route != nullptr && (!variantID_ || route->activeVariantID == *variantID_);
}

void ChannelAssignmentDialog::refresh() {
    if (!isStillAboutSomething()) {
        reject();
    }
}

void ChannelAssignmentDialog::done(int result) {
    if (result == Accepted && isStillAboutSomething()) {
        apply();
    }
    AlertDialog::done(result);
}

void ChannelAssignmentDialog::apply() {
    if (variantID_) {
        model_.updateActiveChannelAssignment(routeID_, editor_->channelMode(), editor_->shortcut());
    } else {
        model_.addChannelAssignment(routeID_, editor_->channelMode(), editor_->shortcut());
    }
}

}  // namespace corvel::ui
