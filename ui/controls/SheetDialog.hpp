#pragma once

#include "ui/Look.hpp"

#include <QDialog>
#include <QPixmap>
#include <QPointer>

namespace corvel::ui {

class Scrim;

/// A dialog that is a card over its parent's window, which is dimmed while it is shown. A window of its own for the
/// system and for screen readers; deletes itself once closed.
class SheetDialog : public QDialog {
    Q_OBJECT

public:
    SheetDialog(const Look& look, QWidget* parent);
    ~SheetDialog() override;

    void setVisible(bool isVisible) override;

protected:
    [[nodiscard]] const Look& look() const { return look_; }
    [[nodiscard]] const Theme& theme() const { return look_.theme(); }

    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QRect cardInWindow() const;
    void centre();
    /// The window's picture at the card's place, without the scrim.
    [[nodiscard]] QPixmap windowBehind() const;
    /// Dims what is behind for the card's round corners.
    void setBackdrop(const QPixmap& behind);

    const Look& look_;
    QPointer<Scrim> scrim_;
    /// What lies under the card's round corners; a window cannot be counted on to be see-through.
    QPixmap backdrop_;
};

}  // namespace corvel::ui
