#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "ui/Look.hpp"

#include <QString>
#include <QWidget>

namespace corvel::ui {

class EndpointDetailButton;

/// The full details of the selected endpoint, below its column. Pressing the text copies it.
class EndpointSelectionDetails final : public QWidget {
    Q_OBJECT

public:
    EndpointSelectionDetails(const Look& look, QWidget* parent);

    /// Hides itself if there is no endpoint.
    void setEndpoint(const MIDIEndpointModel* endpoint);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Look& look_;
    /// The text that is copied; the button shows it with codes for invisible characters.
    QString detailText_;
    EndpointDetailButton* button_;
};

}  // namespace corvel::ui
