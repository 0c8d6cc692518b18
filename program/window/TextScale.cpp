#include "program/window/TextScale.hpp"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QFont>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace corvel {

namespace {

constexpr double kMinUsual = 9;
constexpr double kMaxUsual = 11;
constexpr double kUsualDPI = 96;
constexpr double kStepsInOne = 20;
constexpr int kPortalLimit = 500;

/// The text scale that the desktop's portal gives, on Wayland; 1 if there is none.
double portalTextScale() {
    if (!QGuiApplication::platformName().startsWith(QStringLiteral("wayland"))) {
        return 1;
    }
    QDBusMessage question = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("Read"));
    question.setArguments({QStringLiteral("org.gnome.desktop.interface"), QStringLiteral("text-scaling-factor")});
    QVariant answer = QDBusConnection::sessionBus().call(question, QDBus::Block, kPortalLimit).arguments().value(0);
    while (answer.canConvert<QDBusVariant>()) {
        answer = answer.value<QDBusVariant>().variant();
    }
    const double scale = answer.toDouble();
    return scale > 0 ? scale : 1;
}

}  // namespace

double textScale(double fontPoints, double textDPI) {
    const double usual = std::clamp(fontPoints, kMinUsual, kMaxUsual);
    const double scale = fontPoints > 0 && textDPI > 0 ? fontPoints / usual * textDPI / kUsualDPI : 1;
    return std::clamp(std::round(scale * kStepsInOne) / kStepsInOne, 0.75, 3.0);
}

double desktopTextScale() {
    const QScreen* const screen = QGuiApplication::primaryScreen();
    const double dpi = screen != nullptr ? screen->logicalDotsPerInchY() : kUsualDPI;
    return textScale(QApplication::font().pointSizeF(), dpi * portalTextScale());
}

}  // namespace corvel
