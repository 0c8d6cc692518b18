#include "ui/controls/LookLabel.hpp"

#include "ui/QtText.hpp"

#include <QPainter>

namespace corvel::ui {

LookLabel::LookLabel(const Look& look, const QFont& font, QColor Theme::*ink, QWidget* parent)
    : QLabel(parent), look_(look), ink_(ink) {
    setTextFormat(Qt::PlainText);
    setFont(font);
    const auto takeInk = [this] {
        QPalette colours = palette();
        colours.setColor(QPalette::WindowText, look_.theme().*ink_);
        setPalette(colours);
    };
    takeInk();
    connect(&look, &Look::changed, this, takeInk);
}

void LookLabel::setElided(bool isElided) {
    isElided_ = isElided;
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    updateToolTip();
}

void LookLabel::setLine(const QString& text) {
    if (text != this->text()) {
        setText(text);
        updateToolTip();
    }
}

QSize LookLabel::minimumSizeHint() const {
    const QSize size = QLabel::minimumSizeHint();
    return isElided_ ? QSize(0, size.height()) : size;
}

QString LookLabel::shownText() const {
    QString line = text();
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    return fontMetrics().elidedText(line, Qt::ElideMiddle, width());
}

void LookLabel::updateToolTip() {
    if (isElided_) {
        setPlainToolTip(this, fontMetrics().horizontalAdvance(text()) > width() ? text() : QString());
    }
}

void LookLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    updateToolTip();
}

void LookLabel::paintEvent(QPaintEvent* event) {
    if (!isElided_) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    painter.setPen(look_.theme().*ink_);
    painter.drawText(rect(), static_cast<int>(alignment()) | Qt::TextSingleLine, shownText());
}

}  // namespace corvel::ui
