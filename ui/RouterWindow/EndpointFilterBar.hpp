#pragma once

#include "ui/Look.hpp"

#include <QString>
#include <QStringList>
#include <QWidget>

namespace corvel::ui {

class FilterField;
class IconButton;

/// The head of a column: its title, a field that filters the rows by name, and a switch that leaves only connected
/// ones.
class EndpointFilterBar final : public QWidget {
    Q_OBJECT

public:
    static constexpr int kHeight = 40;

    /// `plural` names the column's endpoints in tooltips: "inputs".
    EndpointFilterBar(const Look& look, const QString& title, QString plural, QWidget* parent);

    /// Whether a row with one of these names is shown: one of them contains every word of the field, in whatever case.
    [[nodiscard]] bool admits(const QStringList& names, bool isConnected) const;

    /// Whether some rows may be left out.
    [[nodiscard]] bool isActive() const;

    /// Whether the switch leaves only connected endpoints.
    [[nodiscard]] bool showsConnectedOnly() const { return showsConnectedOnly_; }

    /// Gives the field the keyboard, with its text selected.
    void focusField();
    [[nodiscard]] bool isFieldFocused() const;

    /// Gives the field the keyboard and appends what was typed elsewhere.
    void type(const QString& text);

    /// Shows everything again.
    void clear();

signals:
    /// Other rows may be admitted now.
    void changed();

    /// The user is done with the field and goes on to the rows.
    void rowsRequested();

private:
    void setConnectedOnly(bool isOnly);

    const QString plural_;
    FilterField* field_;
    IconButton* connectedOnly_;
    bool showsConnectedOnly_ = false;
};

}  // namespace corvel::ui
