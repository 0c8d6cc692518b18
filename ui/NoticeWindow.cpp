#include "ui/NoticeWindow.hpp"

#include "ui/controls/ParagraphLabel.hpp"
#include "ui/controls/TextButton.hpp"

#include <QVBoxLayout>

namespace corvel::ui {

namespace {

constexpr int kTextWidth = 400;
constexpr int kPadding = 24;
constexpr int kButtonWidth = 156;

}  // namespace

NoticeWindow::NoticeWindow(const Look& look, const QString& message, const QString& text) {
    setWindowTitle(QStringLiteral("Corvel"));
    setAccessibleDescription(message + QLatin1Char('\n') + text);
    auto* const close = new TextButton(look, QStringLiteral("OK"), TextButton::Role::primary, this);
    close->setFixedWidth(kButtonWidth);
    connect(close, &QAbstractButton::clicked, this, &QDialog::accept);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    layout->setSpacing(0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(
        new ParagraphLabel(look, message, Look::font(17, QFont::DemiBold), &Theme::text, kTextWidth, 22, this));
    layout->addSpacing(8);
    layout->addWidget(new ParagraphLabel(look, text, Look::font(13), &Theme::text2, kTextWidth, 18, this));
    layout->addSpacing(kPadding);
    layout->addWidget(close, 0, Qt::AlignHCenter);
    close->setFocus();
}

}  // namespace corvel::ui
