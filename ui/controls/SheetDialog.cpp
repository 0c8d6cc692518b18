#include "ui/controls/SheetDialog.hpp"

#include "ui/controls/Painting.hpp"
#include "ui/controls/Scrim.hpp"
#include "ui/controls/SheetEntrance.hpp"

#include <QCoreApplication>
#include <QFocusEvent>
#include <QPainter>
#include <QTimer>

namespace corvel::ui {

namespace {

constexpr qreal kRadius = 12;

}  // namespace

SheetDialog::SheetDialog(const Look& look, QWidget* parent) : QDialog(parent->window()), look_(look) {
    setWindowFlag(Qt::FramelessWindowHint);
    setAttribute(Qt::WA_DeleteOnClose);
    // The colours of the window behind change first.
    connect(&look, &Look::changed, this, [this] {
        QTimer::singleShot(0, this, [this] {
            setBackdrop(windowBehind());
            update();
        });
    });
}

SheetDialog::~SheetDialog() {
    if (scrim_) {
        scrim_->fadeOut({});
    }
}

void SheetDialog::setVisible(bool isVisible) {
    if (isVisible && !this->isVisible()) {
        // All before the system knows of the window: one that moves while it appears may end up where nobody told it.
        adjustSize();
        centre();
        const QPixmap behind = windowBehind();
        setBackdrop(behind);
        new SheetEntrance(*this, behind, grab());
        scrim_ = new Scrim(look_, *parentWidget(), cardInWindow());
    }
    QDialog::setVisible(isVisible);
    if (QWidget* const focus = focusWidget(); isVisible && focus != nullptr) {
        // Being shown counts as a step of the Tab key, which would draw a focus ring that nobody asked for.
        QFocusEvent unasked(QEvent::FocusIn, Qt::OtherFocusReason);
        QCoreApplication::sendEvent(focus, &unasked);
    }
}

QRect SheetDialog::cardInWindow() const {
    const QWidget& window = *parentWidget();
    return {QPoint((window.width() - width()) / 2, (window.height() - height()) / 2), size()};
}

void SheetDialog::centre() {
    move(parentWidget()->mapToGlobal(cardInWindow().topLeft()));
}

QPixmap SheetDialog::windowBehind() const {
    if (scrim_) {
        scrim_->hide();
    }
    QPixmap picture = parentWidget()->grab(cardInWindow());
    if (scrim_) {
        scrim_->show();
    }
    return picture;
}

void SheetDialog::setBackdrop(const QPixmap& behind) {
    backdrop_ = behind;
    QPainter painter(&backdrop_);
    painter.translate(-cardInWindow().topLeft());
    Scrim::paint(painter, parentWidget()->rect(), cardInWindow(), theme());
}

void SheetDialog::hideEvent(QHideEvent* event) {
    if (scrim_) {
        scrim_->fadeOut(grab());
        scrim_ = nullptr;
    }
    QDialog::hideEvent(event);
}

void SheetDialog::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    if (isVisible() && event->size() != event->oldSize() && scrim_ != nullptr && scrim_->card() != cardInWindow()) {
        centre();
        setBackdrop(windowBehind());
        scrim_->setCard(cardInWindow());
    }
}

void SheetDialog::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.drawPixmap(0, 0, backdrop_);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(roundedPath(rect(), kRadius), theme().sheet);
    paintOutline(painter, rect(), kRadius, theme().edge);
}

}  // namespace corvel::ui
