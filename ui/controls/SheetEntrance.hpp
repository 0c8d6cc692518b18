#pragma once

#include <QPixmap>
#include <QVariantAnimation>
#include <QWidget>

namespace corvel::ui {

/// The animation of a sheet that appears: it fades in over the former content of its window, and rises a little. A
/// picture over the sheet that takes neither mouse nor keys and deletes itself.
class SheetEntrance final : public QWidget {
    Q_OBJECT

public:
    /// `behind` is the window's picture at the sheet's place, `picture` the sheet's own.
    SheetEntrance(QWidget& sheet, QPixmap behind, QPixmap picture);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const QPixmap behind_;
    const QPixmap picture_;
    QVariantAnimation level_;
};

}  // namespace corvel::ui
