#pragma once

#include "ui/Look.hpp"

#include <QString>
#include <QStringList>
#include <QWidget>

namespace corvel::ui {

class FilterField;
class IconButton;

/// The head of a column: its title, a field that filters the rows by name, and a switch that shows only connected
/// endpoints.
class EndpointFilterBar final : public QWidget {
    Q_OBJECT

public:
    static constexpr int kHeight = 40;

    /// `plural` names the column's endpoints in tooltips: "inputs".
    EndpointFilterBar(const Look& look, const QString& title, QString plural, QWidget* parent);

    /// Whether a row with these names is shown: one of the names must contain every word of the field, in upper or
    /// lower case.
    [[nodiscard]] bool admits(const QStringList& names, bool isConnected) const;

    /// Whether the filter may hide rows.
    [[nodiscard]] bool isActive() const;

    /// Whether only connected endpoints are shown.
    [[nodiscard]] bool showsConnectedOnly() const { return showsConnectedOnly_; }

    /// Gives the field the focus and selects its text.
    void focusField();
    [[nodiscard]] bool isFieldFocused() const;

    /// Gives the field the focus and appends text that was typed elsewhere.
    void type(const QString& text);

    /// Clears the filter.
    void clear();

signals:
    /// The filter has changed.
    void changed();

    /// The user has finished typing and goes to the rows.
    void rowsRequested();

private:
    void setConnectedOnly(bool isOnly);

    const QString plural_;
    FilterField* field_;
    IconButton* connectedOnly_;
    bool showsConnectedOnly_ = false;
};

}  // namespace corvel::ui
