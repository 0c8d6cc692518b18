#pragma once

#include "ui/Look.hpp"

#include <QPixmap>
#include <QRectF>
#include <QVariantAnimation>
#include <QWidget>

class QPainter;

namespace corvel::ui {

/// Dims a window behind a sheet, takes the clicks on the window, and draws the sheet's shadow, because a sheet draws
/// nothing outside its card.
class Scrim final : public QWidget {
    Q_OBJECT

public:
    /// Duration in milliseconds of the fade-in of the scrim and its sheet.
    static constexpr int kFadeIn = 140;

    /// Covers the window until `fadeOut`. `card` is the sheet's rectangle in the window.
    Scrim(const Look& look, QWidget& window, const QRectF& card);

    void setCard(const QRectF& card);
    [[nodiscard]] const QRectF& card() const { return card_; }

    /// Fades out together with the sheet's last picture, if any, and deletes itself. The window accepts clicks at once.
    void fadeOut(const QPixmap& sheet);

    /// Paints over the window what a completely faded-in scrim shows.
    static void paint(QPainter& painter, const QRectF& whole, const QRectF& card, const Theme& theme);

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void fadeTo(qreal level, int milliseconds);

    const Look& look_;
    QRectF card_;
    QPixmap leavingSheet_;
    QVariantAnimation fade_;
};

}  // namespace corvel::ui
