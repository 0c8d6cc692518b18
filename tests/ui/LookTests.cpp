#include "ui/Look.hpp"

#include <QColor>
#include <gtest/gtest.h>

namespace corvel::ui {
namespace {

TEST(Look, KeepsAnIconInItsColourAndSize) {
    const Look look(AppAppearanceMode::dark);
    const QPixmap first = look.icon(QStringLiteral("plus"), 20, Qt::red, 1);
    EXPECT_EQ(look.icon(QStringLiteral("plus"), 20, Qt::red, 1).cacheKey(), first.cacheKey());
}

TEST(Look, HoldsNoMoreIconsThanItsLimit) {
    const Look look(AppAppearanceMode::dark);
    // As many shades as an hour of moving the pointer makes; each picture needs 25 KiB.
    for (int shade = 0; shade < 256; ++shade) {
        const QPixmap icon = look.icon(QStringLiteral("plus"), 40, QColor(shade, 0, 0), 2);
        ASSERT_FALSE(icon.isNull());
        ASSERT_LE(look.iconCacheKiB(), 1024);
    }
    EXPECT_GT(look.iconCacheKiB(), 512);
}

}  // namespace
}  // namespace corvel::ui
