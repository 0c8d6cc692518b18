#include "ui/Look.hpp"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QProxyStyle>
#include <QRegion>
#include <QStyleOption>
#include <QSvgRenderer>
#include <QToolTip>

#include <cmath>

/// The linker leaves out a static library's resources that nothing names.
// NOLINTNEXTLINE(misc-use-anonymous-namespace): the toolkit's macro works outside of namespaces only
static void loadResources() {
    Q_INIT_RESOURCE(icons);
    Q_INIT_RESOURCE(info);
}

namespace corvel::ui {

namespace {

constexpr qreal kToolTipRadius = 6;

/// The toolkit's controls, equal on all platforms. Tooltips have round corners even if windows cannot be transparent.
class LookStyle final : public QProxyStyle {
public:
    LookStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* result) const override {
        auto* const mask = qstyleoption_cast<QStyleHintReturnMask*>(result);
        if (hint != SH_ToolTip_Mask || option == nullptr || mask == nullptr) {
            return QProxyStyle::styleHint(hint, option, widget, result);
        }
        QPainterPath shape;
        shape.addRoundedRect(option->rect, kToolTipRadius, kToolTipRadius);
        mask->region = QRegion(shape.toFillPolygon().toPolygon());
        return 1;
    }
};

QPalette paletteOf(const Theme& theme) {
    QPalette palette;
    palette.setColor(QPalette::Window, theme.surface);
    palette.setColor(QPalette::WindowText, theme.text);
    palette.setColor(QPalette::Base, theme.field);
    palette.setColor(QPalette::AlternateBase, theme.raised);
    palette.setColor(QPalette::Text, theme.text);
    palette.setColor(QPalette::PlaceholderText, theme.text2);
    palette.setColor(QPalette::Button, theme.raised);
    palette.setColor(QPalette::ButtonText, theme.text);
    palette.setColor(QPalette::Highlight, theme.accentFill);
    palette.setColor(QPalette::HighlightedText, theme.accentInk);
    palette.setColor(QPalette::ToolTipBase, theme.tip);
    palette.setColor(QPalette::ToolTipText, theme.tipInk);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, theme.disabled);
    }
    return palette;
}

/// The colours that a palette does not cover: menus, tooltips and scroll bars.
QString styleSheetOf(const Theme& theme) {
    return QStringLiteral(R"(
QToolTip { background: %1; color: %2; border: 1px solid %1; border-radius: 6px; padding: 3px 4px; font-size: 12px; }
QMenu { background: %3; color: %4; border: 1px solid %5; border-radius: 8px; padding: 4px; font-size: 14px; }
QMenu::item { height: 32px; padding: 0 12px 0 34px; border-radius: 5px; }
QMenu::item:selected { background: %6; }
QMenu::item:disabled { color: %7; }
QMenu::icon { left: 8px; }
QMenu::separator { height: 1px; background: %8; margin: 4px 8px; }
QScrollBar:vertical { background: transparent; width: 12px; margin: 4px 2px; }
QScrollBar::handle:vertical { background: %5; border-radius: 2px; min-height: 24px; margin: 0 4px; }
QScrollBar::handle:vertical:hover { margin: 0 3px; }
QScrollBar::add-line, QScrollBar::sub-line { height: 0; }
QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }
)")
        .arg(theme.tip.name(), theme.tipInk.name(), theme.sheet.name(), theme.text.name(), theme.edge.name(),
             theme.selected.name(), theme.disabled.name(), theme.hairline.name());
}

}  // namespace

Look::Look(AppAppearanceMode mode, QObject* parent) : QObject(parent), mode_(mode) {
    loadResources();
    QApplication::setStyle(new LookStyle);
    applyToApplication();
}

void Look::setMode(AppAppearanceMode mode) {
    if (mode == mode_) {
        return;
    }
    mode_ = mode;
    applyToApplication();
    emit changed();
}

void Look::applyToApplication() const {
    QApplication::setPalette(paletteOf(theme()));
    QApplication::setFont(font(14));
    QToolTip::setPalette(paletteOf(theme()));
    QToolTip::setFont(font(12));
    qApp->setStyleSheet(styleSheetOf(theme()));
}

QFont Look::font(int pixels, QFont::Weight weight) {
    QFont font;
    font.setFamilies({QStringLiteral("Inter"), QStringLiteral("DejaVu Sans"), QStringLiteral("sans-serif")});
    font.setPixelSize(pixels);
    font.setWeight(weight);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

QFont Look::monospacedFont(int pixels) {
    QFont font;
    font.setFamilies({QStringLiteral("DejaVu Sans Mono"), QStringLiteral("monospace")});
    font.setStyleHint(QFont::Monospace);
    font.setPixelSize(pixels);
    return font;
}

QPixmap Look::icon(const QString& name, int size, const QColor& colour, qreal devicePixelRatio) const {
    const QString key = QStringLiteral("%1/%2/%3/%4").arg(name).arg(size).arg(colour.rgba()).arg(devicePixelRatio);
    if (const QPixmap* const found = icons_.object(key); found != nullptr) {
        return *found;
    }
    const auto pixels = static_cast<int>(std::ceil(size * devicePixelRatio));
    QPixmap pixmap(pixels, pixels);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    QSvgRenderer renderer(QStringLiteral(":/icons/%1.svg").arg(name));
    renderer.render(&painter, QRectF(0, 0, size, size));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(QRectF(0, 0, size, size), colour);
    painter.end();
    constexpr qsizetype kBytesPerPixel = 4;
    constexpr qsizetype kKiB = 1024;
    icons_.insert(key, new QPixmap(pixmap), 1 + kBytesPerPixel * pixels * pixels / kKiB);
    return pixmap;
}

}  // namespace corvel::ui
