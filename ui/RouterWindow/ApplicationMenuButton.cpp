#include "ui/RouterWindow/ApplicationMenuButton.hpp"

#include "ui/QtText.hpp"
#include "ui/controls/Painting.hpp"
#include "ui/controls/PopUpMenu.hpp"

#include <QAction>
#include <QPainter>
#include <QShortcut>
#include <QSvgRenderer>

namespace corvel::ui {

namespace {

constexpr QSize kSize(52, 36);
constexpr qreal kRadius = 8;
constexpr int kMarkSize = 28;
constexpr int kMarkLeft = 4;
constexpr int kChevronSize = 16;
constexpr int kChevronLeft = 34;
constexpr int kMenuWidth = 240;

}  // namespace

ApplicationMenuButton::ApplicationMenuButton(const Look& look, const QList<QAction*>& items, QWidget* parent)
    : LookButton(look, parent), menu_(new PopUpMenu(look, this)) {
    setFixedSize(kSize);
    menu_->setMinimumWidth(kMenuWidth);
    menu_->addActions(items);
    setAccessibleName(QStringLiteral("Application menu"));
    setPlainToolTip(this, QStringLiteral("Application menu (F10)"));
    connect(this, &QAbstractButton::clicked, this, &ApplicationMenuButton::openMenu);
    auto* const key = new QShortcut(QKeySequence(Qt::Key_F10), this);
    key->setWhatsThis(accessibleName());
    connect(key, &QShortcut::activated, this, &ApplicationMenuButton::openMenu);
}

void ApplicationMenuButton::openMenu() {
    menu_->popup(mapToGlobal(QPoint(0, height() + 2)));
    menu_->setActiveAction(menu_->actions().value(0));
}

void ApplicationMenuButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(roundedPath(rect(), kRadius),
                     stateFill(transparent(theme().raisedHover), theme().raisedHover, theme().raisedPressed));
    QSvgRenderer mark(QStringLiteral(":/AppIcon.svg"));
    mark.render(&painter, QRectF(kMarkLeft, (height() - kMarkSize) / 2.0, kMarkSize, kMarkSize));
    painter.drawPixmap(QPointF(kChevronLeft, (height() - kChevronSize) / 2.0),
                       look().icon(QStringLiteral("chevron.down"), kChevronSize, theme().text2, devicePixelRatioF()));
    if (showsFocus()) {
        paintRing(painter, rect(), kRadius, theme().accent);
    }
}

}  // namespace corvel::ui
