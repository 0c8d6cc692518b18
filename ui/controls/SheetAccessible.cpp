#include "ui/controls/SheetAccessible.hpp"

#include "ui/controls/SheetDialog.hpp"

#include <QAccessible>
#include <QAccessibleWidget>

namespace corvel::ui {

namespace {

class SheetAccessible final : public QAccessibleWidget {
public:
    explicit SheetAccessible(SheetDialog* sheet) : QAccessibleWidget(sheet, QAccessible::Dialog) {}
    SheetAccessible(const SheetAccessible&) = delete;
    SheetAccessible& operator=(const SheetAccessible&) = delete;
    SheetAccessible(SheetAccessible&&) = delete;
    SheetAccessible& operator=(SheetAccessible&&) = delete;

    [[nodiscard]] QString text(QAccessible::Text which) const override {
        return which == QAccessible::Name ? widget()->windowTitle() : QAccessibleWidget::text(which);
    }

    [[nodiscard]] QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.modal = true;
        state.active = widget()->isActiveWindow() && SheetDialog::topOf(*widget()->window()) == widget();
        return state;
    }

protected:
    ~SheetAccessible() override = default;
};

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
    auto* const sheet = qobject_cast<SheetDialog*>(object);
    return sheet != nullptr ? new SheetAccessible(sheet) : nullptr;
}

}  // namespace

void installSheetAccessibility() {
    // The toolkit ignores a factory that it already has.
    QAccessible::installFactory(makeInterface);
}

}  // namespace corvel::ui
