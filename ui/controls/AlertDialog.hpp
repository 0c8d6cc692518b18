#pragma once

#include "ui/controls/SheetDialog.hpp"
#include "ui/controls/TextButton.hpp"

#include <QString>

class QVBoxLayout;

namespace corvel::ui {

/// A question that blocks the application until it is answered: a message, a text that explains it, optionally a view
/// to fill in, and two buttons. Return presses the first button, unless the second has the focus; only the first
/// applies the answer. Escape presses the second.
class AlertDialog : public SheetDialog {
    Q_OBJECT

public:
    enum class Style {
        plain,
        /// With a triangle above the message.
        warning,
        /// A warning without the second button: there is nothing to decide.
        notice,
    };

    /// `confirmation` is the first button's title.
    AlertDialog(const Look& look, Style style, const QString& message, const QString& informativeText,
                const QString& confirmation, TextButton::Role confirmationRole, QWidget* parent);

    /// Puts a view between text and buttons, centred. The dialog owns it from now on.
    void setAccessory(QWidget* accessory);

    /// Whether a question is open in any window.
    [[nodiscard]] static bool isAnyOpen();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    QVBoxLayout* accessoryPlace_;
};

}  // namespace corvel::ui
