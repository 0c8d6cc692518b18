#include "ui/RouterWindow/ConnectionSetBar.hpp"

#include "core/support/Text.hpp"
#include "ui/QtText.hpp"
#include "ui/controls/AlertDialog.hpp"
#include "ui/controls/IconButton.hpp"
#include "ui/controls/LookLabel.hpp"
#include "ui/controls/NameField.hpp"
#include "ui/controls/PopUpButton.hpp"

#include <QHBoxLayout>
#include <QPainter>

#include <algorithm>
#include <string>
#include <utility>

namespace corvel::ui {

namespace {

constexpr int kHeight = 44;
constexpr int kPadding = 16;
constexpr int kTop = 2;
constexpr int kBottom = 10;
constexpr int kControlHeight = 32;
constexpr const char* kDeleteHelp = "Delete current set";
constexpr const char* kOnlySetHelp = "The only connection set cannot be deleted";
constexpr QSize kPopUpSize(220, kControlHeight);

}  // namespace

ConnectionSetBar::ConnectionSetBar(MIDIRouterViewModel& model, const Look& look, QWidget* parent)
    : QWidget(parent), model_(model), look_(look), sets_(new PopUpButton(look, kPopUpSize, true, this)) {
    setFixedHeight(kHeight);
    auto* const label = new LookLabel(look, Look::font(13), &Theme::text2, this);
    label->setText(QStringLiteral("Connection Set"));
    label->setBuddy(sets_);
    sets_->setAccessibleDescription(QStringLiteral("Connection Set"));

    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(kPadding, kTop, kPadding, kBottom);
    layout->setSpacing(0);
    layout->addWidget(label);
    layout->addSpacing(12);
    layout->addWidget(sets_);
    layout->addSpacing(12);
    const auto addButton = [&](const char* icon, const char* help, void (ConnectionSetBar::*action)()) {
        auto* const button = new IconButton(look, QLatin1String(icon), QLatin1String(help), kControlHeight, this);
        connect(button, &QAbstractButton::clicked, this, action);
        layout->addSpacing(8);
        layout->addWidget(button);
        return button;
    };
    addButton("plus", "Create connection set", &ConnectionSetBar::createSet);
    addButton("square.on.square", "Duplicate current set", &ConnectionSetBar::duplicateSet);
    addButton("pencil", "Rename current set", &ConnectionSetBar::renameSet);
    delete_ = addButton("trash", kDeleteHelp, &ConnectionSetBar::deleteSet);
    delete_->setRole(IconButton::Role::destructive);
    layout->addStretch();

    connect(sets_, &PopUpButton::itemChosen, this,
            [this](int index) { model_.selectRouteSet(setIDs_[static_cast<std::size_t>(index)]); });
    connect(&look, &Look::changed, this, [this] { update(); });
    refresh(ModelChanges::all());
}

void ConnectionSetBar::refresh(const ModelChanges& changes) {
    using Property = ModelChanges::Property;
    if (!changes.containAny({Property::routeSets, Property::selectedRouteSetID})) {
        return;
    }
    QStringList names;
    int current = -1;
    setIDs_.clear();
    for (const MIDIRouteSet& routeSet : model_.routeSets()) {
        if (routeSet.id == model_.selectedRouteSetID()) {
            current = static_cast<int>(names.size());
        }
        setIDs_.push_back(routeSet.id);
        names.push_back(toQString(routeSet.name));
    }
    sets_->setItems(names, current);
    const bool isOnlySet = setIDs_.size() == 1;
    if (isOnlySet && delete_->hasFocus()) {
        // The next view in order would be a text field, which takes all keys.
        sets_->setFocus();
    }
    delete_->setEnabled(!isOnlySet);
    setPlainToolTip(delete_, QLatin1String(isOnlySet ? kOnlySetHelp : kDeleteHelp));
    delete_->setAccessibleDescription(isOnlySet ? QLatin1String(kOnlySetHelp) : QString());
    if (question_ && questionedSetID_ != model_.selectedRouteSetID()) {
        question_->reject();
    }
}

void ConnectionSetBar::selectNeighbour(int offset) {
    const std::vector<MIDIRouteSet>& sets = model_.routeSets();
    const auto current = std::ranges::find(sets, model_.selectedRouteSetID(), &MIDIRouteSet::id) - sets.begin();
    const auto neighbour = current + offset;
    if (neighbour >= 0 && neighbour < std::ssize(sets)) {
        model_.selectRouteSet(UUID(sets[static_cast<std::size_t>(neighbour)].id));
    }
}

void ConnectionSetBar::open(AlertDialog* question, std::function<void()> apply) {
    question_ = question;
    questionedSetID_ = model_.selectedRouteSetID();
    connect(question, &QDialog::accepted, this, [this, apply = std::move(apply)] {
        // The answer may arrive before this view learns of another set.
        if (questionedSetID_ == model_.selectedRouteSetID()) {
            apply();
        }
    });
    question->show();
}

void ConnectionSetBar::askForName(const QString& message, const QString& informativeText, const std::string& name,
                                  std::function<void(const std::string& name)> apply) {
    auto* const question = new AlertDialog(look_, AlertDialog::Style::plain, message, informativeText,
                                           QStringLiteral("OK"), TextButton::Role::primary, this);
    auto* const field = new NameField(look_, toQString(name), question);
    question->setAccessory(field);
    open(question, [field, apply = std::move(apply)] { apply(text::trimmed(toUTF8(field->text()))); });
}

void ConnectionSetBar::createSet() {
    askForName(QStringLiteral("New Connection Set"), QStringLiteral("Create an empty connection set."),
               model_.uniqueRouteSetName("New Set"), [this](const std::string& name) { model_.createRouteSet(name); });
}

void ConnectionSetBar::duplicateSet() {
    askForName(QStringLiteral("Duplicate Connection Set"),
               QStringLiteral("Create a copy of the current connection set."),
               model_.uniqueRouteSetName(model_.selectedRouteSetName() + " Copy"),
               [this](const std::string& name) { model_.duplicateSelectedRouteSet(name); });
}

void ConnectionSetBar::renameSet() {
    askForName(QStringLiteral("Rename Connection Set"), QStringLiteral("Rename the current connection set."),
               model_.selectedRouteSetName(), [this](const std::string& name) { model_.renameSelectedRouteSet(name); });
}

void ConnectionSetBar::deleteSet() {
    const std::string text = "Delete " + text::quoted(model_.selectedRouteSetName()) +
                             "? The devices and other connection sets will not be changed.";
    auto* const question =
        new AlertDialog(look_, AlertDialog::Style::warning, QStringLiteral("Delete Connection Set"), toQString(text),
                        QStringLiteral("Delete"), TextButton::Role::destructive, this);
    open(question, [this] { model_.deleteSelectedRouteSet(); });
}

void ConnectionSetBar::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(0, height() - 1, width(), 1, look_.theme().hairline);
}

}  // namespace corvel::ui
