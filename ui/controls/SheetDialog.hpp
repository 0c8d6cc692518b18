#pragma once

#include "ui/Look.hpp"

#include <QDialog>
#include <QPixmap>
#include <QPointer>

class QAction;

namespace corvel::ui {

class Scrim;

/// A dialog that is a card in the middle of its parent's window, which is dimmed and takes neither clicks nor keys
/// while the card is shown. Part of that window: it moves with it on every desktop. Screen readers know it as a dialog.
///
/// The focus stays inside, and goes back to where it was once the dialog is closed. A dialog that is shown over another
/// one covers that one too. Deletes itself once closed.
class SheetDialog : public QDialog {
    Q_OBJECT

public:
    SheetDialog(const Look& look, QWidget* parent);
    ~SheetDialog() override;

    void setVisible(bool isVisible) override;

    /// The window's action keeps its shortcut while a dialog covers the window: for what must not wait.
    static void letThrough(QAction& action);

    /// The dialog that covers this window and everything else in it; null without one.
    [[nodiscard]] static SheetDialog* topOf(const QWidget& window);

protected:
    [[nodiscard]] const Look& look() const { return look_; }
    [[nodiscard]] const Theme& theme() const { return look_.theme(); }

    /// Who has the focus when the dialog appears.
    void setFirstFocus(QWidget* view) { focus_ = view; }

    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void appear();
    void disappear();
    void setShown(bool isShown);
    /// As large as its contents, as far as the window has room, in the middle.
    void place();
    [[nodiscard]] QPixmap picture();
    [[nodiscard]] bool isLetThrough(const QKeyEvent& event) const;
    void takeFocus();
    void giveFocusBack();
    /// Keeps the focus inside while nothing covers this dialog.
    void followFocus(QWidget* now);

    const Look& look_;
    QPointer<Scrim> scrim_;
    /// Who has the focus here, also while another dialog covers this one.
    QPointer<QWidget> focus_;
    /// Who had the focus before this dialog appeared.
    QPointer<QWidget> formerFocus_;
};

}  // namespace corvel::ui
