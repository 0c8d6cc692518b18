#include "ui/controls/Scrim.hpp"

#include "ui/controls/Painting.hpp"

#include <QEvent>
#include <QPainter>

namespace corvel::ui {

namespace {

constexpr int kFadeOut = 100;
constexpr qreal kCardRadius = 12;
constexpr int kShadowLayers = 6;
constexpr qreal kShadowStep = 4;
constexpr qreal kShadowDrop = 8;
constexpr qreal kShadowAlpha = 0.06;

}  // namespace

Scrim::Scrim(const Look& look, QWidget& window, const QRectF& card) : QWidget(&window), look_(look), card_(card) {
    setGeometry(window.rect());
    setAttribute(Qt::WA_NoMousePropagation);
    window.installEventFilter(this);
    connect(&look, &Look::changed, this, [this] { update(); });
    connect(&fade_, &QVariantAnimation::valueChanged, this, [this] { update(); });
    raise();
    show();
    fade_.setEndValue(0.0);
    fadeTo(1, kFadeIn);
}

void Scrim::setCard(const QRectF& card) {
    card_ = card;
    update();
}

void Scrim::fadeOut(const QPixmap& sheet) {
    leavingSheet_ = sheet;
    setAttribute(Qt::WA_TransparentForMouseEvents);
    connect(&fade_, &QVariantAnimation::finished, this, &QObject::deleteLater);
    fadeTo(0, kFadeOut);
}

void Scrim::fadeTo(qreal level, int milliseconds) {
    fade_.stop();
    fade_.setStartValue(fade_.currentValue().isValid() ? fade_.currentValue() : 0.0);
    fade_.setEndValue(level);
    fade_.setDuration(animationDuration(*this, milliseconds));
    fade_.start();
}

void Scrim::paint(QPainter& painter, const QRectF& whole, const QRectF& card, const Theme& theme) {
    painter.fillRect(whole, theme.scrim);
    QColor shadow(Qt::black);
    shadow.setAlphaF(static_cast<float>(kShadowAlpha));
    painter.setRenderHint(QPainter::Antialiasing);
    for (int layer = 0; layer < kShadowLayers; ++layer) {
        const qreal out = layer * kShadowStep;
        painter.fillPath(roundedPath(card.translated(0, kShadowDrop).adjusted(-out, -out, out, out), kCardRadius + out),
                         shadow);
    }
}

void Scrim::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setOpacity(fade_.currentValue().toReal());
    paint(painter, rect(), card_, look_.theme());
    painter.drawPixmap(card_.topLeft(), leavingSheet_);
}

bool Scrim::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize) {
        setGeometry(parentWidget()->rect());
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace corvel::ui
