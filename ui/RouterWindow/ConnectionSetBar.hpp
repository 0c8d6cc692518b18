#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "ui/Look.hpp"
#include "ui/ModelChanges.hpp"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <vector>

namespace corvel::ui {

class AlertDialog;
class IconButton;
class PopUpButton;

/// The bar below the header: shows the current connection set, switches and edits sets.
class ConnectionSetBar final : public QWidget {
    Q_OBJECT

public:
    ConnectionSetBar(MIDIRouterViewModel& model, const Look& look, QWidget* parent);

    void refresh(const ModelChanges& changes);

    /// Selects the set at this distance from the current one, if there is one.
    void selectNeighbour(int offset);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void createSet();
    void duplicateSet();
    void renameSet();
    void deleteSet();
    void askForName(const QString& message, const QString& informativeText, const std::string& name,
                    std::function<void(const std::string& name)> apply);
    /// Shows the question, and calls `apply` when it is answered. If another set becomes current, the question closes
    /// unanswered, because it refers to this set.
    void open(AlertDialog* question, std::function<void()> apply);

    MIDIRouterViewModel& model_;
    const Look& look_;
    PopUpButton* sets_;
    IconButton* delete_ = nullptr;
    /// The sets in the order of the pop-up.
    std::vector<UUID> setIDs_;
    QPointer<AlertDialog> question_;
    UUID questionedSetID_;
};

}  // namespace corvel::ui
