#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "ui/Look.hpp"
#include "ui/ModelChanges.hpp"

#include <QWidget>

namespace corvel::ui {

class LookLabel;

/// The line at the window's foot: what happened last, and what the current set holds.
class StatusBar final : public QWidget {
    Q_OBJECT

public:
    StatusBar(const MIDIRouterViewModel& model, const Look& look, QWidget* parent);

    void refresh(const ModelChanges& changes);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const MIDIRouterViewModel& model_;
    const Look& look_;
    LookLabel* message_;
    LookLabel* summary_;
};

}  // namespace corvel::ui
