#pragma once

#include "ui/controls/LookButton.hpp"

#include <QList>

class QAction;

namespace corvel::ui {

class PopUpMenu;

/// The application's mark, which opens the application menu; so does F10.
class ApplicationMenuButton final : public LookButton {
    Q_OBJECT

public:
    ApplicationMenuButton(const Look& look, const QList<QAction*>& items, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void openMenu();

    /// One for good: screen readers lose an item whose menu goes before it.
    PopUpMenu* menu_;
};

}  // namespace corvel::ui
