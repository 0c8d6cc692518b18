#pragma once

#include "ui/Look.hpp"

#include <QLabel>

namespace corvel::ui {

/// A text in one of the theme's colours; every character is shown unchanged.
class LookLabel final : public QLabel {
    Q_OBJECT

public:
    LookLabel(const Look& look, const QFont& font, QColor Theme::*ink, QWidget* parent = nullptr);

    /// One line that is shortened in the middle if there is too little room; the tooltip then has the whole text.
    void setElided(bool isElided);

    /// If the text is shortened, line breaks are shown as blanks.
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
