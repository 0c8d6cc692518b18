#pragma once

#include "ui/Look.hpp"

#include <QLabel>

namespace corvel::ui {

/// A text in one of the theme's inks, every character shown as it is.
class LookLabel final : public QLabel {
    Q_OBJECT

public:
    LookLabel(const Look& look, const QFont& font, QColor Theme::*ink, QWidget* parent = nullptr);

    /// One line that gives way where there is little room: its middle is left out, and the tooltip then has it whole.
    void setElided(bool isElided);

    /// Line breaks show as blanks where the text is elided.
    void setLine(const QString& text);

    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void updateToolTip();
    [[nodiscard]] QString shownText() const;

    const Look& look_;
    QColor Theme::*ink_;
    bool isElided_ = false;
};

}  // namespace corvel::ui
