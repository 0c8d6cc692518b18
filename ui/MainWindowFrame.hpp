#pragma once

#include "app/Settings.hpp"

#include <QObject>
#include <QTimer>

#include <memory>

class QWidget;

namespace corvel::ui {

/// Where the main window stands on the screen: as the user left it, or in the middle at the first start.
class MainWindowFrame final : public QObject {
    Q_OBJECT

public:
    /// Restores the saved frame, if there is one, and saves it from now on when the window moves, resizes or closes.
    MainWindowFrame(QWidget& window, std::shared_ptr<Settings> settings);
    ~MainWindowFrame() override;

    /// Gives the window its first frame, 1180 × 760 with its decorations in the middle of its screen. Once at most, and
    /// not when a frame was saved.
    void applyDefaultMainWindowFrameIfNeeded();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void restore();
    void save();
    /// Decorations are known only after the window manager has put them on.
    void allowForDecorations();

    QWidget& window_;
    const std::shared_ptr<Settings> settings_;
    QTimer saveSoon_;
    bool didApplyDefaultMainWindowFrame_ = false;
    bool awaitsDecorations_ = false;
};

/// Whether the settings hold a frame of the main window, whatever its exact key.
[[nodiscard]] bool hasSavedMainWindowFrame(const Settings& settings);

}  // namespace corvel::ui
