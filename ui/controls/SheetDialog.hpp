#pragma once

#include "ui/Look.hpp"

#include <QDialog>
#include <QPixmap>
#include <QPointer>

class QAction;

namespace corvel::ui {

class Scrim;

/// A dialog that is a card in the middle of its parent's window. The window is dimmed and takes neither clicks nor keys
/// while the card is shown. The dialog is part of that window, so it moves with it on every desktop. Screen readers see
/// it as a dialog.
///
/// The focus stays inside, and returns to its former place when the dialog is closed. A dialog that is shown over
/// another one also covers that one. Deletes itself when closed.
class SheetDialog : public QDialog {
    Q_OBJECT

public:
    SheetDialog(const Look& look, QWidget* parent);
    ~SheetDialog() override;

    void setVisible(bool isVisible) override;

    /// Keeps the shortcut of a window's action working while a dialog covers the window, for urgent commands.
    static void letThrough(QAction& action);

    /// The topmost dialog of this window; null if there is none.
    [[nodiscard]] static SheetDialog* topOf(const QWidget& window);

protected:
    [[nodiscard]] const Look& look() const { return look_; }
    [[nodiscard]] const Theme& theme() const { return look_.theme(); }

    /// Sets the view that has the focus when the dialog appears.
    void setFirstFocus(QWidget* view) { focus_ = view; }

    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void appear();
    void disappear();
    void setShown(bool isShown);
    /// Takes the size of the contents, limited to the window, and moves to the middle.
    void place();
    [[nodiscard]] QPixmap picture();
    [[nodiscard]] bool isLetThrough(const QKeyEvent& event) const;
    void takeFocus();
    void giveFocusBack();
    /// Keeps the focus inside while no other dialog covers this one.
    void followFocus(QWidget* now);

    const Look& look_;
    QPointer<Scrim> scrim_;
    /// The view that has the focus in this dialog, even while another dialog covers it.
    QPointer<QWidget> focus_;
    /// The view that had the focus before this dialog appeared.
    QPointer<QWidget> formerFocus_;
};

}  // namespace corvel::ui
