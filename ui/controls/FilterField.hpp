#pragma once

#include "ui/Look.hpp"

#include <QLineEdit>

namespace corvel::ui {

/// A field whose text narrows a list below it. Escape empties it and, when it is empty, leaves it; Return and Down
/// leave it for the list. Undo and redo keys are the window's where the text has nothing to undo or redo.
class FilterField final : public QLineEdit {
    Q_OBJECT

public:
    explicit FilterField(const Look& look, QWidget* parent);

signals:
    /// The keyboard is to go to the list.
    void left();

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    const Look& look_;
};

}  // namespace corvel::ui
