#include "ui/controls/AlertDialog.hpp"

#include "ui/controls/ParagraphLabel.hpp"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QVBoxLayout>

#include <algorithm>

namespace corvel::ui {

namespace {

constexpr int kWidth = 368;
constexpr int kPadding = 24;
constexpr int kIconSize = 40;
constexpr int kButtonGap = 8;
constexpr int kTextWidth = kWidth - 2 * kPadding;
constexpr int kMessageLineHeight = 22;
constexpr int kTextLineHeight = 18;

}  // namespace

AlertDialog::AlertDialog(const Look& look, Style style, const QString& message, const QString& informativeText,
                         const QString& confirmation, TextButton::Role confirmationRole, QWidget* parent)
    : SheetDialog(look, parent), accessoryPlace_(new QVBoxLayout) {
    setWindowTitle(message);
    setAccessibleDescription(informativeText);
    setFixedWidth(kWidth);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    layout->setSpacing(0);
    layout->setSizeConstraint(QLayout::SetMinimumSize);
    if (style != Style::plain) {
        auto* const triangle = new QLabel(this);
        triangle->setPixmap(look.icon(QStringLiteral("exclamationmark.triangle"), kIconSize, look.theme().warning,
                                      devicePixelRatioF()));
        triangle->setAlignment(Qt::AlignCenter);
        layout->addWidget(triangle);
        layout->addSpacing(12);
    }
    layout->addWidget(new ParagraphLabel(look, message, Look::font(17, QFont::DemiBold), &Theme::text, kTextWidth,
                                         kMessageLineHeight, this));
    layout->addSpacing(8);
    layout->addWidget(
        new ParagraphLabel(look, informativeText, Look::font(13), &Theme::text2, kTextWidth, kTextLineHeight, this));
    layout->addLayout(accessoryPlace_);
    layout->addSpacing(kPadding);

    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(kButtonGap);
    auto* const cancel = new TextButton(look, QStringLiteral("Cancel"), TextButton::Role::quiet, this);
    auto* const confirm = new TextButton(look, confirmation, confirmationRole, this);
    for (TextButton* const button : {cancel, confirm}) {
        button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        buttons->addWidget(button, 1);
    }
    connect(confirm, &QAbstractButton::clicked, this, &QDialog::accept);
    connect(cancel, &QAbstractButton::clicked, this, &QDialog::reject);
    layout->addLayout(buttons);
    cancel->setVisible(style != Style::notice);
    setTabOrder(confirm, cancel);
    setFirstFocus(confirm);
}

void AlertDialog::setAccessory(QWidget* accessory) {
    accessoryPlace_->addSpacing(20);
    accessoryPlace_->addWidget(accessory, 0, Qt::AlignHCenter);
    setFirstFocus(accessory);
}

bool AlertDialog::isAnyOpen() {
    return std::ranges::any_of(QApplication::topLevelWidgets(), [](const QWidget* window) {
        return qobject_cast<AlertDialog*>(topOf(*window)) != nullptr;
    });
}

void AlertDialog::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        accept();
        return;
    }
    SheetDialog::keyPressEvent(event);
}

}  // namespace corvel::ui
