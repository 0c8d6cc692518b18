#include "ui/RouterWindow/AppearanceChoice.hpp"

#include "ui/controls/ChoiceCard.hpp"
#include "ui/controls/LookLabel.hpp"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace corvel::ui {

namespace {

constexpr int kHeadingHeight = 32;
constexpr int kGap = 8;

}  // namespace

AppearanceChoice::AppearanceChoice(MIDIRouterViewModel& model, const Look& look, QWidget* parent)
    : QWidget(parent), model_(model) {
    auto* const heading = new LookLabel(look, Look::font(13, QFont::DemiBold), &Theme::text2, this);
    heading->setText(QStringLiteral("Appearance"));
    heading->setFixedHeight(kHeadingHeight);
    cards_ = {
        {AppAppearanceMode::light, new ChoiceCard(look, QStringLiteral("sun.max"), QStringLiteral("Light"), this)},
        {AppAppearanceMode::dark, new ChoiceCard(look, QStringLiteral("moon"), QStringLiteral("Dark"), this)}};

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kGap);
    layout->addWidget(heading);
    auto* const choices = new QHBoxLayout;
    choices->setSpacing(kGap);
    for (const auto& [mode, card] : cards_) {
        choices->addWidget(card);
        connect(card, &QAbstractButton::clicked, this, [this, chosen = mode] { model_.setAppearanceMode(chosen); });
    }
    layout->addLayout(choices);
    refresh(ModelChanges::all());
}

void AppearanceChoice::refresh(const ModelChanges& changes) {
    if (changes.containAny({ModelChanges::Property::appearanceMode})) {
        for (const auto& [mode, card] : cards_) {
            card->setChosen(mode == model_.appearanceMode());
        }
    }
}

}  // namespace corvel::ui
