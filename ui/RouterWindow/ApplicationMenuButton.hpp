#pragma once

#include "ui/controls/LookButton.hpp"

#include <QList>

class QAction;

namespace corvel::ui {

/// The application's mark, which opens the application menu; so does F10.
class ApplicationMenuButton final : public LookButton {
    Q_OBJECT

public:
    ApplicationMenuButton(const Look& look, const QList<QAction*>& items, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void openMenu();

    QList<QAction*> items_;
};

}  // namespace corvel::ui
