#include "ui/RouterWindow/RouteLinePainting.hpp"

#include <QPainter>
#include <QPen>
#include <QTransform>

#include <array>

namespace corvel::ui {

namespace {

constexpr qreal kMarkRadius = 4;
constexpr qreal kHollowMarkWidth = 1.5;
constexpr qreal kMiterLimit = 10;
constexpr qreal kDash = 6;
constexpr qreal kGap = 5;

struct GlowStroke {
    qreal width = 0;
    float alpha = 0;
};

constexpr std::array<GlowStroke, 5> kGlow{{{8, .055F}, {12, .055F}, {16, .05F}, {20, .04F}, {24, .03F}}};

float glowStrength(RouteGlow glow, AppAppearanceMode mode) {
    const float full = mode == AppAppearanceMode::light ? .8F : 1;
    switch (glow) {
        case RouteGlow::selected:
            return full;
        case RouteGlow::hovered:
            return full / 2;
        case RouteGlow::none:
            break;
    }
    return 0;
}

/// The mark at a row is filled. The mark of a missing endpoint is hollow, because it may be beside another device's
/// row. At an edge there is no mark.
void paintMark(QPainter& painter, QPainterPath (*shape)(const QRectF& rect), const QRectF& rect,
               RouteLine::EndKind kind, const QColor& color) {
    switch (kind) {
        case RouteLine::EndKind::row:
            painter.fillPath(shape(rect), color);
            break;
        case RouteLine::EndKind::missing: {
            constexpr qreal kInset = kHollowMarkWidth / 2;
            painter.strokePath(shape(rect.adjusted(kInset, kInset, -kInset, -kInset)), QPen(color, kHollowMarkWidth));
            break;
        }
        case RouteLine::EndKind::above:
        case RouteLine::EndKind::below:
            break;
    }
}

QPen flatPen(const QColor& color, qreal width) {
    QPen pen(color, width);
    pen.setCapStyle(Qt::FlatCap);
    pen.setJoinStyle(Qt::MiterJoin);
    pen.setMiterLimit(kMiterLimit);
    return pen;
}

}  // namespace

void paintRouteLine(QPainter& painter, const RouteLine& line, RouteGlow glow, AppAppearanceMode mode) {
    const Theme& theme = Theme::of(mode);
    const QPainterPath path = line.path();
    if (glow != RouteGlow::none) {
        QColor color = line.baseColor(theme);
        for (const GlowStroke& stroke : kGlow) {
            color.setAlphaF(stroke.alpha * glowStrength(glow, mode));
            painter.strokePath(path, flatPen(color, stroke.width));
        }
    }
    QPen pen = flatPen(line.lineColor(theme), line.strokeWidth());
    if (line.isDashed()) {
        // Dash patterns are in units of the pen's width.
        pen.setDashPattern({kDash / line.strokeWidth(), kGap / line.strokeWidth()});
    }
    painter.strokePath(path, pen);
}

void paintConnectorMarks(QPainter& painter, const RouteLine& line, AppAppearanceMode mode) {
    const QColor color = line.markColor(Theme::of(mode));
    paintMark(painter, startMarkPath, line.startMark(), line.startKind, color);
    paintMark(painter, endMarkPath, line.endMark(), line.endKind, color);
}

QPainterPath startMarkPath(const QRectF& rect) {
    const QSizeF corner(2 * kMarkRadius, 2 * kMarkRadius);
    QPainterPath path(rect.topLeft());
    path.arcTo(QRectF(QPointF(rect.right() - corner.width(), rect.top()), corner), 90, -90);
    path.arcTo(QRectF(QPointF(rect.right() - corner.width(), rect.bottom() - corner.height()), corner), 0, -90);
    path.lineTo(rect.bottomLeft());
    path.closeSubpath();
    return path;
}

QPainterPath endMarkPath(const QRectF& rect) {
    const QPointF middle = rect.center();
    const auto mirror = QTransform::fromTranslate(middle.x(), 0).scale(-1, 1).translate(-middle.x(), 0);
    return mirror.map(startMarkPath(rect));
}

}  // namespace corvel::ui
