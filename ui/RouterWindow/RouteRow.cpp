#include "ui/RouterWindow/RouteRow.hpp"

#include "ui/QtText.hpp"
#include "ui/RouterWindow/EndpointNames.hpp"
#include "ui/RouterWindow/KeyEventShortcut.hpp"
#include "ui/RouterWindow/RouteNamesView.hpp"
#include "ui/RouterWindow/RouteSwatch.hpp"
#include "ui/RouterWindow/RouteTexts.hpp"
#include "ui/controls/Painting.hpp"

#include <QContextMenuEvent>
#include <QEasingCurve>
#include <QPainter>
#include <QStringList>

#include <cstddef>
#include <utility>

namespace corvel::ui {

namespace {

constexpr int kMargin = 16;
constexpr int kTextX = 56;
constexpr int kSwatchWidth = 24;
constexpr int kControlHeight = 32;
constexpr int kVariantsWidth = 152;
constexpr int kVariantsGap = 8;
constexpr int kButtonGap = 4;
/// Minimum distance between the texts and the pop-up.
constexpr int kTextGap = 24;
constexpr int kCardInset = 8;
constexpr qreal kRadius = 8;
constexpr int kSelectionFade = 120;

}  // namespace

RouteRow::RouteRow(MIDIRouterViewModel& model, const Look& look, const MIDIRoute& route, const QColor& colour,
                   QWidget* parent)
    : LookButton(look, parent),
      model_(model),
      routeID_(route.id),
      swatch_(new RouteSwatch(this)),
      names_(new RouteNamesView(look, this)),
      variants_(new PopUpButton(look, QSize(kVariantsWidth, kControlHeight), false, this)) {
    setFixedHeight(kHeight);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    makeButtons();
    selection_.setEasingCurve(QEasingCurve::OutCubic);
    selection_.setStartValue(0.0);
    selection_.setEndValue(0.0);
    connect(&selection_, &QVariantAnimation::valueChanged, this, [this] { update(); });
    connect(this, &QAbstractButton::clicked, this, [this] { model_.setSelectedRouteID(routeID_); });
    // The pop-up was connected first, so its menu is open now.
    connect(variants_, &QAbstractButton::clicked, this, [this] { openedVariantIDs_ = variantIDs_; });
    connect(variants_, &PopUpButton::itemChosen, this, &RouteRow::chooseVariant);
    showRoute(route, colour);
}

void RouteRow::makeButtons() {
    const auto make = [this](const char* icon, const QString& help) {
        auto* const button = new IconButton(look(), QString::fromLatin1(icon), help, kControlHeight, this);
        button->setRestInk(&Theme::text3);
        return button;
    };
    addButton_ = make("plus", QStringLiteral("Add output channel for this connection"));
    editButton_ = make("pencil", QStringLiteral("Edit selected output channel"));
    deleteButton_ = make("trash", QStringLiteral("Delete selected output channel"));
    enableButton_ = make("pause.circle", QStringLiteral("Disable connection"));
    deleteButton_->setRole(IconButton::Role::destructive);
    connect(addButton_, &QAbstractButton::clicked, this, &RouteRow::addRequested);
    connect(editButton_, &QAbstractButton::clicked, this, &RouteRow::editRequested);
    connect(deleteButton_, &QAbstractButton::clicked, this, [this] { model_.deleteActiveVariant(routeID_); });
    connect(enableButton_, &QAbstractButton::clicked, this, &RouteRow::toggleEnabled);
    // The Tab key stops once in the list; arrow keys go to these views.
    for (QWidget* const view : focusViews()) {
        view->setFocusPolicy(Qt::ClickFocus);
    }
}

std::vector<QWidget*> RouteRow::focusViews() {
    return {this, variants_, addButton_, editButton_, deleteButton_, enableButton_};
}

void RouteRow::showRoute(const MIDIRoute& route, const QColor& colour) {
    Shown shown{route, shownInputName(model_, route), shownOutputName(model_, route), model_.routeAvailability(route),
                colour};
    if (shown_ != shown) {
        shown_ = std::move(shown);
        swatch_->setLine(colour, shown_->availability != RouteAvailability::active);
        showNames();
        showVariants();
        showButtons();
        showEmphasis();
        showStatus();
        announceDescription();
        return;
    }
    showStatus();
}

void RouteRow::showNames() {
    const QString name = QStringLiteral("%1 to %2").arg(shown_->input, shown_->output);
    names_->setNames(shown_->input, shown_->output);
    setPlainToolTip(names_, routeHelp(model_, shown_->route));
    setAccessibleName(name);
    names_->setAccessibleName(name);
}

void RouteRow::showVariants() {
    const MIDIRoute& route = shown_->route;
    const MIDIRouteVariant* const active = route.activeVariant();
    QStringList items;
    QStringList helps;
    variantIDs_.clear();
    for (const MIDIRouteVariant& variant : route.variants) {
        items << channelPickerTitle(variant);
        helps << (variant.shortcut ? shortcutInWords(*variant.shortcut) : QString());
        variantIDs_.push_back(variant.id);
    }
    variants_->setItems(items, active != nullptr ? static_cast<int>(active - route.variants.data()) : -1);
    variants_->setItemHelps(helps);
    if (active == nullptr) {
        variants_->setLabel(QStringLiteral("Output"));
    }
    setPlainToolTip(variants_, active != nullptr ? variantHelp(model_, *active) : QStringLiteral("Output channel"));
    variants_->setAccessibleDescription(accessibleName());
}

void RouteRow::showButtons() {
    const MIDIRoute& route = shown_->route;
    editButton_->setEnabled(hasForcedChannel(route));
    editButton_->setHelp(editButtonHelp(route));
    deleteButton_->setEnabled(canDeleteActiveChannelAssignment(route));
    deleteButton_->setHelp(deleteButtonHelp(route));
    enableButton_->setIconName(route.isEnabled ? QStringLiteral("pause.circle") : QStringLiteral("play.circle"));
    enableButton_->setHelp(route.isEnabled ? QStringLiteral("Disable connection")
                                           : QStringLiteral("Enable connection"));
    for (IconButton* const button : {addButton_, editButton_, deleteButton_, enableButton_}) {
        // Every row has the same buttons; the description distinguishes them.
        button->setAccessibleDescription(accessibleName());
    }
}

void RouteRow::showEmphasis() {
    names_->setEmphasis(isSelected_, shown_->availability != RouteAvailability::active);
    variants_->setFilled(isSelected_);
    QColor Theme::*const rest = isSelected_ ? &Theme::text : &Theme::text3;
    for (IconButton* const button : {addButton_, editButton_, deleteButton_}) {
        button->setRestInk(rest);
    }
    // The button that enables a paused connection is highlighted.
    enableButton_->setRestInk(shown_->route.isEnabled ? rest : &Theme::text);
}

void RouteRow::setFeedsBack(bool feedsBack) {
    if (feedsBack != feedsBack_) {
        feedsBack_ = feedsBack;
        names_->setWarning(feedsBack);
        showStatus();
    }
}

void RouteRow::showStatus() {
    if (const MIDIRoute* const route = model_.route(routeID_); route != nullptr) {
        const QString status = channelStatusText(model_, *route);
        names_->setStatus(feedsBack_ ? QStringLiteral("Feeds back / %1").arg(status) : status);
    }
}

std::optional<QString> RouteRow::liveDescription() const {
    return names_->status();
}

void RouteRow::addAccessibleState(QAccessible::State& state) const {
    state.selectable = 1U;
    state.selected = isSelected_ ? 1U : 0U;
}

void RouteRow::setSelected(bool isSelected) {
    if (isSelected == isSelected_) {
        return;
    }
    isSelected_ = isSelected;
    showEmphasis();
    announceState(AccessibleState::selected);
    const qreal present = selection_.currentValue().toReal();
    selection_.stop();
    selection_.setStartValue(present);
    selection_.setEndValue(isSelected ? 1.0 : 0.0);
    selection_.setDuration(animationDuration(*this, kSelectionFade));
    selection_.start();
}

void RouteRow::setEmphasized(bool isEmphasized) {
    if (isEmphasized != isEmphasized_) {
        isEmphasized_ = isEmphasized;
        update();
    }
}

void RouteRow::setHairline(bool hasHairline) {
    if (hasHairline != hasHairline_) {
        hasHairline_ = hasHairline;
        update();
    }
}

void RouteRow::toggleEnabled() {
    if (const MIDIRoute* const route = model_.route(routeID_); route != nullptr) {
        model_.setRouteEnabled(routeID_, !route->isEnabled);
    }
}

void RouteRow::chooseVariant(int index) {
    const auto place = static_cast<std::size_t>(index);
    if (place < openedVariantIDs_.size()) {
        model_.setActiveVariant(openedVariantIDs_[place], routeID_);
    }
}

void RouteRow::contextMenuEvent(QContextMenuEvent* event) {
    emit menuRequested(event->globalPos());
}

void RouteRow::resizeEvent(QResizeEvent* event) {
    LookButton::resizeEvent(event);
    constexpr int kControlY = (kHeight - kControlHeight) / 2;
    int x = width() - kMargin;
    for (QWidget* const button : {enableButton_, deleteButton_, editButton_, addButton_}) {
        x -= kControlHeight;
        button->move(x, kControlY);
        x -= kButtonGap;
    }
    x += kButtonGap - kVariantsGap - kVariantsWidth;
    variants_->move(x, kControlY);
    swatch_->setGeometry(kMargin, kControlY, kSwatchWidth, kControlHeight);
    names_->setGeometry(kTextX, 0, x - kTextGap - kTextX, kHeight);
}

void RouteRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (hasHairline_) {
        paintHairline(painter, QPointF(kTextX, 0), width() - kTextX - kMargin, theme().hairline);
    }
    const QRectF card = QRectF(rect()).adjusted(kCardInset, 0, -kCardInset, 0);
    const qreal level = selection_.currentValue().toReal();
    const qreal inset = showsFocus() && isSelected_ ? kFocusInset : 0;
    const QColor unselected = stateFill(transparent(theme().rowHover), theme().rowHover, theme().rowPressed);
    painter.fillPath(roundedPath(card.adjusted(inset, inset, -inset, -inset), kRadius - inset),
                     mixed(unselected, theme().selectedQuiet, level));
    if (showsFocus()) {
        paintRing(painter, card, kRadius, theme().accent);
    } else if (isEmphasized_) {
        paintRing(painter, card, kRadius, theme().danger);
    } else if (level > 0) {
        paintOutline(painter, card, kRadius, mixed(transparent(theme().selectedEdge), theme().selectedEdge, level));
    }
}

}  // namespace corvel::ui
