#include "ui/RouterWindow/StatusBar.hpp"

#include "app/TextLine.hpp"
#include "ui/QtText.hpp"
#include "ui/controls/Accessibility.hpp"
#include "ui/controls/LinkButton.hpp"
#include "ui/controls/LookLabel.hpp"

#include <QHBoxLayout>
#include <QPainter>

namespace corvel::ui {

namespace {

constexpr int kHeight = 28;
constexpr int kPadding = 16;
constexpr int kGap = 24;

}  // namespace

StatusBar::StatusBar(MIDIRouterViewModel& model, const Look& look, QWidget* parent)
    : QWidget(parent),
      model_(model),
      look_(look),
      message_(new LookLabel(look, Look::font(13), &Theme::text2, this)),
      undo_(new LinkButton(look, QStringLiteral("Undo"), this)),
      summary_(new LookLabel(look, Look::font(13), &Theme::text2, this)) {
    setFixedHeight(kHeight);
    setAccessibleRole(*this, QAccessible::StatusBar);
    setAccessibleName(QStringLiteral("Status bar"));
    // Screen readers read out the result of a command, wherever the focus is.
    setAccessibleRole(*message_, QAccessible::Notification);
    message_->setElided(true);
    message_->setAccessibleDescription(QStringLiteral("Status"));
    summary_->setElided(true);
    summary_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    summary_->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
    summary_->setAccessibleDescription(QStringLiteral("Current set"));
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(kPadding, 1, kPadding, 0);
    layout->setSpacing(kGap);
    // As wide as its text, so that "Undo" is beside it.
    message_->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
    layout->addWidget(message_, 1);
    layout->addWidget(undo_);
    layout->addStretch();
    layout->addWidget(summary_);
    connect(undo_, &QAbstractButton::clicked, this, [this] { model_.undo(); });
    connect(&look, &Look::changed, this, [this] { update(); });
    refresh(ModelChanges::all());
}

void StatusBar::refresh(const ModelChanges& changes) {
    using Property = ModelChanges::Property;
    if (changes.containAny({Property::statusMessage})) {
        message_->setLine(toQString(shownText(model_.statusMessage())));
        message_->setAccessibleName(message_->text());
        announce(*message_);
    }
    if (changes.containAny({Property::statusMessage, Property::routes, Property::routeSets})) {
        undo_->setVisible(model_.offersUndo());
        setPlainToolTip(undo_, QStringLiteral("Undo %1 (Ctrl+Z)").arg(toQString(model_.undoName().value_or(""))));
    }
    if (changes.containAny({Property::routeSets, Property::selectedRouteSetID, Property::routes})) {
        summary_->setLine(
            toQString(model_.selectedRouteSetName() + " / " + std::to_string(model_.routes().size()) + " connections"));
    }
}

void StatusBar::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(0, 0, width(), 1, look_.theme().hairline);
}

}  // namespace corvel::ui
