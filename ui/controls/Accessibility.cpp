#include "ui/controls/Accessibility.hpp"

#include "ui/controls/LookButton.hpp"

#include <QAccessibleWidget>
#include <QVariant>

namespace corvel::ui {

namespace {

constexpr const char* kRoleProperty = "corvelAccessibleRole";

class LookButtonAccessible final : public QAccessibleWidget {
public:
    explicit LookButtonAccessible(LookButton* button) : QAccessibleWidget(button, QAccessible::Button) {}
    LookButtonAccessible(const LookButtonAccessible&) = delete;
    LookButtonAccessible& operator=(const LookButtonAccessible&) = delete;
    LookButtonAccessible(LookButtonAccessible&&) = delete;
    LookButtonAccessible& operator=(LookButtonAccessible&&) = delete;

    [[nodiscard]] QAccessible::Role role() const override { return button().accessibleRole(); }

    [[nodiscard]] QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.pressed = button().isDown() ? 1U : 0U;
        button().addAccessibleState(state);
        return state;
    }

    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Name && button().accessibleName().isEmpty()) {
            return button().text();
        }
        if (kind == QAccessible::Description) {
            return button().liveDescription().value_or(QAccessibleWidget::text(kind));
        }
        return QAccessibleWidget::text(kind);
    }

    [[nodiscard]] QStringList actionNames() const override {
        return QStringList(pressAction()) + QAccessibleWidget::actionNames();
    }

    void doAction(const QString& name) override {
        if (name != pressAction()) {
            QAccessibleWidget::doAction(name);
        } else if (button().isEnabled()) {
            button().animateClick();
        }
    }

protected:
    ~LookButtonAccessible() override = default;

private:
    [[nodiscard]] LookButton& button() const { return *static_cast<LookButton*>(object()); }
};

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
    if (auto* const button = qobject_cast<LookButton*>(object); button != nullptr) {
        return new LookButtonAccessible(button);
    }
    if (const QVariant role = object->property(kRoleProperty); role.isValid()) {
        return new QAccessibleWidget(qobject_cast<QWidget*>(object), static_cast<QAccessible::Role>(role.toInt()));
    }
    return nullptr;
}

}  // namespace

void setAccessibleRole(QWidget& widget, QAccessible::Role role) {
    installControlAccessibility();
    widget.setProperty(kRoleProperty, static_cast<int>(role));
}

void installControlAccessibility() {
    // The toolkit ignores a factory that it already has.
    QAccessible::installFactory(makeInterface);
}

void announce(QWidget& notification) {
    // Screen readers read out a notification when it is shown.
    QAccessibleEvent event(&notification, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&event);
}

}  // namespace corvel::ui
