#include "ui/RouterWindow/EndpointFilterBar.hpp"

#include "ui/controls/FilterField.hpp"
#include "ui/controls/IconButton.hpp"
#include "ui/controls/LookLabel.hpp"

#include <QHBoxLayout>

#include <algorithm>
#include <utility>

namespace corvel::ui {

namespace {

constexpr int kOuterPadding = 16;
constexpr int kInnerPadding = 12;
constexpr int kGap = 12;
constexpr int kButtonGap = 4;
constexpr int kButtonSide = 28;

}  // namespace

EndpointFilterBar::EndpointFilterBar(const Look& look, const QString& title, QString plural, QWidget* parent)
    : QWidget(parent),
      plural_(std::move(plural)),
      field_(new FilterField(look, this)),
      connectedOnly_(new IconButton(look, QStringLiteral("link"), QString(), kButtonSide, this)) {
    setFixedHeight(kHeight);
    auto* const heading = new LookLabel(look, Look::font(13, QFont::DemiBold), &Theme::text2, this);
    heading->setText(title);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(kOuterPadding, 0, kInnerPadding, 0);
    layout->setSpacing(0);
    layout->addWidget(heading);
    layout->addSpacing(kGap);
    layout->addWidget(field_, 1);
    layout->addSpacing(kButtonGap);
    layout->addWidget(connectedOnly_);

    field_->setAccessibleName(QStringLiteral("Filter %1").arg(plural_));
    setConnectedOnly(false);
    connect(field_, &QLineEdit::textChanged, this, &EndpointFilterBar::changed);
    connect(field_, &FilterField::left, this, &EndpointFilterBar::rowsRequested);
    connect(connectedOnly_, &QAbstractButton::clicked, this, [this] {
        setConnectedOnly(!showsConnectedOnly_);
        emit changed();
    });
}

void EndpointFilterBar::setConnectedOnly(bool isOnly) {
    showsConnectedOnly_ = isOnly;
    connectedOnly_->setChosen(isOnly);
    connectedOnly_->setHelp(
        (isOnly ? QStringLiteral("Show all %1") : QStringLiteral("Show only connected %1")).arg(plural_));
}

bool EndpointFilterBar::admits(const QStringList& names, bool isConnected) const {
    if (showsConnectedOnly_ && !isConnected) {
        return false;
    }
    const QStringList words = field_->text().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return std::ranges::all_of(words, [&names](const QString& word) {
        return std::ranges::any_of(names,
                                   [&word](const QString& name) { return name.contains(word, Qt::CaseInsensitive); });
    });
}

bool EndpointFilterBar::isActive() const {
    return showsConnectedOnly_ || !field_->text().trimmed().isEmpty();
}

void EndpointFilterBar::focusField() {
    field_->setFocus(Qt::ShortcutFocusReason);
    field_->selectAll();
}

bool EndpointFilterBar::isFieldFocused() const {
    return field_->hasFocus();
}

void EndpointFilterBar::type(const QString& text) {
    field_->setFocus(Qt::OtherFocusReason);
    field_->setText(field_->text() + text);
}

void EndpointFilterBar::clear() {
    setConnectedOnly(false);
    field_->clear();
    emit changed();
}

}  // namespace corvel::ui
