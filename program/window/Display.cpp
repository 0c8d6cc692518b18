#include "program/window/Display.hpp"

#include "program/Console.hpp"
#include "ui/QtText.hpp"

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <cstdlib>
#include <string>

namespace corvel {

namespace {

const char* const kAdvice = "use --headless to route without a window";

/// What Qt said first while it opened the display: it tells more than what it says at the end.
QString& firstWarning() {
    static QString warning;
    return warning;
}

/// Where Qt cannot open the display it ends the program by an abort, after several lines. One line and an exit status
/// do, and none where the display is opened in the end.
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
    const QtMessageHandler before = qInstallMessageHandler(reportDisplay);
    auto application = std::make_unique<QApplication>(arguments.count(), arguments.values());
    qInstallMessageHandler(before);
    return application;
}

}  // namespace

std::unique_ptr<QApplication> openDisplay(QtArguments& arguments) {
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        printError(std::string("there is no display to show the window on; ") + kAdvice);
        return nullptr;
    }
    return makeApplication(arguments);
}

std::unique_ptr<QApplication> openDrawing(QtArguments& arguments, double scale) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_SCALE_FACTOR", QByteArray::number(scale));
    // Everything else that would have a say in the scale.
    for (const char* const variable : {"QT_SCREEN_SCALE_FACTORS", "QT_ENABLE_HIGHDPI_SCALING",
                                       "QT_SCALE_FACTOR_ROUNDING_POLICY", "QT_USE_PHYSICAL_DPI", "QT_FONT_DPI"}) {
        qunsetenv(variable);
    }
    return makeApplication(arguments);
}

}  // namespace corvel
