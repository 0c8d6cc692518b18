#pragma once

#include "ui/Look.hpp"

#include <QPixmap>
#include <QRectF>
#include <QVariantAnimation>
#include <QWidget>

class QPainter;

namespace corvel::ui {

/// Dims a window behind a sheet, takes the clicks that are meant for the window, and holds the sheet's shadow: a sheet
/// draws nothing outside its card.
class Scrim final : public QWidget {
    Q_OBJECT

public:
    /// Milliseconds in which it, and the sheet over it, fades in.
    static constexpr int kFadeIn = 140;

    /// Covers the window until `fadeOut`. `card` is the sheet's place in the window.
    Scrim(const Look& look, QWidget& window, const QRectF& card);

    void setCard(const QRectF& card);
    [[nodiscard]] const QRectF& card() const { return card_; }

    /// Fades out together with the sheet's last picture, if it had one, and deletes itself. The window takes clicks
    /// again at once.
    void fadeOut(const QPixmap& sheet);

    /// What a window looks like behind a sheet once faded in, painted over it.
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
