#pragma once

#include "ui/Look.hpp"

#include <QColor>
#include <QWidget>

namespace corvel::ui {

/// A sample of a connection's line: solid while the connection carries MIDI, dashed otherwise.
class RouteSwatch final : public QWidget {
    Q_OBJECT

public:
    explicit RouteSwatch(QWidget* parent = nullptr);

    void setLine(const QColor& colour, bool isDashed);
    [[nodiscard]] const QColor& colour() const { return colour_; }
    [[nodiscard]] bool isDashed() const { return isDashed_; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor colour_;
    bool isDashed_ = false;
};

}  // namespace corvel::ui
