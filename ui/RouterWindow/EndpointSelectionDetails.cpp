#include "ui/RouterWindow/EndpointSelectionDetails.hpp"

#include "app/TextLine.hpp"
#include "ui/QtText.hpp"
#include "ui/RouterWindow/EndpointDetailButton.hpp"
#include "ui/controls/LookLabel.hpp"

#include <QClipboard>
#include <QGuiApplication>
#include <QPainter>
#include <QVBoxLayout>

#include <string>
#include <string_view>

namespace corvel::ui {

namespace {

constexpr int kVerticalPadding = 10;
constexpr int kHorizontalPadding = 16;
constexpr int kHeadingHeight = 16;
constexpr int kGap = 3;

}  // namespace

EndpointSelectionDetails::EndpointSelectionDetails(const Look& look, QWidget* parent)
    : QWidget(parent), look_(look), button_(new EndpointDetailButton(look, this)) {
    auto* const layout = new QVBoxLayout(this);
    // The button extends beyond its text, for its background while hovered.
    constexpr int kOverhang = EndpointDetailButton::kPadding;
    layout->setContentsMargins(0, kVerticalPadding + 1, 0, kVerticalPadding);
    layout->setSpacing(kGap);
    auto* const heading = new LookLabel(look, Look::font(13, QFont::DemiBold), &Theme::text2, this);
    heading->setText(QStringLiteral("Selected"));
    heading->setFixedHeight(kHeadingHeight);
    heading->setContentsMargins(kHorizontalPadding, 0, kHorizontalPadding, 0);
    layout->addWidget(heading);
    auto* const inset = new QVBoxLayout;
    inset->setContentsMargins(kHorizontalPadding - kOverhang, 0, kHorizontalPadding - kOverhang, 0);
    inset->addWidget(button_);
    layout->addLayout(inset);
    connect(button_, &QAbstractButton::clicked, this, [this] { QGuiApplication::clipboard()->setText(detailText_); });
    connect(&look, &Look::changed, this, [this] { update(); });
    hide();
}

void EndpointSelectionDetails::setEndpoint(const MIDIEndpointModel* endpoint) {
    if (endpoint != nullptr) {
        const std::string text = endpoint->detailText();
        detailText_ = toQString(text);
        // The text begins with the name.
        button_->setDetailText(toQString(shownName(endpoint->displayName) +
                                         shownText(std::string_view(text).substr(endpoint->displayName.size()))));
    }
    setVisible(endpoint != nullptr);
}

void EndpointSelectionDetails::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(0, 0, width(), 1, look_.theme().hairline);
}

}  // namespace corvel::ui
