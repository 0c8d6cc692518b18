#pragma once

#include "ui/Look.hpp"

#include <QLineEdit>

namespace corvel::ui {

/// A field for one name, which is selected at first so that typing replaces it.
class NameField final : public QLineEdit {
    Q_OBJECT

public:
    NameField(const Look& look, const QString& name, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Look& look_;
};

}  // namespace corvel::ui
