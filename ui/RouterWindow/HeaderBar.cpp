#include "ui/RouterWindow/HeaderBar.hpp"

#include "ui/QtText.hpp"
#include "ui/RouterWindow/ApplicationMenuButton.hpp"
#include "ui/RouterWindow/RouteTexts.hpp"
#include "ui/controls/Badge.hpp"
#include "ui/controls/IconButton.hpp"
#include "ui/controls/LookLabel.hpp"
#include "ui/controls/TextButton.hpp"

#include <QAction>
#include <QEvent>
#include <QHBoxLayout>

namespace corvel::ui {

namespace {

constexpr int kHeight = 56;
constexpr int kLeftPadding = 12;
constexpr int kRightPadding = 14;
constexpr int kButtonSide = 36;

}  // namespace

HeaderBar::HeaderBar(MIDIRouterViewModel& model, const Look& look, const QList<QAction*>& menu,
                     const QString& demoReason, QWidget* parent)
    : QWidget(parent), model_(model) {
    setFixedHeight(kHeight);
    // Created in tab order: the toolkit loses any other order when the window adopts the bar.
    auto* const mark = new ApplicationMenuButton(look, menu, this);
    auto* const title = new LookLabel(look, Look::font(20, QFont::DemiBold), &Theme::text, this);
    title->setText(QStringLiteral("Corvel"));
    auto* const refreshButton = new IconButton(look, QStringLiteral("arrow.clockwise"),
                                               QStringLiteral("Refresh MIDI devices"), kButtonSide, this);
    auto* const settings =
        new IconButton(look, QStringLiteral("gearshape"), QStringLiteral("Open settings"), kButtonSide, this);
    connect_ = new TextButton(look, QStringLiteral("Connect"), TextButton::Role::primary, this);
    connect_->setIconName(QStringLiteral("link"));
    delete_ =
        new IconButton(look, QStringLiteral("trash"), QStringLiteral("Delete selected connection"), kButtonSide, this);
    delete_->setRole(IconButton::Role::destructive);
    // A click does not move the focus here, so that a later key cannot delete by accident.
    delete_->setFocusPolicy(Qt::TabFocus);
    delete_->installEventFilter(this);

    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(kLeftPadding, 0, kRightPadding, 0);
    layout->setSpacing(0);
    layout->addWidget(mark);
    layout->addSpacing(4);
    layout->addWidget(title);
    if (!demoReason.isEmpty()) {
        auto* const badge = new Badge(look, QStringLiteral("Demo devices"), this);
        setPlainToolTip(badge, demoReason);
        layout->addSpacing(14);
        layout->addWidget(badge);
    }
    layout->addStretch();
    layout->addWidget(refreshButton);
    layout->addSpacing(4);
    layout->addWidget(settings);
    layout->addSpacing(12);
    layout->addWidget(connect_);
    layout->addSpacing(12);
    layout->addWidget(delete_);

    connect(refreshButton, &QAbstractButton::clicked, this, [this] { model_.refreshDevices(); });
    connect(settings, &QAbstractButton::clicked, this, &HeaderBar::settingsRequested);
    connect(connect_, &QAbstractButton::clicked, this, &HeaderBar::connectSelected);
    connect(delete_, &QAbstractButton::clicked, this, [this] { model_.deleteSelectedRoute(); });

    auto* const shortcut = new QAction(this);
    shortcut->setText(QStringLiteral("Connect"));
    shortcut->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_Return), QKeySequence(Qt::CTRL | Qt::Key_Enter)});
    connect(shortcut, &QAction::triggered, this, &HeaderBar::connectSelected);
    addAction(shortcut);
    refresh(ModelChanges::all());
}

bool HeaderBar::canConnect() const {
    return model_.selectedSourceID() && model_.selectedDestinationID();
}

void HeaderBar::connectSelected() {
    if (canConnect()) {
        model_.connect(*model_.selectedSourceID(), *model_.selectedDestinationID());
    }
}

bool HeaderBar::isBinAttended() const {
    return delete_->isEnabled() && (delete_->underMouse() || delete_->hasFocus());
}

bool HeaderBar::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
        case QEvent::Enter:
        case QEvent::Leave:
        case QEvent::FocusIn:
        case QEvent::FocusOut:
        case QEvent::EnabledChange:
            // Queued, because the button handles the event after this filter.
            QMetaObject::invokeMethod(this, &HeaderBar::binAttentionChanged, Qt::QueuedConnection);
            break;
        default:
            break;
    }
    return QWidget::eventFilter(watched, event);
}

void HeaderBar::nameBin() {
    const MIDIRoute* const route = model_.selectedRouteID() ? model_.route(*model_.selectedRouteID()) : nullptr;
    const QString command = QStringLiteral("Delete selected connection");
    delete_->setHelp(route != nullptr ? command + QStringLiteral(": ") + connectionName(model_, *route) : command);
}

void HeaderBar::refresh(const ModelChanges& changes) {
    using Property = ModelChanges::Property;
    if (changes.containAny({Property::selectedSourceID, Property::selectedDestinationID})) {
        connect_->setEnabled(canConnect());
        setPlainToolTip(connect_, canConnect() ? QStringLiteral("Connect the selected input and output (Ctrl+Return)")
                                               : QStringLiteral("Select an input and an output first"));
    }
    if (changes.containAny({Property::selectedRouteID, Property::routes, Property::sources, Property::destinations})) {
        delete_->setEnabled(model_.selectedRouteID().has_value());
        nameBin();
    }
}

}  // namespace corvel::ui
