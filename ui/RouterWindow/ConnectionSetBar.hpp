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

/// Under the header: which connection set is the current one, and what can be done with it.
class ConnectionSetBar final : public QWidget {
    Q_OBJECT

public:
    ConnectionSetBar(MIDIRouterViewModel& model, const Look& look, QWidget* parent);

    void refresh(const ModelChanges& changes);

    /// Makes the set current that comes so many places after the current one, as far as there is one.
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
    /// Shows the question, and applies it when it is answered. It goes away unanswered if another set becomes the
    /// current one: it spoke of this one.
    void open(AlertDialog* question, std::function<void()> apply);

    MIDIRouterViewModel& model_;
    const Look& look_;
    PopUpButton* sets_;
    IconButton* delete_ = nullptr;
    /// The sets as the pop-up lists them.
    std::vector<UUID> setIDs_;
    QPointer<AlertDialog> question_;
    UUID questionedSetID_;
};

}  // namespace corvel::ui
