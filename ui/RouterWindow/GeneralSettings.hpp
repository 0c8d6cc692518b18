#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "ui/Look.hpp"
#include "ui/ModelChanges.hpp"

#include <QWidget>

namespace corvel::ui {

class AppearanceChoice;

/// The general settings: light or dark, and the release of held notes.
class GeneralSettings final : public QWidget {
    Q_OBJECT

public:
    GeneralSettings(MIDIRouterViewModel& model, const Look& look, QWidget* parent);

    void refresh(const ModelChanges& changes);

private:
    AppearanceChoice* appearance_;
};

}  // namespace corvel::ui
