#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "ui/Look.hpp"
#include "ui/ModelChanges.hpp"

#include <QWidget>

#include <unordered_map>

class QVBoxLayout;

namespace corvel::ui {

class IconButton;
class LookScrollArea;

/// The diagnostic log, newest entry first, and the button that copies it.
class DiagnosticsView final : public QWidget {
    Q_OBJECT

public:
    DiagnosticsView(const MIDIRouterViewModel& model, const Look& look, QWidget* parent);

    void refresh(const ModelChanges& changes);

    /// Copies the log to the clipboard, newest entry first, each with its time of day and its message.
    void copyDiagnosticLog() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void showEvents();

    const MIDIRouterViewModel& model_;
    const Look& look_;
    IconButton* copy_;
    LookScrollArea* log_;
    QVBoxLayout* rowLayout_;
    std::unordered_map<UUID, QWidget*> rows_;
};

}  // namespace corvel::ui
