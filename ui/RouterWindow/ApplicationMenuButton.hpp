#pragma once

#include "ui/controls/LookButton.hpp"

#include <QList>

class QAction;

namespace corvel::ui {

class PopUpMenu;

/// The application's mark. It opens the application menu, as F10 does.
class ApplicationMenuButton final : public LookButton {
    Q_OBJECT

public:
    ApplicationMenuButton(const Look& look, const QList<QAction*>& items, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void openMenu();

    /// Never replaced: screen readers lose an item whose menu is deleted first.
    PopUpMenu* menu_;
};

}  // namespace corvel::ui
