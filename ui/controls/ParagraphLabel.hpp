#pragma once

#include "ui/Look.hpp"

#include <QLabel>
#include <QString>

#include <vector>

namespace corvel::ui {

/// A centred text that wraps at a given width, with a given line height.
class ParagraphLabel final : public QLabel {
    Q_OBJECT

public:
    /// Width and line height are in logical pixels.
    ParagraphLabel(const Look& look, const QString& text, const QFont& font, QColor Theme::*ink, int width,
                   int lineHeight, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Look& look_;
    QColor Theme::*ink_;
    int lineHeight_;
    std::vector<QString> lines_;
};

}  // namespace corvel::ui
