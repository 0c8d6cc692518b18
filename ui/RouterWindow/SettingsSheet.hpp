#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "ui/ModelChanges.hpp"
#include "ui/controls/SheetDialog.hpp"

class QStackedWidget;

namespace corvel::ui {

class DiagnosticsView;
class GeneralSettings;
class TabButton;

/// The settings, as a dialog of the router window. While it is open, MIDI goes on and shortcuts switch channels.
class SettingsSheet final : public SheetDialog {
    Q_OBJECT

public:
    SettingsSheet(MIDIRouterViewModel& model, const Look& look, QWidget* parent);

    void refresh(const ModelChanges& changes);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void showPage(int index);

    QList<TabButton*> tabs_;
    QStackedWidget* pages_;
    GeneralSettings* general_;
    DiagnosticsView* diagnostics_;
};

}  // namespace corvel::ui
