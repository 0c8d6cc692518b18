#include "ui/controls/FilterField.hpp"

#include "ui/controls/Painting.hpp"

#include <QKeyEvent>
#include <QKeySequence>
#include <QPainter>

namespace corvel::ui {

namespace {

constexpr int kHeight = 28;
constexpr qreal kRadius = 6;
constexpr int kPadding = 6;

}  // namespace

FilterField::FilterField(const Look& look, QWidget* parent) : QLineEdit(parent), look_(look) {
    setFixedHeight(kHeight);
    setFont(Look::font(13));
    setFrame(false);
    setTextMargins(kPadding, 0, kPadding, 0);
    setPlaceholderText(QStringLiteral("Filter"));
    // The background is painted here, with round corners.
    const auto takeColours = [this] {
        QPalette colours = palette();
        colours.setColor(QPalette::Base, Qt::transparent);
        colours.setColor(QPalette::PlaceholderText, look_.theme().text3);
        setPalette(colours);
    };
    takeColours();
    connect(&look, &Look::changed, this, takeColours);
}

bool FilterField::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        if ((key.matches(QKeySequence::Undo) && !isUndoAvailable()) ||
            (key.matches(QKeySequence::Redo) && !isRedoAvailable())) {
            event->ignore();
            return true;
        }
    }
    return QLineEdit::event(event);
}

void FilterField::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Escape:
            if (text().isEmpty()) {
                emit left();
            } else {
                clear();
            }
            return;
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Down:
            emit left();
            return;
        default:
            QLineEdit::keyPressEvent(event);
    }
}

void FilterField::paintEvent(QPaintEvent* event) {
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(roundedPath(rect(), kRadius), look_.theme().field);
    }
    QLineEdit::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (hasFocus()) {
        paintRing(painter, rect(), kRadius, look_.theme().accent);
    } else {
        // Makes it visible that a filter hides rows.
        paintOutline(painter, rect(), kRadius, text().isEmpty() ? look_.theme().hairline : look_.theme().accent);
    }
}

}  // namespace corvel::ui
