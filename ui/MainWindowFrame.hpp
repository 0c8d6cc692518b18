#pragma once

#include "app/Settings.hpp"

#include <QMargins>
#include <QObject>
#include <QRect>
#include <QSize>
#include <QTimer>

#include <memory>

class QWidget;

namespace corvel::ui {

/// Where the main window stands on the screen: as the user left it, or in the middle at the first start, and always
/// inside what a present screen has free. Where that is less than the window's minimum size, it is the minimum. A
/// desktop that gives the window a size of its own when it is shown has the last word.
class MainWindowFrame final : public QObject {
    Q_OBJECT

public:
    /// Restores the saved frame, or gives the window its first one, and saves it from now on when the window moves,
    /// resizes or closes. The window has its minimum size and is not shown yet.
    MainWindowFrame(QWidget& window, std::shared_ptr<Settings> settings);
    ~MainWindowFrame() override;

    /// Keeps the first frame at 1180 × 760 with its decorations, in the middle of its screen, as soon as these are
    /// known. Once at most, and not when a frame was saved.
    void applyDefaultMainWindowFrameIfNeeded();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void restore();
    void save();
    /// What the window's screen has free; null without a screen.
    [[nodiscard]] QRect workArea() const;
    [[nodiscard]] QMargins decorations() const;
    [[nodiscard]] QRect defaultFrame() const;
    void limitMinimumSize();
    /// Gives the window this frame, or as much of it as fits.
    void apply(const QRect& frame);
    /// Decorations are known only after the window manager has put them on.
    void allowForDecorations();
    /// Ends the first moments, in which frames are still put right.
    void acceptSize();

    QWidget& window_;
    const std::shared_ptr<Settings> settings_;
    const QSize minimumSize_;
    QSize requestedSize_;
    QTimer saveSoon_;
    QTimer decorationsDelay_;
    bool didApplyDefaultMainWindowFrame_ = false;
    bool takesDefaultFrame_ = false;
    bool awaitsDecorations_ = true;
};

/// The frame, made as small and moved as far as it must to lie inside the work area.
[[nodiscard]] QRect frameInside(const QRect& frame, const QRect& workArea);

/// Whether the settings hold a frame of the main window, whatever its exact key.
[[nodiscard]] bool hasSavedMainWindowFrame(const Settings& settings);

}  // namespace corvel::ui
