#pragma once

#include "ui/Look.hpp"

#include <QLabel>

namespace corvel::ui {

/// A short remark in an outline.
class Badge final : public QLabel {
    Q_OBJECT

public:
    Badge(const Look& look, const QString& text, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Look& look_;
};

}  // namespace corvel::ui
