#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "ui/Look.hpp"
#include "ui/ModelChanges.hpp"

#include <QList>
#include <QWidget>

class QAction;

namespace corvel::ui {

class IconButton;
class TextButton;

/// The header of the window: the application menu, the title, and the commands for the whole window.
class HeaderBar final : public QWidget {
    Q_OBJECT

public:
    /// `menu` has the application menu's items. `demoReason` says why the demo devices run, empty if they do not.
    HeaderBar(MIDIRouterViewModel& model, const Look& look, const QList<QAction*>& menu, const QString& demoReason,
              QWidget* parent);

    void refresh(const ModelChanges& changes);

    /// Whether the pointer or the keyboard focus is on the button that deletes the selected connection.
    [[nodiscard]] bool isBinAttended() const;

signals:
    void settingsRequested();
    /// `isBinAttended` may have changed.
    void binAttentionChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void connectSelected();
    [[nodiscard]] bool canConnect() const;
    void nameBin();

    MIDIRouterViewModel& model_;
    TextButton* connect_ = nullptr;
    IconButton* delete_ = nullptr;
};

}  // namespace corvel::ui
