#include "ui/controls/NameField.hpp"

#include "ui/controls/Painting.hpp"

#include <QPainter>

namespace corvel::ui {

namespace {

constexpr QSize kSize(260, 24);
constexpr qreal kRadius = 6;
constexpr int kPadding = 4;

}  // namespace

NameField::NameField(const Look& look, const QString& name, QWidget* parent) : QLineEdit(parent), look_(look) {
    setFixedSize(kSize);
    setFont(Look::font(13));
    setFrame(false);
    setTextMargins(kPadding, 0, kPadding, 0);
    setAccessibleName(QStringLiteral("Name"));
    setText(name);
    selectAll();
    // The background is painted here, with round corners.
    setAutoFillBackground(false);
    const auto takeColours = [this] {
        QPalette colours = palette();
        colours.setColor(QPalette::Base, Qt::transparent);
        setPalette(colours);
    };
    takeColours();
    connect(&look, &Look::changed, this, takeColours);
}

void NameField::paintEvent(QPaintEvent* event) {
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(roundedPath(rect(), kRadius), look_.theme().field);
        paintOutline(painter, rect(), kRadius, look_.theme().edge);
    }
    QLineEdit::paintEvent(event);
    if (hasFocus()) {
        QPainter painter(this);
        paintRing(painter, rect(), kRadius, look_.theme().accent);
    }
}

}  // namespace corvel::ui
