#pragma once

#include "ui/controls/LookButton.hpp"

namespace corvel::ui {

/// One of several alternatives: icon, title, and a ring that is filled if it is chosen.
class ChoiceCard final : public LookButton {
    Q_OBJECT

public:
    ChoiceCard(const Look& look, QString iconName, const QString& title, QWidget* parent);

    void setChosen(bool isChosen);
    [[nodiscard]] bool isChosen() const { return isChosen_; }

    [[nodiscard]] QAccessible::Role accessibleRole() const override { return QAccessible::RadioButton; }
    void addAccessibleState(QAccessible::State& state) const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString iconName_;
    bool isChosen_ = false;
};

}  // namespace corvel::ui
