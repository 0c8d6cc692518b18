#include "ui/controls/PopUpMenu.hpp"

#include "ui/QtText.hpp"
#include "ui/controls/Painting.hpp"

#include <QAction>
#include <QRegion>
#include <QResizeEvent>

namespace corvel::ui {

namespace {

constexpr int kCheckSize = 18;
constexpr int kPaddingAfterCheck = 11;
constexpr qreal kRadius = 8;

}  // namespace

PopUpMenu::PopUpMenu(const Look& look, QWidget* parent) : QMenu(parent), look_(look) {
    setWindowFlag(Qt::FramelessWindowHint);
    setWindowFlag(Qt::NoDropShadowWindowHint);
    setToolTipsVisible(true);
}

QAction* PopUpMenu::addItem(const QString& text, bool isChosen) {
    // The width of the ticks is added to the padding that items without ticks have.
    setStyleSheet(QStringLiteral("QMenu { icon-size: %1px; } QMenu::item { padding-left: %2px; }")
                      .arg(kCheckSize)
                      .arg(kPaddingAfterCheck));
    QAction* const action = addAction(menuTitle(text));
    action->setCheckable(true);
    action->setChecked(isChosen);
    if (isChosen) {
        action->setIcon(look_.icon(QStringLiteral("checkmark"), kCheckSize, look_.theme().accent, devicePixelRatioF()));
    }
    return action;
}

void PopUpMenu::resizeEvent(QResizeEvent* event) {
    QMenu::resizeEvent(event);
    // Round corners even if windows cannot be transparent.
    setMask(QRegion(roundedPath(rect(), kRadius).toFillPolygon().toPolygon()));
}

}  // namespace corvel::ui
