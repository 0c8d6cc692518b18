#pragma once

#include "ui/BundleInformation.hpp"
#include "ui/Look.hpp"

#include <QDialog>
#include <QPixmap>

#include <optional>

namespace corvel::ui {

/// The application's icon in full size: `resource` from the program, otherwise "AppIcon.icns" or "AppIcon.png" in the
/// folder "Packaging" of the current directory, whichever loads first.
[[nodiscard]] std::optional<QPixmap> aboutPanelIcon(const QString& resource);

/// Name, version and icon of the application, in a window that the desktop positions and that blocks nothing. Deletes
/// itself when closed.
class AboutPanel final : public QDialog {
    Q_OBJECT

public:
    AboutPanel(const Look& look, const BundleInformation& bundle, const std::optional<QPixmap>& icon, QWidget* parent);

protected:
    void showEvent(QShowEvent* event) override;
};

}  // namespace corvel::ui
