#include "ui/RouterWindow/RouteList.hpp"

#include "ui/controls/LookLabel.hpp"

#include <algorithm>

namespace corvel::ui {

RouteList::RouteList(MIDIRouterViewModel& /*model*/, const Look& look, QWidget* parent) : QWidget(parent) {
    auto* const heading = new LookLabel(look, Look::font(13, QFont::DemiBold), &Theme::text2, this);
    heading->setText(QStringLiteral("Connections"));
    heading->setGeometry(16, 1, 200, 35);
}

void RouteList::refresh(const ModelChanges& /*changes*/) {}

int RouteList::heightIn(int windowHeight, bool hasRoutes) {
    return hasRoutes ? std::max(180, (windowHeight - 128) * 36 / 100) : 40;
}

}  // namespace corvel::ui
