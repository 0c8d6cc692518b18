#pragma once

#include "ui/Look.hpp"

#include <QLabel>
#include <QRectF>

namespace corvel::ui {

/// A text in a field that cannot be edited, vertically centred.
class VerticallyCenteredLabelField final : public QLabel {
    Q_OBJECT

public:
    VerticallyCenteredLabelField(const QString& text, const Look& look, QWidget* parent = nullptr);

    /// The rectangle in which a text of this height is drawn.
    [[nodiscard]] static QRectF drawingRect(const QRectF& bounds, qreal textHeight);

    /// A quiet text is a placeholder.
    void setQuiet(bool isQuiet);

    /// Whether the field has an outline.
    void setOutlined(bool isOutlined);

    /// Keeps this margin free of text at both ends.
    void setTextMargin(int margin);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Look& look_;
    bool isQuiet_ = true;
    bool isOutlined_ = true;
    int textMargin_ = 0;
};

}  // namespace corvel::ui
