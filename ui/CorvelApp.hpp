#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "app/Settings.hpp"
#include "core/support/Clock.hpp"
#include "ui/Look.hpp"
#include "ui/MainWindowFrame.hpp"
#include "ui/ModelRefresh.hpp"
#include "ui/RouterWindow/RouterWindow.hpp"

#include <QList>
#include <QObject>
#include <QPointer>

#include <memory>
#include <string>

class QAction;

namespace corvel::ui {

class AlertDialog;

/// The application with a window: owns the model for the life of the process, and the one window with its menu.
class CorvelApp final : public QObject {
    Q_OBJECT

public:
    /// `demoReason` says in one line why the demo devices run; it is empty while the system's own MIDI does.
    CorvelApp(std::shared_ptr<MIDIRouterViewModel> model, std::shared_ptr<Settings> settings,
              std::shared_ptr<const Clock> clock, const QString& demoReason);
    ~CorvelApp() override;

    /// Shows the window, which starts the engine.
    void start();

    /// Brings the window to the front, on the next turn of the main loop. With the token that a desktop gave another
    /// start for this, it lets the window have the keyboard too.
    void activateApplicationWindow(const std::string& token = {});

    /// Tells of something that went wrong, in a dialog of the window.
    void showNotice(const QString& message, const QString& text);

    void showAboutPanel();

    [[nodiscard]] RouterWindow& window() { return window_; }

private:
    [[nodiscard]] QList<QAction*> makeMenu();
    void nameHistory();
    void windowAppeared();
    /// Quits, but asks first if messages were routed a moment ago: the keys may have been meant for a channel.
    void quitByKey();

    const std::shared_ptr<MIDIRouterViewModel> model_;
    const std::shared_ptr<const Clock> clock_;
    Look look_;
    QAction* undo_ = nullptr;
    QAction* redo_ = nullptr;
    QList<QAction*> menu_;
    RouterWindow window_;
    MainWindowFrame frame_;
    ModelRefresh modelRefresh_;
    QPointer<AlertDialog> quitQuestion_;
};

}  // namespace corvel::ui
