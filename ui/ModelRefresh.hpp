#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "ui/ModelChanges.hpp"

#include <QObject>
#include <QTimer>

namespace corvel::ui {

/// Tells views what to read again, once for each turn of the main loop: the model notifies before a change, and a
/// command changes several properties. If only traffic changed, it tells them at most 60 times a second.
class ModelRefresh : public QObject {
    Q_OBJECT

public:
    explicit ModelRefresh(MIDIRouterViewModel& model, QObject* parent = nullptr);

signals:
    void changed(const corvel::ui::ModelChanges& changes);

private:
    void note(ModelChanges::Property property);
    void tell();

    ModelChanges changes_;
    QTimer nextTurn_;
    QTimer traffic_;
    Observation observation_;
};

}  // namespace corvel::ui
