#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "ui/Look.hpp"
#include "ui/ModelChanges.hpp"

#include <QWidget>

#include <utility>
#include <vector>

namespace corvel::ui {

class ChoiceCard;

/// The choice between light and dark.
class AppearanceChoice final : public QWidget {
    Q_OBJECT

public:
    AppearanceChoice(MIDIRouterViewModel& model, const Look& look, QWidget* parent);

    void refresh(const ModelChanges& changes);

private:
    MIDIRouterViewModel& model_;
    std::vector<std::pair<AppAppearanceMode, ChoiceCard*>> cards_;
};

}  // namespace corvel::ui
