#pragma once

#include "ui/controls/SheetDialog.hpp"
#include "ui/controls/TextButton.hpp"

#include <QString>

class QVBoxLayout;

namespace corvel::ui {

/// A question to the user, which holds up the application until it is answered: a message, a text that explains it,
/// possibly something to fill in, and two buttons. Return presses the first, which is the only one that applies, unless
/// the second has the focus; Escape presses the second.
class AlertDialog : public SheetDialog {
    Q_OBJECT

public:
    enum class Style {
        plain,
        /// A triangle above the message.
        warning,
        /// The same without the second button: there is nothing to decide.
        notice,
    };

    /// `confirmation` is the first button's title.
    AlertDialog(const Look& look, Style style, const QString& message, const QString& informativeText,
                const QString& confirmation, TextButton::Role confirmationRole, QWidget* parent);

    /// Puts a view between text and buttons, centred; it belongs to the dialog from now on.
    void setAccessory(QWidget* accessory);

    /// Whether a question waits for its answer in any window.
    [[nodiscard]] static bool isAnyOpen();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    QVBoxLayout* accessoryPlace_;
};

}  // namespace corvel::ui
