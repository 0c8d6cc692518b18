#pragma once

#include "ui/controls/LookButton.hpp"

namespace corvel::ui {

/// A tab: icon and title, underlined while its page is shown.
class TabButton final : public LookButton {
    Q_OBJECT

public:
    static constexpr int kHeight = 40;

    TabButton(const Look& look, QString iconName, const QString& title, QWidget* parent);

    void setActive(bool isActive);
    [[nodiscard]] bool isActive() const { return isActive_; }

    [[nodiscard]] QAccessible::Role accessibleRole() const override { return QAccessible::PageTab; }
    void addAccessibleState(QAccessible::State& state) const override;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString iconName_;
    bool isActive_ = false;
};

}  // namespace corvel::ui
