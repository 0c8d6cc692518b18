#include "ui/AboutPanel.hpp"

#include "ui/AppMetadata.hpp"
#include "ui/QtText.hpp"
#include "ui/controls/LookLabel.hpp"
#include "ui/controls/TextButton.hpp"

#include <QIcon>
#include <QStyle>
#include <QVBoxLayout>

namespace corvel::ui {

namespace {

constexpr int kWidth = 300;
constexpr int kPadding = 24;
constexpr int kIconSize = 96;
constexpr int kButtonWidth = 156;

}  // namespace

std::optional<QPixmap> aboutPanelIcon(const QString& resource) {
    for (const QString& file :
         {resource, QStringLiteral("Packaging/AppIcon.icns"), QStringLiteral("Packaging/AppIcon.png")}) {
        QPixmap icon(file);
        if (!icon.isNull()) {
            return icon;
        }
    }
    return std::nullopt;
}

AboutPanel::AboutPanel(const Look& look, const BundleInformation& bundle, const std::optional<QPixmap>& icon,
                       QWidget* parent)
    : QDialog(parent->window()) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("About Corvel"));

    auto* const picture = new QLabel(this);
    const QIcon shown = icon ? QIcon(*icon) : style()->standardIcon(QStyle::SP_DesktopIcon);
    picture->setPixmap(shown.pixmap(QSize(kIconSize, kIconSize), devicePixelRatioF()));
    auto* const name = new LookLabel(look, Look::font(20, QFont::DemiBold), &Theme::text, this);
    name->setText(QStringLiteral("Corvel"));
    auto* const version = new LookLabel(look, Look::font(13), &Theme::text2, this);
    version->setText(toQString("Version " + AppMetadata::version(bundle) + " (" + AppMetadata::build(bundle) + ")"));
    auto* const close = new TextButton(look, QStringLiteral("OK"), TextButton::Role::primary, this);
    close->setFixedWidth(kButtonWidth);
    connect(close, &QAbstractButton::clicked, this, &QDialog::accept);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    layout->setSpacing(0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addStrut(kWidth - 2 * kPadding);
    layout->addWidget(picture, 0, Qt::AlignHCenter);
    layout->addSpacing(12);
    layout->addWidget(name, 0, Qt::AlignHCenter);
    layout->addSpacing(4);
    layout->addWidget(version, 0, Qt::AlignHCenter);
    layout->addSpacing(kPadding);
    layout->addWidget(close, 0, Qt::AlignHCenter);
    close->setFocus();
}

void AboutPanel::showEvent(QShowEvent* event) {
    // NOLINTNEXTLINE(bugprone-parent-virtual-call): the base class would choose another position
    QWidget::showEvent(event);
}

}  // namespace corvel::ui
