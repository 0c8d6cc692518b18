#include "ui/QtText.hpp"

#include "ui/Look.hpp"

#include <QFontMetrics>
#include <QTextDocument>
#include <QWidget>

namespace corvel::ui {

namespace {

constexpr int kToolTipWidth = 340;

}  // namespace

QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

std::string toUTF8(const QString& text) {
    return text.toStdString();
}

QString menuTitle(const QString& text) {
    return QString(text).replace(QLatin1Char('&'), QLatin1String("&&")).replace(QLatin1Char('\t'), QLatin1Char(' '));
}

QString plainToolTip(const QString& text) {
    // Tooltips interpret text that looks like markup as markup, and wrap only markup.
    const int width = QFontMetrics(Look::font(12)).size(0, text).width();
    if (width <= kToolTipWidth && !Qt::mightBeRichText(text)) {
        return text;
    }
    const QString shape = width <= kToolTipWidth ? QString() : QStringLiteral(" width=\"%1\"").arg(kToolTipWidth);
    return QStringLiteral("<table%1><tr><td style=\"white-space: pre-wrap\">%2</td></tr></table>")
        .arg(shape, text.toHtmlEscaped());
}

void setPlainToolTip(QWidget* widget, const QString& text) {
    const QString toolTip = plainToolTip(text);
    widget->setToolTip(toolTip);
    widget->setAccessibleDescription(toolTip == text ? QString() : text);
}

}  // namespace corvel::ui
