#pragma once

#include "ui/Look.hpp"

#include <QMenu>

namespace corvel::ui {

/// A menu in the window's look.
class PopUpMenu final : public QMenu {
    Q_OBJECT

public:
    explicit PopUpMenu(const Look& look, QWidget* parent = nullptr);

    /// Adds an item that shows every character of the text. If `isChosen`, it is ticked.
    QAction* addItem(const QString& text, bool isChosen);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    const Look& look_;
};

}  // namespace corvel::ui
