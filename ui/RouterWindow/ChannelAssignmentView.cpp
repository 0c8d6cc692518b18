#include "ui/RouterWindow/ChannelAssignmentView.hpp"

#include "ui/QtText.hpp"
#include "ui/RouterWindow/KeyEventShortcut.hpp"
#include "ui/RouterWindow/ShortcutConflicts.hpp"
#include "ui/RouterWindow/VerticallyCenteredLabelField.hpp"
#include "ui/controls/IconButton.hpp"
#include "ui/controls/LookLabel.hpp"
#include "ui/controls/Painting.hpp"
#include "ui/controls/PopUpButton.hpp"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QWindow>

namespace corvel::ui {

namespace {

constexpr QSize kSize(320, 88);
constexpr int kMargin = 10;
constexpr int kLabelWidth = 72;
constexpr int kGap = 8;
constexpr int kControlX = kMargin + kLabelWidth + kGap;
constexpr QRect kPicker(kControlX, 0, 160, 28);
constexpr QRect kField(kControlX, 36, 220, 32);
constexpr QRect kHint(0, 74, 320, 14);
constexpr int kClearSide = 24;
constexpr int kClearInset = (kField.height() - kClearSide) / 2;
/// The focus ring lies around the field.
constexpr int kRingWidth = 2;
constexpr qreal kRingRadius = 8;
constexpr int kChannels = 16;

/// Index 0 is "As Is", index k forces channel k.
int pickerIndex(const ChannelMode& mode) {
    const int channel = mode.forcedChannel().value_or(0);
    return channel >= 1 && channel <= kChannels ? channel : 0;
}

LookLabel* makeLabel(const Look& look, const QString& text, int size, QWidget* parent) {
    auto* const label = new LookLabel(look, Look::font(size), &Theme::text2, parent);
    label->setText(text);
    return label;
}

}  // namespace

ChannelAssignmentView::ChannelAssignmentView(const Look& look, const ChannelMode& defaultChannelMode,
                                             const std::optional<KeyboardShortcutSpec>& defaultShortcut,
                                             QWidget* parent)
    : QWidget(parent),
      look_(look),
      channelLabel_(makeLabel(look, QStringLiteral("Channel"), 14, this)),
      shortcutLabel_(makeLabel(look, QStringLiteral("Shortcut"), 14, this)),
      channelPicker_(new PopUpButton(look, kPicker.size(), true, this)),
      shortcutField_(new VerticallyCenteredLabelField(QString(), look, this)),
      clearButton_(new IconButton(look, QStringLiteral("xmark"), QStringLiteral("Clear shortcut"), kClearSide, this)),
      conflictField_(new LookLabel(look, Look::font(11, QFont::Medium), &Theme::warning, this)),
      hintField_(makeLabel(look, QStringLiteral("Use a modifier: ⌘1, ⌥⇧P"), 11, this)) {
    setFixedSize(kSize);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(QStringLiteral("Shortcut"));
    layOut();

    QStringList channels{toQString(ChannelMode::asIs().title())};
    for (int channel = 1; channel <= kChannels; ++channel) {
        channels << toQString(ChannelMode::force(channel).title());
    }
    channelPicker_->setItems(channels, pickerIndex(defaultChannelMode));
    channelPicker_->setAccessibleDescription(QStringLiteral("Channel"));
    channelLabel_->setBuddy(channelPicker_);
    shortcutLabel_->setBuddy(this);
    connect(channelPicker_, &PopUpButton::itemChosen, this,
            [this](int index) { channelPicker_->setItems(channelPicker_->items(), index); });
    connect(clearButton_, &QAbstractButton::clicked, this, [this] {
        setFocus(Qt::OtherFocusReason);
        setShortcut(std::nullopt);
    });
    connect(&look, &Look::changed, this, [this] { update(); });
    setShortcut(defaultShortcut);
    takeFocus_.setSingleShot(true);
    connect(&takeFocus_, &QTimer::timeout, this, [this] { setFocus(Qt::OtherFocusReason); });
    // Without this filter the toolkit's own shortcuts would act before anything in this window.
    qApp->installEventFilter(this);
}

void ChannelAssignmentView::layOut() {
    channelLabel_->setGeometry(kMargin, kPicker.y(), kLabelWidth, kPicker.height());
    channelPicker_->setGeometry(kPicker);
    shortcutLabel_->setGeometry(kMargin, kField.y(), kLabelWidth, kField.height());
    shortcutField_->setGeometry(kField);
    shortcutField_->setTextMargin(kClearInset + kClearSide);
    clearButton_->move(kField.right() + 1 - kClearInset - kClearSide, kField.y() + kClearInset);
    hintField_->setGeometry(kHint);
    hintField_->setAlignment(Qt::AlignCenter);
    conflictField_->setGeometry(kHint);
    conflictField_->setAlignment(Qt::AlignCenter);
    conflictField_->setElided(true);
    conflictField_->hide();
}

ChannelMode ChannelAssignmentView::channelMode() const {
    const int index = channelPicker_->chosenIndex();
    return index == 0 ? ChannelMode::asIs() : ChannelMode::force(index);
}

void ChannelAssignmentView::setShortcut(const std::optional<KeyboardShortcutSpec>& shortcut) {
    shortcut_ = shortcut;
    shortcutField_->setText(shortcut ? toQString(shortcut->title()) : QStringLiteral("No shortcut"));
    shortcutField_->setQuiet(!shortcut);
    keys_ = shortcut ? keySequence(*shortcut) : QKeySequence();
    setPlainToolTip(shortcutField_, shortcut ? shortcutInWords(*shortcut) : QString());
    clearButton_->setVisible(shortcut.has_value());
    describe();
    emit shortcutChanged();
}

void ChannelAssignmentView::setConflict(const QString& conflict) {
    conflictField_->setLine(conflict);
    conflictField_->setVisible(!conflict.isEmpty());
    hintField_->setVisible(conflict.isEmpty());
    describe();
}

void ChannelAssignmentView::describe() {
    const QString shortcut = shortcut_ ? shortcutInWords(*shortcut_) : shortcutField_->text();
    const QString conflict = conflictField_->text();
    setAccessibleDescription(conflict.isEmpty() ? shortcut : shortcut + QStringLiteral(". ") + conflict);
}

void ChannelAssignmentView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    // Later, because showing a window first gives the focus to another of its views.
    takeFocus_.start();
}

void ChannelAssignmentView::focusInEvent(QFocusEvent* event) {
    QWidget::focusInEvent(event);
    showListening();
}

void ChannelAssignmentView::focusOutEvent(QFocusEvent* event) {
    QWidget::focusOutEvent(event);
    showListening();
}

void ChannelAssignmentView::showListening() {
    shortcutField_->setOutlined(!hasFocus());
    update();
}

void ChannelAssignmentView::paintEvent(QPaintEvent*) {
    if (hasFocus()) {
        QPainter painter(this);
        paintRing(painter, QRectF(kField).adjusted(-kRingWidth, -kRingWidth, kRingWidth, kRingWidth), kRingRadius,
                  look_.theme().accent);
    }
}

bool ChannelAssignmentView::isOwnWindow(const QObject* watched) const {
    const QWidget* const focus = window()->focusWidget();
    if (!isVisible() || (focus != nullptr && focus != parentWidget() && !parentWidget()->isAncestorOf(focus))) {
        return false;
    }
    if (watched->isWidgetType()) {
        return static_cast<const QWidget*>(watched)->window() == window();
    }
    return watched == window()->windowHandle();
}

bool ChannelAssignmentView::captures(const QKeyEvent& event) {
    const std::optional<KeyboardShortcutSpec> pressed = shortcutForKeyEvent(event);
    if (pressed) {
        setShortcut(pressed);
        keys_ = QKeySequence(event.keyCombination());
        emit shortcutChanged();
    }
    return pressed.has_value();
}

bool ChannelAssignmentView::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::ShortcutOverride) {
        return false;
    }
    auto& keyEvent = static_cast<QKeyEvent&>(*event);
    if (!isOwnWindow(watched)) {
        return false;
    }
    if (captures(keyEvent)) {
        // Accepting an override keeps the toolkit from looking for its own shortcuts.
        event->accept();
        return true;
    }
    const bool isReturn = keyEvent.key() == Qt::Key_Return || keyEvent.key() == Qt::Key_Enter;
    if (event->type() == QEvent::KeyPress && isReturn && (watched == channelPicker_ || watched == clearButton_)) {
        // The space bar presses these controls; Return belongs to the dialog.
        event->accept();
        QCoreApplication::sendEvent(parentWidget(), event);
        return true;
    }
    return false;
}

}  // namespace corvel::ui
