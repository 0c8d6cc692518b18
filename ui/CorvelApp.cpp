#include "ui/CorvelApp.hpp"

#include "ui/AboutPanel.hpp"
#include "ui/BundleInformation.hpp"
#include "ui/QtText.hpp"
#include "ui/WindowActivation.hpp"
#include "ui/controls/AlertDialog.hpp"

#include <QAction>
#include <QApplication>
#include <QEvent>
#include <QIcon>
#include <QKeySequence>

#include <chrono>
#include <functional>
#include <utility>

namespace corvel::ui {

namespace {

const QString kIconResource = QStringLiteral(":/AppIcon.png");
/// If a message was routed within this time, quitting by key asks first.
constexpr std::chrono::seconds kQuietBeforeQuitting{10};

/// A command that acts differently when it is triggered by its keys.
class ActionByKey final : public QAction {
public:
    ActionByKey(const QString& text, QObject* parent, std::function<void()> byKey)
        : QAction(text, parent), byKey_(std::move(byKey)) {}

protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::Shortcut) {
            byKey_();
            return true;
        }
        return QAction::event(event);
    }

private:
    const std::function<void()> byKey_;
};

}  // namespace

CorvelApp::CorvelApp(std::shared_ptr<MIDIRouterViewModel> model, std::shared_ptr<Settings> settings,
                     std::shared_ptr<const Clock> clock, const QString& demoReason)
    : model_(std::move(model)),
      clock_(std::move(clock)),
      look_(model_->appearanceMode()),
      menu_(makeMenu()),
      window_(*model_, look_, clock_, menu_, demoReason),
      frame_(window_, std::move(settings)),
      modelRefresh_(*model_) {
    QApplication::setWindowIcon(QIcon(kIconResource));
    // Makes the menu's shortcuts work while the menu is closed.
    window_.addActions(menu_);
    connect(&window_, &RouterWindow::appeared, this, &CorvelApp::windowAppeared);
    connect(&window_, &RouterWindow::closed, qApp, &QCoreApplication::quit);
    connect(&modelRefresh_, &ModelRefresh::changed, this, [this](const ModelChanges& changes) {
        if (changes.containAny({ModelChanges::Property::appearanceMode})) {
            look_.setMode(model_->appearanceMode());
        }
        if (changes.containAny({ModelChanges::Property::routes, ModelChanges::Property::routeSets})) {
            nameHistory();
        }
    });
}

CorvelApp::~CorvelApp() = default;

QList<QAction*> CorvelApp::makeMenu() {
    auto* const about = new QAction(QStringLiteral("About Corvel"), this);
    connect(about, &QAction::triggered, this, &CorvelApp::showAboutPanel);
    // Shown but disabled: it tells the user that there is only one window.
    auto* const newWindow = new QAction(QStringLiteral("New Window"), this);
    newWindow->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_N));
    newWindow->setEnabled(false);
    undo_ = new QAction(this);
    undo_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Z));
    connect(undo_, &QAction::triggered, this, [this] { model_->undo(); });
    redo_ = new QAction(this);
    redo_->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z));
    connect(redo_, &QAction::triggered, this, [this] { model_->redo(); });
    nameHistory();
    auto* const silence = new QAction(QStringLiteral("All Notes Off"), this);
    silence->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Period));
    // Available during a question, because hanging notes cannot wait for the answer.
    SheetDialog::letThrough(*silence);
    connect(silence, &QAction::triggered, this, [this] { model_->allNotesOff(); });
    auto* const refresh = new QAction(QStringLiteral("Refresh MIDI Devices"), this);
    refresh->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
    connect(refresh, &QAction::triggered, this, [this] { model_->refreshDevices(); });
    auto* const quit = new ActionByKey(QStringLiteral("Quit Corvel"), this, [this] { quitByKey(); });
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    connect(quit, &QAction::triggered, this, [this] { window_.close(); });
    return {about, newWindow, undo_, redo_, silence, refresh, quit};
}

/// Puts the names of the next edits into the Undo and Redo items.
void CorvelApp::nameHistory() {
    const auto show = [](QAction& action, const QString& verb, const std::optional<std::string>& edit) {
        action.setText(edit ? verb + QLatin1Char(' ') + toQString(*edit) : verb);
        action.setEnabled(edit.has_value());
    };
    show(*undo_, QStringLiteral("Undo"), model_->undoName());
    show(*redo_, QStringLiteral("Redo"), model_->redoName());
}

void CorvelApp::quitByKey() {
    if (quitQuestion_) {
        return;
    }
    const MIDIRouterViewModel::ActivityEvents& events = model_->activityEvents();
    if (events.empty() || clock_->now() - events.back().timestamp > kQuietBeforeQuitting) {
        window_.close();
        return;
    }
    auto* const question =
        new AlertDialog(look_, AlertDialog::Style::warning, QStringLiteral("Quit Corvel"),
                        QStringLiteral("MIDI messages were routed a moment ago. Routing ends when Corvel "
                                       "quits."),
                        QStringLiteral("Quit"), TextButton::Role::destructive, &window_);
    quitQuestion_ = question;
    connect(question, &AlertDialog::accepted, &window_, &QWidget::close);
    question->show();
}

void CorvelApp::start() {
    window_.show();
}

void CorvelApp::windowAppeared() {
    model_->startIfNeeded();
    activateApplicationWindow();
}

void CorvelApp::activateApplicationWindow(const std::string& token) {
    QMetaObject::invokeMethod(
        this,
        [this, token] {
            window_.setWindowTitle(QStringLiteral("Corvel"));
            frame_.applyDefaultMainWindowFrameIfNeeded();
            window_.setWindowState(window_.windowState() & ~Qt::WindowMinimized);
            window_.show();
            window_.raise();
            activateWindow(window_, token);
        },
        Qt::QueuedConnection);
}

void CorvelApp::showNotice(const QString& message, const QString& text) {
    auto* const notice = new AlertDialog(look_, AlertDialog::Style::notice, message, text, QStringLiteral("OK"),
                                         TextButton::Role::primary, &window_);
    notice->show();
}

void CorvelApp::showAboutPanel() {
    if (auto* const open = window_.findChild<AboutPanel*>(); open != nullptr && open->isVisible()) {
        open->activateWindow();
        return;
    }
    const std::optional<QPixmap> icon = aboutPanelIcon(kIconResource);
    if (icon) {
        QApplication::setWindowIcon(QIcon(*icon));
    }
    auto* const panel = new AboutPanel(look_, *makeMainBundleInformation(), icon, &window_);
    // Makes the menu's shortcuts work in the panel too.
    panel->addActions(menu_);
    panel->show();
}

}  // namespace corvel::ui
