#pragma once

#include "ui/controls/LookButton.hpp"

#include <QPointer>
#include <QSize>
#include <QStringList>

namespace corvel::ui {

class PopUpMenu;

/// A pop-up: shows the chosen text and opens a menu of all texts, the chosen one ticked.
///
/// Shows what it is given and reports what the user chooses; choosing changes nothing by itself.
class PopUpButton final : public LookButton {
    Q_OBJECT

public:
    /// `isFilled` false is the outlined form in list rows.
    PopUpButton(const Look& look, QSize size, bool isFilled, QWidget* parent = nullptr);

    /// The menu's texts and the index of the chosen one, -1 for none.
    void setItems(const QStringList& items, int chosen);
    /// The items' tooltips, in order; an empty text means none.
    void setItemHelps(const QStringList& helps) { itemHelps_ = helps; }
    [[nodiscard]] const QStringList& items() const { return items_; }
    [[nodiscard]] int chosenIndex() const { return chosen_; }

    /// The text of the closed pop-up; by default the chosen item.
    void setLabel(const QString& label);

    void setFilled(bool isFilled);

    [[nodiscard]] QAccessible::Role accessibleRole() const override { return QAccessible::ButtonMenu; }
    void addAccessibleState(QAccessible::State& state) const override;

    [[nodiscard]] QSize sizeHint() const override { return size_; }
    [[nodiscard]] QSize minimumSizeHint() const override { return size_; }

signals:
    /// The user chose an item, possibly the present one.
    void itemChosen(int index);

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void openMenu();

    QSize size_;
    bool isFilled_;
    QStringList items_;
    QStringList itemHelps_;
    int chosen_ = -1;
    /// The menu, while it is open.
    QPointer<PopUpMenu> menu_;
};

}  // namespace corvel::ui
