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

/// All inputs or all outputs as rows, with what is to know of the selected one below. A filter leaves out some of them.
///
/// Shows what it is given and reports what the user does. The Tab key stops at one row; Up, Down, Home and End go to
/// the others.
class EndpointColumn final : public QWidget {
    Q_OBJECT

public:
    static constexpr int kWidth = 300;

    /// The rows scroll, so the column's height does not depend on its width.
    [[nodiscard]] bool hasHeightForWidth() const override { return false; }
    /// Names that the user gave to endpoints, by the endpoints' IDs.
    using Aliases = std::unordered_map<std::int32_t, QString>;

    EndpointColumn(const Look& look, const QString& title, MIDIEndpointDirection direction, QWidget* parent);

    /// Shows these endpoints in their order, as far as the filter admits them. The rows of those that stay are kept.
    void setEndpoints(const std::vector<MIDIEndpointModel>& endpoints, const Aliases& aliases = {});

    /// The endpoints that have a connection, for the filter.
    void setConnectedEndpoints(std::unordered_set<std::int32_t> endpointIDs);

    [[nodiscard]] EndpointFilterBar& filter() { return *filter_; }

    /// Marks the endpoint with this ID; none needs to have it.
    void setSelection(const std::optional<std::int32_t>& selection);

    /// Marks this endpoint's row as an end of the selected connection, in its colour; none of the rows need be it.
    void setConnectionMark(const std::optional<std::int32_t>& endpointID, const QColor& colour);

    /// The endpoint with the selection's ID, if any. Valid until the endpoints change.
    [[nodiscard]] const MIDIEndpointModel* selectedEndpoint() const;

    /// Adds the middles of all rows, also of those that are scrolled out of sight. Endpoints that the filter leaves out
    /// count as below all rows.
    void reportConnectorPositions(EndpointConnectorYPositions& positions) const;

    /// The part of the window in which rows can be seen.
    [[nodiscard]] QRect rowsRect() const;

    /// The row of the endpoint with this ID, or null. Valid until the endpoints change.
    [[nodiscard]] EndpointRow* row(std::int32_t endpointID) const;

    /// The row that can be seen at this point of the window, or null. Valid until the endpoints change.
    [[nodiscard]] const EndpointRow* rowAt(QPoint point) const;

    /// Scrolls no further than it takes to see the endpoint's row; not at all if the filter leaves it out.
    void showEndpoint(std::int32_t endpointID);

    /// Scrolls the endpoint's row to the middle, and has the filter admit everything if it leaves it out.
    void centreEndpoint(std::int32_t endpointID);

    /// Scrolls down by so many logical pixels, up by a negative number; whether anything moved.
    bool scrollBy(int pixels);

    /// The rows in their order, for tests.
    [[nodiscard]] const std::vector<EndpointRow*>& rows() const { return rows_; }

signals:
    /// The user chose a row.
    void endpointSelected(std::int32_t endpointID);

    /// The user dropped an input on the row of an output, or an output on that of an input.
    void connectionRequested(std::int32_t sourceID, std::int32_t destinationID);

    /// The user wants an endpoint's menu at a place of the screen.
    void menuRequested(std::int32_t endpointID, const QPoint& place);

    /// The user wants to give an endpoint a name of their own.
    void renamingRequested(std::int32_t endpointID);

    /// The user drags a row.
    void dragStarted(QDrag* drag, const EndpointRow* row);

    /// Rows have moved in the window.
    void connectorPositionsChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] EndpointRow* makeRow(const MIDIEndpointModel& endpoint);
    /// Makes the rows those of the endpoints that the filter admits.
    void showAdmitted();
    [[nodiscard]] bool admits(const MIDIEndpointModel& endpoint) const;
    void arrangeRows();
    void focusRows();
    /// What a key does beside what it does to the row that has the focus; whether it does anything.
    bool handleKey(const EndpointRow* row, const QKeyEvent& event);
    /// Moves the focus as this key asks; whether it is one that does.
    [[nodiscard]] bool moveFocus(const EndpointRow* from, int key);
    void setTabStop(const EndpointRow* stop);
    void updateSelection();
    void updateConnectionMark();

    const Look& look_;
    const MIDIEndpointDirection direction_;
    std::optional<std::int32_t> selection_;
    /// Those that the filter leaves out as well.
    std::vector<MIDIEndpointModel> endpoints_;
    Aliases aliases_;
    std::unordered_set<std::int32_t> connectedIDs_;
    EndpointFilterBar* filter_;
    LookLabel* nothingAdmitted_;
    /// The end of the selected connection, and the connection's colour.
    std::optional<std::int32_t> markedID_;
    QColor markColour_;
    std::vector<EndpointRow*> rows_;
    /// Never seen: the place of the rows in the order of the Tab key.
    QWidget* tabPlace_;
    QWidget* rowArea_;
    QVBoxLayout* rowLayout_;
    LookScrollArea* scrollArea_;
    EndpointSelectionDetails* details_;
};

}  // namespace corvel::ui
