#pragma once

#include "ui/controls/LookButton.hpp"

#include <QRectF>
#include <QString>

#include <vector>

namespace corvel::ui {

/// A button with a text of several lines. The first line is highlighted, long lines wrap.
class EndpointDetailButton final : public LookButton {
    Q_OBJECT

public:
    /// How far the button extends beyond its text on each side.
    static constexpr int kPadding = 6;

    EndpointDetailButton(const Look& look, QWidget* parent);

    void setDetailText(const QString& text);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return {0, heightForWidth(width())}; }
    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    /// A line of the text as it is drawn.
    struct Line {
        QString text;
        bool isFirst = false;
    };

    [[nodiscard]] std::vector<Line> lines(int width) const;
};

}  // namespace corvel::ui
