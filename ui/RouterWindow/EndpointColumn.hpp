#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "ui/Look.hpp"
#include "ui/RouterWindow/EndpointPositionKey.hpp"

#include <QColor>
#include <QDrag>
#include <QRect>
#include <QString>
#include <QWidget>

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class QKeyEvent;
class QVBoxLayout;

namespace corvel::ui {

class EndpointFilterBar;
class EndpointRow;
class EndpointSelectionDetails;
class LookLabel;
class LookScrollArea;

/// All inputs or all outputs as rows, with the details of the selected one below. A filter hides some of them.
///
/// Shows what it is given and reports what the user does. The Tab key stops at one row; Up, Down, Home and End go to
/// the others.
class EndpointColumn final : public QWidget {
    Q_OBJECT

public:
    static constexpr int kWidth = 300;

    /// Rows scroll, so the column's height does not depend on its width.
    [[nodiscard]] bool hasHeightForWidth() const override { return false; }
    /// The user's own names of endpoints, by endpoint ID.
    using Aliases = std::unordered_map<std::int32_t, QString>;

    EndpointColumn(const Look& look, const QString& title, MIDIEndpointDirection direction, QWidget* parent);

    /// Shows those of these endpoints that match the filter, in this order. Keeps the rows of endpoints that are still
    /// present.
    void setEndpoints(const std::vector<MIDIEndpointModel>& endpoints, const Aliases& aliases = {});

    /// The endpoints that have a connection, for the filter.
    void setConnectedEndpoints(std::unordered_set<std::int32_t> endpointIDs);

    [[nodiscard]] EndpointFilterBar& filter() { return *filter_; }

    /// Selects the endpoint with this ID; it need not be present.
    void setSelection(const std::optional<std::int32_t>& selection);

    /// Marks this endpoint's row as an end of the selected connection, in the connection's colour; the endpoint need
    /// not be present.
    void setConnectionMark(const std::optional<std::int32_t>& endpointID, const QColor& colour);

    /// The selected endpoint, or null if it is not present. Valid until the endpoints change.
    [[nodiscard]] const MIDIEndpointModel* selectedEndpoint() const;

    /// Adds the middles of all rows, including rows that are scrolled out of sight. Endpoints that the filter hides
    /// count as below all rows.
    void reportConnectorPositions(EndpointConnectorYPositions& positions) const;

    /// The part of the window in which rows are visible.
    [[nodiscard]] QRect rowsRect() const;

    /// The row of the endpoint with this ID, or null. Valid until the endpoints change.
    [[nodiscard]] EndpointRow* row(std::int32_t endpointID) const;

    /// The visible row at this point of the window, or null. Valid until the endpoints change.
    [[nodiscard]] const EndpointRow* rowAt(QPoint point) const;

    /// Scrolls just enough to show the endpoint's row; does nothing if the filter hides it.
    void showEndpoint(std::int32_t endpointID);

    /// Scrolls the endpoint's row to the middle. Clears the filter if it hides the row.
    void centreEndpoint(std::int32_t endpointID);

    /// Scrolls down by this number of logical pixels, up if it is negative. Returns whether anything moved.
    bool scrollBy(int pixels);

    /// The rows in order, for tests.
    [[nodiscard]] const std::vector<EndpointRow*>& rows() const { return rows_; }

signals:
    /// The user chose a row.
    void endpointSelected(std::int32_t endpointID);

    /// The user dropped an input on an output's row, or an output on an input's row.
    void connectionRequested(std::int32_t sourceID, std::int32_t destinationID);

    /// The user asks for an endpoint's menu at this screen position.
    void menuRequested(std::int32_t endpointID, const QPoint& place);

    /// The user asks to rename an endpoint.
    void renamingRequested(std::int32_t endpointID);

    /// The user has started to drag a row.
    void dragStarted(QDrag* drag, const EndpointRow* row);

    /// Rows have moved inside the window.
    void connectorPositionsChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] EndpointRow* makeRow(const MIDIEndpointModel& endpoint);
    /// Shows a row for each endpoint that matches the filter.
    void showAdmitted();
    [[nodiscard]] bool admits(const MIDIEndpointModel& endpoint) const;
    void arrangeRows();
    void focusRows();
    /// Handles what a key does besides its action on the focused row. Returns whether the key has an effect.
    bool handleKey(const EndpointRow* row, const QKeyEvent& event);
    /// Moves the focus by this key. Returns whether it is such a key.
    [[nodiscard]] bool moveFocus(const EndpointRow* from, int key);
    void setTabStop(const EndpointRow* stop);
    void updateSelection();
    void updateConnectionMark();

    const Look& look_;
    const MIDIEndpointDirection direction_;
    std::optional<std::int32_t> selection_;
    /// All endpoints, including those that the filter hides.
    std::vector<MIDIEndpointModel> endpoints_;
    Aliases aliases_;
    std::unordered_set<std::int32_t> connectedIDs_;
    EndpointFilterBar* filter_;
    LookLabel* nothingAdmitted_;
    /// The end of the selected connection and the connection's colour.
    std::optional<std::int32_t> markedID_;
    QColor markColour_;
    std::vector<EndpointRow*> rows_;
    /// An invisible view that keeps the place of the rows in the tab order.
    QWidget* tabPlace_;
    QWidget* rowArea_;
    QVBoxLayout* rowLayout_;
    LookScrollArea* scrollArea_;
    EndpointSelectionDetails* details_;
};

}  // namespace corvel::ui
