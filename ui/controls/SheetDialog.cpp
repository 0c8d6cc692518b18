#include "ui/controls/SheetDialog.hpp"

#include "ui/controls/Painting.hpp"
#include "ui/controls/Scrim.hpp"
#include "ui/controls/SheetAccessible.hpp"
#include "ui/controls/SheetEntrance.hpp"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QPainter>

#include <algorithm>
#include <ranges>
#include <utility>

namespace corvel::ui {

namespace {

constexpr qreal kRadius = 12;
/// Minimum margin between the sheet and the window's edge.
constexpr int kMargin = 8;

/// The property that marks an action that is let through.
const char* const kIsLetThrough = "corvelIsLetThrough";

}  // namespace

// A sub-window, because the toolkit keeps the Tab key and the dialog's own shortcuts inside one.
SheetDialog::SheetDialog(const Look& look, QWidget* parent) : QDialog(parent->window(), Qt::SubWindow), look_(look) {
    installSheetAccessibility();
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_NoMousePropagation);
    // Hidden until it is shown explicitly, even if its window is shown before.
    setShown(false);
    parentWidget()->installEventFilter(this);
    connect(&look, &Look::changed, this, [this] { update(); });
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) { followFocus(now); });
}

SheetDialog::~SheetDialog() {
    // The focus still moves while the base class deletes the views.
    disconnect(qApp, nullptr, this, nullptr);
    if (scrim_) {
        scrim_->fadeOut({});
    }
}

SheetDialog* SheetDialog::topOf(const QWidget& window) {
    // Children are in stacking order, the topmost last.
    for (QObject* const child : window.children() | std::views::reverse) {
        if (auto* const sheet = qobject_cast<SheetDialog*>(child); sheet != nullptr && sheet->scrim_ != nullptr) {
            return sheet;
        }
    }
    return nullptr;
}

void SheetDialog::setVisible(bool isVisible) {
    if (isVisible == (scrim_ != nullptr)) {
        return;
    }
    if (isVisible) {
        appear();
    } else {
        disappear();
    }
    QAccessibleEvent event(this, isVisible ? QAccessible::DialogStart : QAccessible::DialogEnd);
    QAccessible::updateAccessibility(&event);
}

void SheetDialog::appear() {
    QWidget& window = *parentWidget();
    place();
    QPixmap behind = window.grab(geometry());
    QPixmap arrived = behind;
    {
        QPainter painter(&arrived);
        painter.translate(-pos());
        Scrim::paint(painter, window.rect(), geometry(), theme());
        painter.drawPixmap(pos(), picture());
    }
    new SheetEntrance(*this, std::move(behind), std::move(arrived));
    formerFocus_ = window.focusWidget();
    scrim_ = new Scrim(look_, window, geometry());
    raise();
    setShown(true);
    takeFocus();
}

void SheetDialog::disappear() {
    scrim_->fadeOut(picture());
    scrim_ = nullptr;
    giveFocusBack();
    setShown(false);
}

void SheetDialog::setShown(bool isShown) {
    // NOLINTNEXTLINE(bugprone-parent-virtual-call): the base class would show an unwanted focus ring
    QWidget::setVisible(isShown);
}

void SheetDialog::place() {
    const QWidget& window = *parentWidget();
    ensurePolished();
    const QSize room = window.size() - QSize(2 * kMargin, 2 * kMargin);
    const QSize size = sizeHint().expandedTo(minimumSize()).boundedTo(maximumSize()).boundedTo(room);
    setGeometry({QPoint((window.width() - size.width()) / 2, (window.height() - size.height()) / 2), size});
    if (scrim_ != nullptr) {
        scrim_->setCard(geometry());
    }
}

QPixmap SheetDialog::picture() {
    const qreal ratio = devicePixelRatioF();
    QPixmap picture(size() * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    render(&picture, {}, {}, DrawChildren);
    return picture;
}

void SheetDialog::takeFocus() {
    QWidget* const view = focus_ != nullptr && focus_->isVisibleTo(this) ? focus_.data() : this;
    view->setFocus(Qt::OtherFocusReason);
}

void SheetDialog::giveFocusBack() {
    for (QObject* const child : parentWidget()->children()) {
        if (auto* const other = qobject_cast<SheetDialog*>(child);
            other != nullptr && other != this && other->formerFocus_ != nullptr && isAncestorOf(other->formerFocus_)) {
            other->formerFocus_ = formerFocus_;
        }
    }
    QWidget* const focus = parentWidget()->focusWidget();
    const bool isFocusHere = focus == this || (focus != nullptr && isAncestorOf(focus));
    if (isFocusHere && formerFocus_ != nullptr && formerFocus_->isVisible() && formerFocus_->isEnabled()) {
        // With the reason of a returning window, so that the focus ring is as it was before.
        formerFocus_->setFocus(Qt::ActiveWindowFocusReason);
    } else if (isFocusHere) {
        focus->clearFocus();
    }
}

void SheetDialog::followFocus(QWidget* now) {
    if (scrim_ == nullptr || now == nullptr || now->window() != window()) {
        return;
    }
    if (now == this || isAncestorOf(now)) {
        focus_ = now;
    } else if (topOf(*parentWidget()) == this) {
        takeFocus();
    }
}

void SheetDialog::letThrough(QAction& action) {
    action.setProperty(kIsLetThrough, true);
}

bool SheetDialog::isLetThrough(const QKeyEvent& event) const {
    const auto actions = parentWidget()->actions();
    return std::ranges::any_of(actions, [&event](const QAction* action) {
        return action->property(kIsLetThrough).toBool() &&
               action->shortcuts().contains(QKeySequence(event.keyCombination()));
    });
}

bool SheetDialog::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride && isLetThrough(static_cast<const QKeyEvent&>(*event))) {
        event->ignore();
        return false;
    }
    const bool isHandled = QDialog::event(event);
    switch (event->type()) {
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
        case QEvent::ShortcutOverride:
            // Keys are not passed on to the window behind or to its shortcuts.
            event->accept();
            return true;
        case QEvent::LayoutRequest:
            if (scrim_ != nullptr) {
                place();
            }
            return isHandled;
        default:
            return isHandled;
    }
}

bool SheetDialog::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize && scrim_ != nullptr) {
        place();
    }
    return QDialog::eventFilter(watched, event);
}

void SheetDialog::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(roundedPath(rect(), kRadius), theme().sheet);
    paintOutline(painter, rect(), kRadius, theme().edge);
}

}  // namespace corvel::ui
