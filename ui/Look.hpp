#pragma once

#include "app/AppAppearanceMode.hpp"
#include "ui/Theme.hpp"

#include <QCache>
#include <QFont>
#include <QObject>
#include <QPixmap>
#include <QString>

namespace corvel::ui {

/// How everything in the window looks at the moment: colours, fonts and icons. One for the window, handed to every
/// view; a view repaints on `changed`.
class Look : public QObject {
    Q_OBJECT

public:
    explicit Look(AppAppearanceMode mode, QObject* parent = nullptr);

    [[nodiscard]] AppAppearanceMode mode() const { return mode_; }
    [[nodiscard]] const Theme& theme() const { return Theme::of(mode_); }

    /// Changes the appearance of the whole application, the toolkit's own parts included.
    void setMode(AppAppearanceMode mode);

    /// The interface's font in pixels. Symbols of shortcuts are in every family it falls back to.
    [[nodiscard]] static QFont font(int pixels, QFont::Weight weight = QFont::Normal);

    /// The log's font: digits of one width.
    [[nodiscard]] static QFont monospacedFont(int pixels);

    /// The icon with this name in one colour, sharp at the device pixel ratio. Sizes are logical pixels.
    [[nodiscard]] QPixmap icon(const QString& name, int size, const QColor& colour, qreal devicePixelRatio) const;

    /// How much memory icons take at most, and what they take now.
    static constexpr qsizetype kIconCacheKiB = 1024;
    [[nodiscard]] qsizetype iconCacheKiB() const { return icons_.totalCost(); }

signals:
    /// Colours have changed.
    void changed();

private:
    void applyToApplication() const;

    AppAppearanceMode mode_;
    /// A hover mixes colours, each of which makes a picture of its own: more than these would only gather. By KiB.
    mutable QCache<QString, QPixmap> icons_{kIconCacheKiB};
};

}  // namespace corvel::ui
