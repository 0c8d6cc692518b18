#pragma once

#include "ui/Look.hpp"

#include <QLabel>
#include <QString>

#include <vector>

namespace corvel::ui {

/// A centred text on as many lines of a given height as it needs in a given width.
class ParagraphLabel final : public QLabel {
    Q_OBJECT

public:
    /// Width and line height are logical pixels.
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
