#pragma once

#include "ui/Look.hpp"

#include <QString>
#include <QWidget>

namespace corvel::ui {

/// The texts of a list row: a connection's input and output with an arrow between them, and its status below.
///
/// Names that are too long are shortened in the middle, where they usually differ least. An input takes at most a fixed
/// share of the line, so that the output has room.
class RouteNamesView final : public QWidget {
    Q_OBJECT

public:
    explicit RouteNamesView(const Look& look, QWidget* parent = nullptr);

    void setNames(const QString& input, const QString& output);
    /// Repaints only if the text has changed: this is called for every message.
    void setStatus(const QString& status);

    /// Whether the status is a warning, with a triangle and in the warning's colour.
    void setWarning(bool isWarning);

    /// `isQuiet` is for a connection that carries nothing.
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
