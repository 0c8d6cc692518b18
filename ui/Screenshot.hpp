#pragma once

#include "app/AppAppearanceMode.hpp"
#include "app/MIDIRouterViewModel.hpp"
#include "core/support/Clock.hpp"

#include <QSize>
#include <QString>

#include <filesystem>
#include <memory>
#include <optional>

namespace corvel::ui {

struct ScreenshotOptions {
    std::filesystem::path file;
    /// The size of the window's content in logical pixels.
    QSize size{1180, 760};
    AppAppearanceMode appearance = AppAppearanceMode::dark;
};

/// Shows the window, lets MIDI run for a moment and writes the window as a PNG, at the device pixel ratio of the
/// application. Runs the main loop; needs no display on the "offscreen" platform. Returns the reason if the file could
/// not be written.
[[nodiscard]] std::optional<QString> takeScreenshot(MIDIRouterViewModel& model, std::shared_ptr<const Clock> clock,
                                                    const QString& demoReason, const ScreenshotOptions& options);

}  // namespace corvel::ui
