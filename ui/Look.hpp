#pragma once

#include "app/AppAppearanceMode.hpp"
#include "ui/Theme.hpp"

#include <QCache>
#include <QFont>
#include <QObject>
#include <QPixmap>
#include <QString>

namespace corvel::ui {

/// The current look of the window: colours, fonts and icons. The window has one and passes it to every view; a view
/// repaints on `changed`.
class Look : public QObject {
    Q_OBJECT

public:
    explicit Look(AppAppearanceMode mode, QObject* parent = nullptr);

    [[nodiscard]] AppAppearanceMode mode() const { return mode_; }
    [[nodiscard]] const Theme& theme() const { return Theme::of(mode_); }

    /// Changes the appearance of the whole application, including the toolkit's own parts.
    void setMode(AppAppearanceMode mode);

    /// The interface's font; size in pixels. All its fallback families have the symbols of shortcuts.
    [[nodiscard]] static QFont font(int pixels, QFont::Weight weight = QFont::Normal);

    /// The log's font, with digits of equal width.
    [[nodiscard]] static QFont monospacedFont(int pixels);

    /// The icon with this name in one colour, sharp at this device pixel ratio. Sizes are in logical pixels.
    [[nodiscard]] QPixmap icon(const QString& name, int size, const QColor& colour, qreal devicePixelRatio) const;

    /// Maximum and current memory of the icon cache.
    static constexpr qsizetype kIconCacheKiB = 1024;
    [[nodiscard]] qsizetype iconCacheKiB() const { return icons_.totalCost(); }

signals:
    /// Colours have changed.
    void changed();

private:
    void applyToApplication() const;

    AppAppearanceMode mode_;
    /// The cache is limited because every mixed colour of a hover makes another picture. Costs are in KiB.
    mutable QCache<QString, QPixmap> icons_{kIconCacheKiB};
};

}  // namespace corvel::ui
