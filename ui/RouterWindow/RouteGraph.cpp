#include "ui/RouterWindow/RouteGraph.hpp"

#include "ui/RouterWindow/PoolThreadPainting.hpp"
#include "ui/RouterWindow/RouteColorPalette.hpp"
#include "ui/RouterWindow/RouteGraphAccessible.hpp"
#include "ui/RouterWindow/RouteLinePainting.hpp"
#include "ui/RouterWindow/RouteTexts.hpp"
#include "ui/controls/LookButton.hpp"
#include "ui/controls/LookLabel.hpp"
#include "ui/controls/Painting.hpp"

#include <QContextMenuEvent>
#include <QEvent>
#include <QFocusEvent>
#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <numeric>
#include <utility>

namespace corvel::ui {

namespace {

constexpr int kPlaceholderIcon = 56;
constexpr int kPlaceholderGap = 16;
/// Radius of the area that a signal or ring covers.
constexpr qreal kSignalReach = 22;
constexpr qreal kPulseReach = 34;
/// With more moving parts than this their bounds are painted as one rectangle, because every rectangle costs a search
/// through all parts.
constexpr std::size_t kExactRegionLimit = 24;
/// The opacity of all other lines while one is highlighted.
constexpr qreal kStrengthBesideEmphasized = 0.25;
constexpr qreal kFocusRadius = 6;
constexpr qreal kFocusMargin = 2;

}  // namespace

RouteGraph::RouteGraph(MIDIRouterViewModel& model, const Look& look, std::shared_ptr<const Clock> clock,
                       QWidget* parent)
    : QWidget(parent),
      model_(model),
      look_(look),
      ticker_(std::move(clock)),
      placeholder_(new LookLabel(look, Look::font(15), &Theme::text2, this)),
      edges_(look, this) {
    // Before the name is set, because setting it makes screen readers ask for the stage's interface.
    installRouteGraphAccessibility();
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setAccessibleName(QStringLiteral("Routing stage"));
    placeholder_->setLine(QStringLiteral("Select an input and output, then connect them"));
    placeholder_->setAlignment(Qt::AlignCenter);
    placeholder_->setAttribute(Qt::WA_TransparentForMouseEvents);
    connect(&look, &Look::changed, this, &RouteGraph::forgetPictures);
    connect(&edges_, &RouteGraphEdges::endpointRequested, this, &RouteGraph::endpointRequested);
    connect(&ticker_, &RouteAnimationTicker::nowChanged, this, &RouteGraph::showInstant);
    setFocusPolicy(Qt::StrongFocus);
    takeRoutes();
    placeLines();
}

void RouteGraph::refresh(const ModelChanges& changes) {
    using Property = ModelChanges::Property;
    if (changes.containAny({Property::routes})) {
        takeRoutes();
    }
    if (changes.containAny({Property::routes, Property::sources, Property::destinations, Property::selectedRouteID})) {
        placeLines();
    }
}

void RouteGraph::setConnectorPositions(const EndpointConnectorYPositions& positions,
                                       const EndpointViewports& viewports) {
    positions_ = positions;
    viewports_ = viewports;
    placeLines();
}

void RouteGraph::takeRoutes() {
    std::vector<UUID> ids;
    std::ranges::transform(model_.routes(), std::back_inserter(ids), &MIDIRoute::id);
    if (ids == routeIDs_) {
        return;
    }
    const auto missingIn = [](const std::vector<UUID>& among) {
        return [&among](const UUID& id) { return std::ranges::find(among, id) == among.end(); };
    };
    std::vector<UUID> gone;
    std::ranges::copy_if(routeIDs_, std::back_inserter(gone), missingIn(ids));
    std::vector<UUID> come;
    std::ranges::copy_if(ids, std::back_inserter(come), missingIn(routeIDs_));
    // A removed line is announced while it is still in the list, a new line when it is in the list.
    announceRouteLines(*this, gone, QAccessible::ObjectDestroyed);
    routeIDs_ = std::move(ids);
    announceRouteLines(*this, come, QAccessible::ObjectCreated);
}

QString RouteGraph::routeName(const UUID& routeID) const {
    const MIDIRoute* const route = model_.route(routeID);
    return route != nullptr ? connectionName(model_, *route) : QString();
}

QRect RouteGraph::routeRect(const UUID& routeID) const {
    QRect rect;
    lines_.forEachOf(routeID, [&rect](const RouteLine& line) {
        rect |= (line.startMark() | line.endMark() | line.path().boundingRect()).toAlignedRect();
    });
    return rect;
}

bool RouteGraph::isSelected(const UUID& routeID) const {
    return model_.selectedRouteID() == routeID;
}

void RouteGraph::selectRoute(const UUID& routeID) {
    model_.setSelectedRouteID(routeID);
}

void RouteGraph::setEmphasizedRoute(const std::optional<UUID>& routeID) {
    if (routeID != emphasizedRoute_) {
        emphasizedRoute_ = routeID;
        repaintLines();
    }
}

// Lines

void RouteGraph::placeLines() {
    RouteLineEnds ends(positions_, viewports_, mapTo(window(), QPoint()).y(), height(), model_.routes().size());
    RouteLines lines = makeLines(ends);
    edges_.show(ends);
    placeholder_->setVisible(lines.inDrawingOrder().empty());
    if (lines == lines_) {
        return;
    }
    lines_ = std::move(lines);
    repaintLines();
    activity_ = RouteActivity::at(ticker_.now(), lines_, model_.graphActivityEvents());
    setHoveredRoute(underMouse() ? routeAt(mapFromGlobal(QCursor::pos())) : std::nullopt);
}

RouteLines RouteGraph::makeLines(RouteLineEnds& ends) const {
    const std::vector<MIDIRoute>& routes = model_.routes();
    std::vector<RouteLine> lines;
    lines.reserve(routes.size());
    for (std::size_t position = 0; position < routes.size(); ++position) {
        const MIDIRoute& route = routes[position];
        const RouteAvailability availability = model_.routeAvailability(route);
        const bool isOutputMissing = availability == RouteAvailability::missingOutput;
        const bool isInputMissing = availability == RouteAvailability::missingInput;
        const bool areBothMissing = availability == RouteAvailability::missingEndpoints;
        const RouteLineEnds::End start =
            ends.place({MIDIEndpointDirection::source, route.sourceID}, position, isInputMissing || areBothMissing);
        const RouteLineEnds::End end = ends.place({MIDIEndpointDirection::destination, route.destinationID}, position,
                                                  isOutputMissing || areBothMissing);
        lines.push_back({.routeID = route.id,
                         .size = size(),
                         .startY = start.y,
                         .endY = end.y,
                         .routeColor = RouteColorPalette::color(route.id, routes),
                         .isSelected = model_.selectedRouteID() == route.id,
                         .availability = availability,
                         .startKind = start.kind,
                         .endKind = end.kind});
    }
    return RouteLines(std::move(lines));
}

void RouteGraph::placePlaceholder() {
    const int textHeight = placeholder_->sizeHint().height();
    const int top = (height() - kPlaceholderIcon - kPlaceholderGap - textHeight) / 2;
    placeholder_->setGeometry(0, top + kPlaceholderIcon + kPlaceholderGap, width(), textHeight);
}

void RouteGraph::forgetPictures() {
    ratio_ = 0;
    update();
}

void RouteGraph::repaintLines() {
    linesPicture_ = {};
    update();
}

// Animation

void RouteGraph::showInstant() {
    if (hasPassed_ && isAsWhenPassed()) {
        return;
    }
    const MIDIRouterViewModel::ActivityEvents& events = model_.graphActivityEvents();
    RouteActivity activity = RouteActivity::at(ticker_.now(), lines_, events);
    if (activity != activity_) {
        update(regionOf(activity_, activity));
        activity_ = std::move(activity);
    }
    hasPassed_ = RouteActivity::hasPassed(ticker_.now(), events);
    passedAt_ = ticker_.now();
    newestPassed_ = events.empty() ? UUID() : events.back().id;
}

bool RouteGraph::isAsWhenPassed() const {
    const MIDIRouterViewModel::ActivityEvents& events = model_.graphActivityEvents();
    return ticker_.now() >= passedAt_ && (events.empty() || events.back().id == newestPassed_);
}

QRegion RouteGraph::regionOf(const RouteActivity& before, const RouteActivity& after) {
    std::vector<QRect> rects;
    const auto add = [&rects](const QPointF& place, qreal reach) {
        rects.push_back(QRectF(place.x() - reach, place.y() - reach, 2 * reach, 2 * reach).toAlignedRect());
    };
    for (const RouteActivity* const activity : {&before, &after}) {
        for (const RouteActivity::PlacedSignal& placed : activity->activeSignals) {
            add(placed.position, kSignalReach);
        }
        for (const RouteActivity::PlacedPulse& placed : activity->outputPulses) {
            add(placed.position, kPulseReach);
        }
    }
    if (rects.size() <= kExactRegionLimit) {
        return std::accumulate(rects.begin(), rects.end(), QRegion());
    }
    return std::accumulate(rects.begin(), rects.end(), QRect(), std::bit_or<>());
}

// Pointer

void RouteGraph::setHoveredRoute(std::optional<UUID> routeID) {
    if (routeID == hoveredRoute_) {
        return;
    }
    hoveredRoute_ = routeID;
    setCursor(hoveredRoute_ ? Qt::PointingHandCursor : Qt::ArrowCursor);
    repaintLines();
}

std::optional<UUID> RouteGraph::routeAt(const QPointF& point) const {
    const RouteLine* const line = lines_.at(point);
    return line != nullptr ? std::optional(line->routeID) : std::nullopt;
}

void RouteGraph::mouseMoveEvent(QMouseEvent* event) {
    setHoveredRoute(routeAt(event->position()));
}

void RouteGraph::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        isPressed_ = true;
        pressedRoute_ = routeAt(event->position());
    }
}

void RouteGraph::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        return;
    }
    const std::optional<UUID> pressed = std::exchange(pressedRoute_, std::nullopt);
    const std::optional<UUID> released = routeAt(event->position());
    if (!std::exchange(isPressed_, false) || pressed != released) {
        return;
    }
    if (pressed) {
        selectRoute(*pressed);
    } else if (rect().contains(event->position().toPoint())) {
        emit emptyPlaceClicked();
    }
}

void RouteGraph::leaveEvent(QEvent*) {
    setHoveredRoute(std::nullopt);
}

void RouteGraph::contextMenuEvent(QContextMenuEvent* event) {
    if (const std::optional<UUID> routeID = routeAt(event->pos())) {
        emit menuRequested(*routeID, event->globalPos());
    }
}

// Keys

void RouteGraph::keyPressEvent(QKeyEvent* event) {
    const std::vector<UUID>& ids = routeIDs_;
    const auto selected = model_.selectedRouteID() ? std::ranges::find(ids, *model_.selectedRouteID()) : ids.end();
    const bool isAny = selected != ids.end();
    if (ids.empty() || (event->modifiers() & ~Qt::KeyboardModifiers(Qt::KeypadModifier)) != Qt::NoModifier) {
        QWidget::keyPressEvent(event);
        return;
    }
    switch (event->key()) {
        case Qt::Key_Up:
            selectRoute(isAny && selected != ids.begin() ? *std::prev(selected) : ids.front());
            break;
        case Qt::Key_Down:
            selectRoute(isAny && std::next(selected) != ids.end() ? *std::next(selected)
                        : isAny                                   ? ids.back()
                                                                  : ids.front());
            break;
        case Qt::Key_Home:
            selectRoute(ids.front());
            break;
        case Qt::Key_End:
            selectRoute(ids.back());
            break;
        case Qt::Key_Delete:
            model_.deleteSelectedRoute();
            break;
        default:
            QWidget::keyPressEvent(event);
    }
}

void RouteGraph::focusInEvent(QFocusEvent* event) {
    if (event->reason() != Qt::ActiveWindowFocusReason && event->reason() != Qt::PopupFocusReason) {
        isKeyboardFocus_ = isByKeyboard(event->reason());
    }
    QWidget::focusInEvent(event);
    update();
}

void RouteGraph::focusOutEvent(QFocusEvent* event) {
    QWidget::focusOutEvent(event);
    update();
}

// Window

void RouteGraph::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    ticker_.start();
    placeLines();
}

void RouteGraph::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    ticker_.stop();
}

void RouteGraph::moveEvent(QMoveEvent* event) {
    QWidget::moveEvent(event);
    placeLines();
}

void RouteGraph::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    linesPicture_ = {};
    placePlaceholder();
    placeLines();
}

// Painting

void RouteGraph::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    // Taken from the painter: a picture that the widget is rendered to has another ratio than the widget.
    prepare(painter.deviceTransform().m11());
    for (const QRect& rect : event->region()) {
        // One rectangle at a time: the toolkit copies pictures many times faster than with several.
        painter.setClipRect(rect);
        paintClip(painter);
    }
}

void RouteGraph::paintClip(QPainter& painter) {
    painter.save();
    // In device pixels, because the toolkit would scale pictures in logical ones.
    painter.scale(1 / ratio_, 1 / ratio_);
    painter.drawPixmap(0, 0, linesPicture_);
    paintActivity(painter);
    painter.restore();
    if (lines_.inDrawingOrder().empty()) {
        paintPlaceholderIcon(painter);
    }
    if (hasFocus() && isKeyboardFocus_) {
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        paintRing(painter, QRectF(rect()).adjusted(kFocusMargin, kFocusMargin, -kFocusMargin, -kFocusMargin),
                  kFocusRadius, look_.theme().accent);
        painter.restore();
    }
}

void RouteGraph::prepare(qreal devicePixelRatio) {
    if (ratio_ != devicePixelRatio) {
        ratio_ = devicePixelRatio;
        sprites_ = SignalSprites(look_.mode(), ratio_);
        linesPicture_ = {};
    }
    if (linesPicture_.isNull()) {
        QImage picture;
        paintOnPoolThread([this, &picture] { picture = paintedLines(); });
        linesPicture_ = QPixmap::fromImage(std::move(picture));
    }
}

QImage RouteGraph::paintedLines() const {
    QImage picture(static_cast<int>(std::ceil(width() * ratio_)), static_cast<int>(std::ceil(height() * ratio_)),
                   QImage::Format_RGB32);
    picture.fill(look_.theme().stage);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(ratio_, ratio_);
    const bool isOneEmphasized = emphasizedRoute_ && model_.route(*emphasizedRoute_) != nullptr;
    const auto strength = [&](const RouteLine& line) {
        return isOneEmphasized && line.routeID != emphasizedRoute_ ? kStrengthBesideEmphasized : 1;
    };
    for (const RouteLine& line : lines_.inDrawingOrder()) {
        painter.setOpacity(strength(line));
        const RouteGlow unselected = hoveredRoute_ == line.routeID ? RouteGlow::hovered : RouteGlow::none;
        paintRouteLine(painter, line, line.isSelected ? RouteGlow::selected : unselected, look_.mode());
    }
    for (const RouteLine& line : lines_.inDrawingOrder()) {
        painter.setOpacity(strength(line));
        paintConnectorMarks(painter, line, look_.mode());
    }
    return picture;
}

void RouteGraph::paintPlaceholderIcon(QPainter& painter) const {
    const QPixmap icon = look_.icon(QStringLiteral("link.badge.plus"), kPlaceholderIcon, look_.theme().text3, ratio_);
    const QPointF place((width() - kPlaceholderIcon) / 2.0, placeholder_->y() - kPlaceholderGap - kPlaceholderIcon);
    painter.drawPixmap(place, icon);
}

void RouteGraph::paintActivity(QPainter& painter) {
    for (const RouteActivity::PlacedPulse& placed : activity_.outputPulses) {
        const Sprite& sprite = sprites_.ring(RouteLine::signalColor(placed.pulse.messageKind), placed.pulse);
        painter.drawPixmap(devicePlace(placed.position) - sprite.origin, sprite.pixmap);
    }
    for (const RouteActivity::PlacedSignal& placed : activity_.activeSignals) {
        const Sprite& sprite = sprites_.signal(RouteLine::signalColor(placed.signal.messageKind));
        painter.setOpacity(placed.signal.opacity);
        painter.drawPixmap(devicePlace(placed.position) - sprite.origin, sprite.pixmap);
    }
}

QPoint RouteGraph::devicePlace(const QPointF& point) const {
    return (point * ratio_).toPoint();
}

}  // namespace corvel::ui
