#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "core/support/UUID.hpp"
#include "ui/controls/AlertDialog.hpp"

#include <optional>

namespace corvel::ui {

class ChannelAssignmentView;

/// Asks for a channel and a shortcut. Adds a channel assignment to a connection, or changes the connection's active
/// one. Only "OK" changes anything.
///
/// The model may change while the dialog is open: the answer applies only to the connection or assignment that the
/// dialog was opened for.
class ChannelAssignmentDialog final : public AlertDialog {
    Q_OBJECT

public:
    /// The dialog that adds an assignment to a connection.
    [[nodiscard]] static ChannelAssignmentDialog* forAdding(MIDIRouterViewModel& model, const Look& look,
                                                            const MIDIRoute& route, QWidget* parent);

    /// The dialog that changes a connection's active assignment; null if it has none.
    [[nodiscard]] static ChannelAssignmentDialog* forEditing(MIDIRouterViewModel& model, const Look& look,
                                                             const MIDIRoute& route, QWidget* parent);

    /// Closes the dialog if its connection or assignment no longer exists.
    void refresh();

protected:
    void done(int result) override;

private:
    ChannelAssignmentDialog(MIDIRouterViewModel& model, const Look& look, const UUID& routeID,
                            const std::optional<UUID>& variantID, const QString& message,
                            const QString& informativeText, ChannelAssignmentView* editor, QWidget* parent);

    [[nodiscard]] bool isStillAboutSomething() const;
    void apply();

    MIDIRouterViewModel& model_;
    const UUID routeID_;
    /// The assignment to change; no value when adding one.
    const std::optional<UUID> variantID_;
    ChannelAssignmentView* editor_;
};

}  // namespace corvel::ui
