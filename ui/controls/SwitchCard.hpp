#pragma once

#include "ui/controls/LookButton.hpp"

namespace corvel::ui {

/// A setting that is on or off: its title, a line that explains it, and a switch. A click anywhere toggles it.
class SwitchCard final : public LookButton {
    Q_OBJECT

public:
    SwitchCard(const Look& look, const QString& title, const QString& explanation, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintSwitch(QPainter& painter) const;

    QString explanation_;
};

}  // namespace corvel::ui
