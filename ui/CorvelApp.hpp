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

/// The application with a window. Owns the model during the whole process, and the only window with its menu.
class CorvelApp final : public QObject {
    Q_OBJECT

public:
    /// `demoReason` says in one line why the demo devices run; empty if they do not.
    CorvelApp(std::shared_ptr<MIDIRouterViewModel> model, std::shared_ptr<Settings> settings,
              std::shared_ptr<const Clock> clock, const QString& demoReason);
    ~CorvelApp() override;

    /// Shows the window, which starts the engine.
    void start();

    /// Brings the window to the front, on the next turn of the main loop. `token` is the activation token that a
    /// desktop gave to another start; with it, the window may also get the keyboard focus.
    void activateApplicationWindow(const std::string& token = {});

    /// Reports a problem in a dialog of the window.
    void showNotice(const QString& message, const QString& text);

    void showAboutPanel();

    [[nodiscard]] RouterWindow& window() { return window_; }

private:
    [[nodiscard]] QList<QAction*> makeMenu();
    void nameHistory();
    void windowAppeared();
    /// Quits. Asks first if messages were routed a moment ago, because the keys may have been meant for a channel.
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
