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

/// Position and size of the main window: as the user left it, or centred at the first start, and always inside the free
/// area of a screen. If that area is smaller than the window's minimum size, the minimum size is reduced to it. A
/// desktop that gives the window another size when it is shown takes precedence.
class MainWindowFrame final : public QObject {
    Q_OBJECT

public:
    /// Restores the saved frame, or applies the default one, and saves it from now on when the window moves, resizes or
    /// closes. The window must have its minimum size and must not be shown yet.
    MainWindowFrame(QWidget& window, std::shared_ptr<Settings> settings);
    ~MainWindowFrame() override;

    /// Applies the default frame, 1180 × 760 with decorations, centred on the screen, as soon as the decorations are
    /// known. Only once, and only if no frame was saved.
    void applyDefaultMainWindowFrameIfNeeded();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void restore();
    void save();
    /// The free area of the window's screen; null without a screen.
    [[nodiscard]] QRect workArea() const;
    [[nodiscard]] QMargins decorations() const;
    [[nodiscard]] QRect defaultFrame() const;
    void limitMinimumSize();
    /// Gives the window this frame, reduced to the free area.
    void apply(const QRect& frame);
    /// Corrects the frame when the decorations are known, which is after the window manager has added them.
    void allowForDecorations();
    /// Ends the time after the start in which frames are corrected.
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

/// The frame, reduced and moved as far as needed to lie inside the work area.
[[nodiscard]] QRect frameInside(const QRect& frame, const QRect& workArea);

/// Whether the settings have a frame of the main window, whatever its exact key.
[[nodiscard]] bool hasSavedMainWindowFrame(const Settings& settings);

}  // namespace corvel::ui
