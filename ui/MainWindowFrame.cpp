#include "ui/MainWindowFrame.hpp"

#include "ui/QtText.hpp"

#include <QByteArray>
#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <string_view>
#include <utility>

namespace corvel::ui {

namespace {

constexpr std::string_view kFrameKey = "NSWindow Frame Corvel.RouterWindow-1-AppWindow-1";
constexpr QSize kDefaultSize(1180, 760);
constexpr int kSaveDelay = 300;
/// A window manager that puts on decorations has done so by then.
constexpr int kDecorationsDelay = 1000;

/// The default size in the middle of the screen; where the window is, if there is no screen.
QRect defaultFrame(const QWidget& window) {
    const QScreen* const own = window.screen();
    const QScreen* const screen = own != nullptr ? own : QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        return {window.pos(), kDefaultSize};
    }
    QRect frame(QPoint(), kDefaultSize);
    frame.moveCenter(screen->availableGeometry().center());
    return frame;
}

}  // namespace

bool hasSavedMainWindowFrame(const Settings& settings) {
    return std::ranges::any_of(settings.keys(), [](std::string_view key) {
        return key.starts_with("NSWindow Frame ") && key.find("RouterWindow") != std::string_view::npos &&
               key.find("AppWindow") != std::string_view::npos;
    });
}

MainWindowFrame::MainWindowFrame(QWidget& window, std::shared_ptr<Settings> settings)
    : window_(window), settings_(std::move(settings)) {
    restore();
    saveSoon_.setSingleShot(true);
    saveSoon_.setInterval(kSaveDelay);
    connect(&saveSoon_, &QTimer::timeout, this, &MainWindowFrame::save);
    window_.installEventFilter(this);
}

MainWindowFrame::~MainWindowFrame() = default;

void MainWindowFrame::restore() {
    if (const auto saved = settings_->string(kFrameKey)) {
        window_.restoreGeometry(QByteArray::fromBase64(QByteArray::fromStdString(*saved)));
    }
}

void MainWindowFrame::save() {
    saveSoon_.stop();
    const std::string frame = window_.saveGeometry().toBase64().toStdString();
    if (settings_->string(kFrameKey) != frame) {
        settings_->set(kFrameKey, frame);
    }
}

void MainWindowFrame::applyDefaultMainWindowFrameIfNeeded() {
    if (didApplyDefaultMainWindowFrame_ || hasSavedMainWindowFrame(*settings_)) {
        return;
    }
    didApplyDefaultMainWindowFrame_ = true;
    window_.setGeometry(defaultFrame(window_));
    awaitsDecorations_ = true;
    allowForDecorations();
    QTimer::singleShot(kDecorationsDelay, this, [this] { awaitsDecorations_ = false; });
}

void MainWindowFrame::allowForDecorations() {
    const QWindow* const handle = window_.windowHandle();
    const QMargins decorations = handle != nullptr ? handle->frameMargins() : QMargins();
    if (!awaitsDecorations_ || decorations.isNull()) {
        return;
    }
    awaitsDecorations_ = false;
    window_.setGeometry(defaultFrame(window_).marginsRemoved(decorations));
}

bool MainWindowFrame::eventFilter(QObject*, QEvent* event) {
    switch (event->type()) {
        case QEvent::Move:
        case QEvent::Resize:
        case QEvent::WindowStateChange:
            if (window_.isVisible()) {
                saveSoon_.start();
            }
            QMetaObject::invokeMethod(this, &MainWindowFrame::allowForDecorations, Qt::QueuedConnection);
            break;
        case QEvent::Close:
            save();
            break;
        case QEvent::WindowActivate:
        case QEvent::Paint:
            allowForDecorations();
            break;
        default:
            break;
    }
    return false;
}

}  // namespace corvel::ui
