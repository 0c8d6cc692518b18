#include "ui/RouterWindow/GeneralSettings.hpp"

#include "ui/RouterWindow/AppearanceChoice.hpp"
#include "ui/controls/LookLabel.hpp"
#include "ui/controls/SwitchCard.hpp"

#include <QVBoxLayout>

namespace corvel::ui {

namespace {

constexpr int kHeadingHeight = 32;
constexpr int kGap = 8;
constexpr int kSectionGap = 16;

}  // namespace

GeneralSettings::GeneralSettings(MIDIRouterViewModel& model, const Look& look, QWidget* parent)
    : QWidget(parent), appearance_(new AppearanceChoice(model, look, this)) {
    auto* const heading = new LookLabel(look, Look::font(13, QFont::DemiBold), &Theme::text2, this);
    heading->setText(QStringLiteral("Notes"));
    heading->setFixedHeight(kHeadingHeight);
    auto* const releases =
        new SwitchCard(look, QStringLiteral("Release held notes when a connection changes"),
                       QStringLiteral("Ends its notes and pedals when it is paused, deleted or changes channel"), this);
    releases->setChecked(model.releasesHeldNotes());
    connect(releases, &QAbstractButton::toggled, this, [&model](bool isOn) { model.setReleasesHeldNotes(isOn); });

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kGap);
    layout->addWidget(appearance_);
    layout->addSpacing(kSectionGap - kGap);
    layout->addWidget(heading);
    layout->addWidget(releases);
    layout->addStretch();
}

void GeneralSettings::refresh(const ModelChanges& changes) {
    appearance_->refresh(changes);
}

}  // namespace corvel::ui
