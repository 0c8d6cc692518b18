#include "ui/RouterWindow/DiagnosticsView.hpp"

#include "app/TextLine.hpp"
#include "ui/QtText.hpp"
#include "ui/RouterWindow/DiagnosticRow.hpp"
#include "ui/controls/IconButton.hpp"
#include "ui/controls/LookLabel.hpp"
#include "ui/controls/LookScrollArea.hpp"
#include "ui/controls/Painting.hpp"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include <ranges>
#include <string>
#include <utility>

namespace corvel::ui {

namespace {

constexpr int kHeadingHeight = 32;
constexpr int kGap = 8;
constexpr qreal kRadius = 8;

}  // namespace

DiagnosticsView::DiagnosticsView(const MIDIRouterViewModel& model, const Look& look, QWidget* parent)
    : QWidget(parent),
      model_(model),
      look_(look),
      copy_(new IconButton(look, QStringLiteral("doc.on.doc"), QString(), kHeadingHeight, this)),
      log_(new LookScrollArea(look, this)) {
    auto* const heading = new LookLabel(look, Look::font(13, QFont::DemiBold), &Theme::text2, this);
    heading->setText(QStringLiteral("Diagnostics"));
    auto* const rows = new QWidget;
    rowLayout_ = new QVBoxLayout(rows);
    rowLayout_->setContentsMargins(0, 0, 0, 0);
    rowLayout_->setSpacing(0);
    rowLayout_->addStretch();
    log_->setWidget(rows);
    log_->setWidgetResizable(true);
    log_->setFocusPolicy(Qt::StrongFocus);
    log_->setAccessibleName(QStringLiteral("Diagnostics"));

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* const head = new QHBoxLayout;
    head->addWidget(heading, 1);
    head->addWidget(copy_);
    layout->addLayout(head);
    layout->addSpacing(kGap);
    auto* const inset = new QVBoxLayout;
    inset->setContentsMargins(1, 1, 1, 1);
    inset->addWidget(log_);
    layout->addLayout(inset, 1);

    connect(copy_, &QAbstractButton::clicked, this, &DiagnosticsView::copyDiagnosticLog);
    connect(&look, &Look::changed, this, [this] { update(); });
    refresh(ModelChanges::all());
}

void DiagnosticsView::refresh(const ModelChanges& changes) {
    if (!changes.containAny({ModelChanges::Property::diagnosticEvents})) {
        return;
    }
    const bool hasEvents = !model_.diagnosticEvents().empty();
    copy_->setEnabled(hasEvents);
    copy_->setHelp(hasEvents ? QStringLiteral("Copy diagnostics") : QStringLiteral("No diagnostics to copy"));
    showEvents();
}

void DiagnosticsView::showEvents() {
    std::unordered_map<UUID, QWidget*> former = std::exchange(rows_, {});
    int place = 0;
    for (const MIDIDiagnosticEvent& event : model_.diagnosticEvents() | std::views::reverse) {
        const auto kept = former.extract(event.id);
        QWidget* const row = kept ? kept.mapped() : new DiagnosticRow(look_, event, log_->widget());
        rows_.emplace(event.id, row);
        const QLayoutItem* const there = rowLayout_->itemAt(place);
        if (there == nullptr || there->widget() != row) {
            rowLayout_->removeWidget(row);
            rowLayout_->insertWidget(place, row);
        }
        ++place;
    }
    for (const auto& [id, row] : former) {
        delete row;
    }
}

void DiagnosticsView::copyDiagnosticLog() const {
    std::string text;
    for (const MIDIDiagnosticEvent& event : model_.diagnosticEvents() | std::views::reverse) {
        if (!text.empty()) {
            text += '\n';
        }
        text += timeOfDay(event.timestamp) + ' ' + event.message;
    }
    QGuiApplication::clipboard()->setText(toQString(text));
}

void DiagnosticsView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(log_->geometry()).adjusted(-1, -1, 1, 1);
    painter.fillPath(roundedPath(frame, kRadius), look_.theme().field);
    paintOutline(painter, frame, kRadius, look_.theme().hairline);
}

}  // namespace corvel::ui
