#include "program/window/Display.hpp"

#include "program/Console.hpp"
#include "program/window/TextScale.hpp"
#include "ui/QtText.hpp"

#include <QByteArray>
#include <QString>
#include <QtGlobal>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace corvel {

namespace {

const char* const kAdvice = "use --headless to route without a window";

/// Qt's first message while it opened the display: it is more specific than the last.
QString& firstWarning() {
    static QString warning;
    return warning;
}

/// If Qt cannot open the display, it prints several lines and aborts. This prints one line and exits with a status
/// instead, and nothing if the display opens in the end.
void reportDisplay(QtMsgType type, const QMessageLogContext& /*context*/, const QString& message) {
    if (type == QtFatalMsg) {
        const QString& reason = firstWarning().isEmpty() ? message : firstWarning();
        printError("the window cannot be shown: " + ui::toUTF8(reason.section('\n', 0, 0).simplified()) + "; " +
                   kAdvice);
        std::_Exit(EXIT_FAILURE);
    }
    if (type != QtDebugMsg && type != QtInfoMsg && firstWarning().isEmpty()) {
        firstWarning() = message;
    }
}

std::unique_ptr<QApplication> makeApplication(QtArguments& arguments) {
    // Desktops use this name to find icon and group of every window, also of a notice before the main window.
    QGuiApplication::setDesktopFileName(QStringLiteral("app.corvel.Corvel"));
    const QtMessageHandler before = qInstallMessageHandler(reportDisplay);
    auto application = std::make_unique<QApplication>(arguments.count(), arguments.values());
    qInstallMessageHandler(before);
    return application;
}

/// Set if this start already has the scale of the desktop's text.
const char* const kIsScaled = "CORVEL_TEXT_IS_SCALED";

/// Returns only if it fails.
void startAgainScaled(const Start& start, double scale) {
    const double present = qEnvironmentVariableIsSet("QT_SCALE_FACTOR") ? qgetenv("QT_SCALE_FACTOR").toDouble() : 1;
    qputenv("QT_SCALE_FACTOR", QByteArray::number(scale * (present > 0 ? present : 1)));
    qputenv(kIsScaled, "1");
    for (const char* const name : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"}) {
        // The toolkit has removed it from the environment.
        if (!start.activationToken.empty()) {
            qputenv(name, QByteArray::fromStdString(start.activationToken));
        }
    }
    std::vector<char*> arguments{start.qtArguments.values()[0]};
    std::vector<std::string> texts = start.arguments;
    for (std::string& text : texts) {
        arguments.push_back(text.data());
    }
    arguments.push_back(nullptr);
    ::execv("/proc/self/exe", arguments.data());
}

}  // namespace

std::unique_ptr<QApplication> openDisplay(const Start& start) {
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        printError(std::string("there is no display to show the window on; ") + kAdvice);
        return nullptr;
    }
    std::unique_ptr<QApplication> application = makeApplication(start.qtArguments);
    const double scale = desktopTextScale();
    if (scale == 1 || qEnvironmentVariableIsSet(kIsScaled)) {
        return application;
    }
    application.reset();
    startAgainScaled(start, scale);
    return makeApplication(start.qtArguments);
}

std::unique_ptr<QApplication> openDrawing(QtArguments& arguments, double scale) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_SCALE_FACTOR", QByteArray::number(scale));
    // These variables would change the scale too.
    for (const char* const variable : {"QT_SCREEN_SCALE_FACTORS", "QT_ENABLE_HIGHDPI_SCALING",
                                       "QT_SCALE_FACTOR_ROUNDING_POLICY", "QT_USE_PHYSICAL_DPI", "QT_FONT_DPI"}) {
        qunsetenv(variable);
    }
    return makeApplication(arguments);
}

}  // namespace corvel
