#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "ui/Look.hpp"
#include "ui/RouterWindow/EndpointPositionKey.hpp"

#include <QWidget>

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

class QVBoxLayout;

namespace corvel::ui {

class EndpointRow;
class EndpointSelectionDetails;
class LookScrollArea;

/// All inputs or all outputs as rows, with what is to know of the selected one below.
///
/// Shows what it is given and reports what the user does. The Tab key stops at one row; Up and Down go to the others.
class EndpointColumn final : public QWidget {
    Q_OBJECT

public:
    static constexpr int kWidth = 300;

    /// Any height will do, whatever it is wide: the rows scroll.
    [[nodiscard]] bool hasHeightForWidth() const override { return false; }

    EndpointColumn(const Look& look, const QString& title, MIDIEndpointDirection direction, QWidget* parent);

    /// Shows these endpoints in their order. The rows of those that stay are kept.
    void setEndpoints(const std::vector<MIDIEndpointModel>& endpoints);

    /// Marks the endpoint with this ID; none needs to have it.
    void setSelection(const std::optional<std::int32_t>& selection);

    /// The endpoint with the selection's ID, if any. Valid until the endpoints change.
    [[nodiscard]] const MIDIEndpointModel* selectedEndpoint() const;

    /// Adds the middles of all rows, also of those that are scrolled out of sight.
    void reportConnectorPositions(EndpointConnectorYPositions& positions) const;

    /// The rows in their order, for tests.
    [[nodiscard]] const std::vector<EndpointRow*>& rows() const { return rows_; }

signals:
    /// The user chose a row.
    void endpointSelected(std::int32_t endpointID);

    /// The user dropped an input on the row of an output.
    void sourceDropped(std::int32_t sourceID, std::int32_t destinationID);

    /// Rows have moved in the window.
    void connectorPositionsChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] EndpointRow* makeRow(const MIDIEndpointModel& endpoint);
    void arrangeRows();
    void moveFocus(const EndpointRow* from, int step);
    void setTabStop(const EndpointRow* stop);
    void updateSelection();

    const Look& look_;
    const MIDIEndpointDirection direction_;
    std::optional<std::int32_t> selection_;
    std::vector<EndpointRow*> rows_;
    QWidget* rowArea_;
    QVBoxLayout* rowLayout_;
    LookScrollArea* scrollArea_;
    EndpointSelectionDetails* details_;
};

}  // namespace corvel::ui
