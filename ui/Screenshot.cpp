#include "ui/Screenshot.hpp"

#include "ui/Look.hpp"
#include "ui/RouterWindow/RouterWindow.hpp"

#include <QEventLoop>
#include <QImageWriter>
#include <QTimer>

#include <utility>

namespace corvel::ui {

namespace {

/// Long enough for the first notes to reach the outputs.
constexpr int kPlayingTime = 1500;

}  // namespace

std::optional<QString> takeScreenshot(MIDIRouterViewModel& model, std::shared_ptr<const Clock> clock,
                                      const QString& demoReason, const ScreenshotOptions& options) {
    const Look look(options.appearance);
    RouterWindow window(model, look, std::move(clock), {}, demoReason);
    window.resize(options.size);
    window.show();
    model.startIfNeeded();
    QEventLoop loop;
    QTimer::singleShot(kPlayingTime, &loop, &QEventLoop::quit);
    loop.exec();
    QImageWriter writer(QString::fromStdString(options.file.string()), "png");
    return writer.write(window.grab().toImage()) ? std::nullopt : std::optional(writer.errorString());
}

}  // namespace corvel::ui
