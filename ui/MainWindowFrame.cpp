#include "ui/MainWindowFrame.hpp"

#include "ui/QtText.hpp"

#include <QByteArray>
#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace corvel::ui {

namespace {

constexpr std::string_view kFrameKey = "NSWindow Frame Corvel.RouterWindow-1-AppWindow-1";
constexpr QSize kDefaultSize(1180, 760);
constexpr int kSaveDelay = 300;
/// By this time a window manager has added its decorations, if it does.
constexpr int kDecorationsDelay = 1000;

/// Whether the sizes differ only by the rounding of a fractional scale.
bool isNear(QSize one, QSize other) {
    const QSize difference = one - other;
    return std::abs(difference.width()) <= 3 && std::abs(difference.height()) <= 3;
}

}  // namespace

bool hasSavedMainWindowFrame(const Settings& settings) {
    return std::ranges::any_of(settings.keys(), [](std::string_view key) {
        return key.starts_with("NSWindow Frame ") && key.find("RouterWindow") != std::string_view::npos &&
               key.find("AppWindow") != std::string_view::npos;
    });
}

QRect frameInside(const QRect& frame, const QRect& workArea) {
    const QSize size = frame.size().boundedTo(workArea.size());
    return {QPoint(std::clamp(frame.x(), workArea.x(), workArea.x() + workArea.width() - size.width()),
                   std::clamp(frame.y(), workArea.y(), workArea.y() + workArea.height() - size.height())),
            size};
}

MainWindowFrame::MainWindowFrame(QWidget& window, std::shared_ptr<Settings> settings)
    : window_(window), settings_(std::move(settings)), minimumSize_(window.minimumSize()) {
    decorationsDelay_.setSingleShot(true);
    decorationsDelay_.setInterval(kDecorationsDelay);
    connect(&decorationsDelay_, &QTimer::timeout, this, &MainWindowFrame::acceptSize);
    saveSoon_.setSingleShot(true);
    saveSoon_.setInterval(kSaveDelay);
    connect(&saveSoon_, &QTimer::timeout, this, &MainWindowFrame::save);
    limitMinimumSize();
    restore();
    window_.installEventFilter(this);
}

MainWindowFrame::~MainWindowFrame() = default;

void MainWindowFrame::restore() {
    if (const auto saved = settings_->string(kFrameKey)) {
        window_.restoreGeometry(QByteArray::fromBase64(QByteArray::fromStdString(*saved)));
        limitMinimumSize();
        apply(window_.geometry());
    } else if (!hasSavedMainWindowFrame(*settings_)) {
        // Before the window is shown, so that the desktop can still choose another size.
        takesDefaultFrame_ = true;
        apply(defaultFrame());
    }
}

void MainWindowFrame::save() {
    saveSoon_.stop();
    const std::string frame = window_.saveGeometry().toBase64().toStdString();
    if (settings_->string(kFrameKey) != frame) {
        settings_->set(kFrameKey, frame);
    }
}

QRect MainWindowFrame::workArea() const {
    const QScreen* screen = QGuiApplication::screenAt(window_.geometry().center());
    if (screen == nullptr) {
        screen = window_.screen() != nullptr ? window_.screen() : QGuiApplication::primaryScreen();
    }
    if (screen == nullptr) {
        return {};
    }
    // With a fractional ratio, the size of the decorations is rounded to whole pixels of the screen.
    const bool isFractional = std::fmod(screen->devicePixelRatio(), 1.0) != 0;
    return isFractional ? screen->availableGeometry().adjusted(1, 1, -1, -1) : screen->availableGeometry();
}

QMargins MainWindowFrame::decorations() const {
    const QWindow* const handle = window_.windowHandle();
    return handle != nullptr ? handle->frameMargins() : QMargins();
}

QRect MainWindowFrame::defaultFrame() const {
    QRect frame(window_.pos(), kDefaultSize);
    if (const QRect free = workArea(); !free.isNull()) {
        frame.moveCenter(free.center());
    }
    return frame;
}

void MainWindowFrame::limitMinimumSize() {
    if (const QRect free = workArea(); !free.isNull()) {
        window_.setMinimumSize(minimumSize_.boundedTo(free.marginsRemoved(decorations()).size()));
    }
}

void MainWindowFrame::apply(const QRect& frame) {
    // The desktop alone decides the size of a window that fills the screen.
    const bool fillsScreen = (window_.windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen)) != 0;
    const QRect free = workArea();
    const QRect inside = free.isNull() ? frame : frameInside(frame, free);
    if (const QRect content = inside.marginsRemoved(decorations()); !fillsScreen && content != window_.geometry()) {
        window_.setGeometry(content);
    }
}

void MainWindowFrame::applyDefaultMainWindowFrameIfNeeded() {
    if (didApplyDefaultMainWindowFrame_ || hasSavedMainWindowFrame(*settings_)) {
        return;
    }
    didApplyDefaultMainWindowFrame_ = true;
    allowForDecorations();
}

void MainWindowFrame::allowForDecorations() {
    if (!awaitsDecorations_ || decorations().isNull()) {
        return;
    }
    awaitsDecorations_ = false;
    // A desktop that arranges windows by itself has given the window another size.
    if (isNear(window_.windowHandle()->size(), requestedSize_)) {
        limitMinimumSize();
        apply(takesDefaultFrame_ ? defaultFrame() : window_.geometry().marginsAdded(decorations()));
    }
}

void MainWindowFrame::acceptSize() {
    awaitsDecorations_ = false;
    const QWindow* const handle = window_.windowHandle();
    if (handle != nullptr && handle->size() != window_.size()) {
        // The toolkit assumes that a requested size is granted; the desktop may refuse it.
        window_.setMinimumSize(window_.minimumSize().boundedTo(handle->size()));
        window_.resize(handle->size());
    }
}

bool MainWindowFrame::eventFilter(QObject*, QEvent* event) {
    switch (event->type()) {
        case QEvent::Show:
            if (!event->spontaneous() && awaitsDecorations_) {
                requestedSize_ = window_.size();
                decorationsDelay_.start();
            }
            break;
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
