#pragma once

#include "ui/Look.hpp"

#include <QLineEdit>

namespace corvel::ui {

/// A field whose text filters a list below it. Escape empties it, or leaves it if it is empty; Return and Down go to
/// the list. Undo and redo keys belong to the window if the text has nothing to undo or redo.
class FilterField final : public QLineEdit {
    Q_OBJECT

public:
    explicit FilterField(const Look& look, QWidget* parent);

signals:
    /// The focus should go to the list.
    void left();

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    const Look& look_;
};

}  // namespace corvel::ui
