#pragma once

#include "ui/Look.hpp"

#include <QString>
#include <QWidget>

namespace corvel::ui {

/// The texts of a list row: a connection's input and output, joined by an arrow, and under them its status.
///
/// Names that have no room are shortened in the middle, where they differ least; an input takes at most a fixed part of
/// the line, so that the output keeps some of it.
class RouteNamesView final : public QWidget {
    Q_OBJECT

public:
    explicit RouteNamesView(const Look& look, QWidget* parent = nullptr);

    void setNames(const QString& input, const QString& output);
    /// Repaints only if the text is another one: it changes with the traffic.
    void setStatus(const QString& status);

    /// Whether the status is a warning: with a triangle, in its colour.
    void setWarning(bool isWarning);

    /// Quiet names are those of a connection that carries nothing.
    void setEmphasis(bool isSelected, bool isQuiet);

    [[nodiscard]] const QString& input() const { return input_; }
    [[nodiscard]] const QString& output() const { return output_; }
    [[nodiscard]] const QString& status() const { return status_; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QRect nameLine() const;
    [[nodiscard]] QRect statusLine() const;
    void paintNames(QPainter& painter) const;
    void paintStatus(QPainter& painter) const;

    const Look& look_;
    QString input_;
    QString output_;
    QString status_;
    bool isWarning_ = false;
    bool isSelected_ = false;
    bool isQuiet_ = false;
};

}  // namespace corvel::ui
