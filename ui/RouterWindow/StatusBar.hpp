#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "ui/Look.hpp"
#include "ui/ModelChanges.hpp"

#include <QWidget>

namespace corvel::ui {

class LinkButton;
class LookLabel;

/// The status bar of the window: the last event, with "Undo" after a deletion, and a summary of the current set.
class StatusBar final : public QWidget {
    Q_OBJECT

public:
    StatusBar(MIDIRouterViewModel& model, const Look& look, QWidget* parent);

    void refresh(const ModelChanges& changes);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    MIDIRouterViewModel& model_;
    const Look& look_;
    LookLabel* message_;
    LinkButton* undo_;
    LookLabel* summary_;
};

}  // namespace corvel::ui
