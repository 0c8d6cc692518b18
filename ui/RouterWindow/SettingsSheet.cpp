#include "ui/RouterWindow/SettingsSheet.hpp"

#include "ui/RouterWindow/DiagnosticsView.hpp"
#include "ui/RouterWindow/GeneralSettings.hpp"
#include "ui/controls/LookLabel.hpp"
#include "ui/controls/TabButton.hpp"
#include "ui/controls/TextButton.hpp"

#include <QHBoxLayout>
#include <QPainter>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace corvel::ui {

namespace {

constexpr QSize kSize(620, 460);
constexpr int kTopPadding = 16;
constexpr int kPadding = 24;
constexpr int kTitleHeight = 36;
constexpr int kTitleGap = 12;
constexpr int kTabsBottom = kTopPadding + kTitleHeight + kTitleGap + TabButton::kHeight;

}  // namespace

SettingsSheet::SettingsSheet(MIDIRouterViewModel& model, const Look& look, QWidget* parent)
    : SheetDialog(look, parent),
      pages_(new QStackedWidget(this)),
      general_(new GeneralSettings(model, look, this)),
      diagnostics_(new DiagnosticsView(model, look, this)) {
    setWindowTitle(QStringLiteral("Settings"));

    auto* const title = new LookLabel(look, Look::font(17, QFont::DemiBold), &Theme::text, this);
    title->setText(QStringLiteral("Settings"));
    auto* const done = new TextButton(look, QStringLiteral("Done"), TextButton::Role::primary, this);
    connect(done, &QAbstractButton::clicked, this, &QDialog::accept);
    tabs_ = {new TabButton(look, QStringLiteral("paintbrush"), QStringLiteral("General"), this),
             new TabButton(look, QStringLiteral("ladybug"), QStringLiteral("Debug"), this)};

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(kPadding, kTopPadding, kPadding, kPadding);
    layout->setSpacing(0);
    auto* const head = new QHBoxLayout;
    head->addWidget(title, 1);
    head->addWidget(done);
    layout->addLayout(head);
    layout->addSpacing(kTitleGap);
    auto* const tabBar = new QHBoxLayout;
    tabBar->setSpacing(8);
    for (TabButton* const tab : tabs_) {
        const int index = static_cast<int>(tabs_.indexOf(tab));
        connect(tab, &QAbstractButton::clicked, this, [this, index] { showPage(index); });
        tabBar->addWidget(tab);
    }
    tabBar->addStretch();
    layout->addLayout(tabBar);
    layout->addSpacing(kTitleGap);
    pages_->addWidget(general_);
    pages_->addWidget(diagnostics_);
    layout->addWidget(pages_, 1);
    showPage(0);
    setFirstFocus(done);
}

void SettingsSheet::showPage(int index) {
    pages_->setCurrentIndex(index);
    for (TabButton* const tab : tabs_) {
        tab->setActive(tab == tabs_[index]);
    }
}

QSize SettingsSheet::sizeHint() const {
    return kSize;
}

void SettingsSheet::refresh(const ModelChanges& changes) {
    general_->refresh(changes);
    diagnostics_->refresh(changes);
}

void SettingsSheet::paintEvent(QPaintEvent* event) {
    SheetDialog::paintEvent(event);
    QPainter(this).fillRect(0, kTabsBottom - 1, width(), 1, theme().hairline);
}

}  // namespace corvel::ui
