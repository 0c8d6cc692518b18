#pragma once

#include "core/engine/MIDIDiagnosticEvent.hpp"
#include "ui/Look.hpp"

#include <QString>
#include <QWidget>

#include <vector>

namespace corvel::ui {

/// One entry of the diagnostic log: its time of day, and its message on as many lines as needed.
class DiagnosticRow final : public QWidget {
    Q_OBJECT

public:
    DiagnosticRow(const Look& look, const MIDIDiagnosticEvent& event, QWidget* parent);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] int messageLeft() const;
    [[nodiscard]] std::vector<QString> lines(int width) const;

    const Look& look_;
    const QString time_;
    const QString message_;
};

}  // namespace corvel::ui
