#include "ui/controls/SheetEntrance.hpp"

#include "ui/controls/Painting.hpp"
#include "ui/controls/Scrim.hpp"

#include <QPainter>

#include <utility>

namespace corvel::ui {

namespace {

constexpr qreal kRise = 8;

}  // namespace

SheetEntrance::SheetEntrance(QWidget& sheet, QPixmap behind, QPixmap picture)
    : QWidget(&sheet), behind_(std::move(behind)), picture_(std::move(picture)) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setGeometry(sheet.rect());
    connect(&level_, &QVariantAnimation::valueChanged, this, [this] { update(); });
    connect(&level_, &QVariantAnimation::finished, this, &QObject::deleteLater);
    level_.setStartValue(0.0);
    level_.setEndValue(1.0);
    level_.setDuration(animationDuration(sheet, Scrim::kFadeIn));
    show();
    level_.start();
}

void SheetEntrance::paintEvent(QPaintEvent*) {
    const qreal level = level_.currentValue().toReal();
    QPainter painter(this);
    painter.drawPixmap(0, 0, behind_);
    painter.setOpacity(level);
    painter.drawPixmap(QPointF(0, kRise * (1 - level)), picture_);
}

}  // namespace corvel::ui
