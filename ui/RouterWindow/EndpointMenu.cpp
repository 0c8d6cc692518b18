#include "ui/RouterWindow/EndpointMenu.hpp"

#include "app/TextLine.hpp"
#include "core/support/Text.hpp"
#include "ui/QtText.hpp"
#include "ui/RouterWindow/EndpointNames.hpp"
#include "ui/controls/AlertDialog.hpp"
#include "ui/controls/NameField.hpp"
#include "ui/controls/PopUpMenu.hpp"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>

#include <algorithm>

namespace corvel::ui {

namespace {

bool isInput(const EndpointPositionKey& endpoint) {
    return endpoint.direction == MIDIEndpointDirection::source;
}

const MIDIEndpointModel* find(const MIDIRouterViewModel& model, const EndpointPositionKey& endpoint) {
    const std::vector<MIDIEndpointModel>& endpoints = isInput(endpoint) ? model.sources() : model.destinations();
    const auto found = std::ranges::find(endpoints, endpoint.endpointID, &MIDIEndpointModel::id);
    return found == endpoints.end() ? nullptr : &*found;
}

/// The selected endpoint of the other column, if it is present.
std::optional<EndpointPositionKey> selectedPartner(const MIDIRouterViewModel& model,
                                                   const EndpointPositionKey& endpoint) {
    const std::optional<std::int32_t>& id =
        isInput(endpoint) ? model.selectedDestinationID() : model.selectedSourceID();
    const auto direction = isInput(endpoint) ? MIDIEndpointDirection::destination : MIDIEndpointDirection::source;
    const EndpointPositionKey partner{direction, id.value_or(0)};
    return id && find(model, partner) != nullptr ? std::optional(partner) : std::nullopt;
}

void addConnecting(PopUpMenu& menu, MIDIRouterViewModel& model, const EndpointPositionKey& endpoint) {
    const std::optional<EndpointPositionKey> partner = selectedPartner(model, endpoint);
    const QString name =
        partner ? toQString(text::quoted(
                      toUTF8(shownEndpointName(model, partner->direction, partner->endpointID, std::nullopt))))
                : (isInput(endpoint) ? QStringLiteral("Selected Output") : QStringLiteral("Selected Input"));
    QAction* const connecting = menu.addItem(QStringLiteral("Connect to %1").arg(name), false);
    connecting->setEnabled(partner.has_value());
    QObject::connect(connecting, &QAction::triggered, &menu, [&model, endpoint, partner] {
        if (isInput(endpoint)) {
            model.connect(endpoint.endpointID, partner->endpointID);
        } else {
            model.connect(partner->endpointID, endpoint.endpointID);
        }
    });
}

}  // namespace

void openEndpointMenu(MIDIRouterViewModel& model, const Look& look, const EndpointPositionKey& endpoint,
                      const QPoint& place, QWidget* parent) {
    auto* const menu = new PopUpMenu(look, parent);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    addConnecting(*menu, model, endpoint);
    menu->addSeparator();
    QAction* const rename = menu->addItem(QStringLiteral("Rename…"), false);
    QObject::connect(rename, &QAction::triggered, parent,
                     [&model, &look, endpoint, parent] { askForEndpointAlias(model, look, endpoint, parent); });
    QAction* const forget = menu->addItem(QStringLiteral("Use the System's Name"), false);
    forget->setEnabled(model.endpointAliases().find(endpoint.direction, endpoint.endpointID) != nullptr);
    QObject::connect(forget, &QAction::triggered, menu,
                     [&model, endpoint] { model.setEndpointAlias(endpoint.direction, endpoint.endpointID, ""); });
    QAction* const copy = menu->addItem(QStringLiteral("Copy Full Endpoint Name"), false);
    QObject::connect(copy, &QAction::triggered, menu, [&model, endpoint] {
        if (const MIDIEndpointModel* const found = find(model, endpoint); found != nullptr) {
            QGuiApplication::clipboard()->setText(toQString(found->detailText()));
        }
    });
    menu->popup(place);
}

void askForEndpointAlias(MIDIRouterViewModel& model, const Look& look, const EndpointPositionKey& endpoint,
                         QWidget* parent) {
    const MIDIEndpointModel* const found = find(model, endpoint);
    if (found == nullptr) {
        return;
    }
    const QString explanation = QStringLiteral("Shown instead of %1. An empty name shows that one again.")
                                    .arg(toQString(text::quoted(shownName(found->displayName))));
    auto* const question =
        new AlertDialog(look, AlertDialog::Style::plain,
                        isInput(endpoint) ? QStringLiteral("Rename Input") : QStringLiteral("Rename Output"),
                        explanation, QStringLiteral("OK"), TextButton::Role::primary, parent);
    const std::string* const present = model.endpointAliases().find(endpoint.direction, endpoint.endpointID);
    auto* const field = new NameField(look, toQString(present != nullptr ? *present : found->displayName), question);
    question->setAccessory(field);
    QObject::connect(question, &AlertDialog::accepted, parent, [&model, endpoint, field, system = found->displayName] {
        const std::string alias = text::trimmed(toUTF8(field->text()));
        // The system's own name is not stored, because it may change.
        model.setEndpointAlias(endpoint.direction, endpoint.endpointID, alias == system ? "" : alias);
    });
    question->show();
}

}  // namespace corvel::ui
