#pragma once

#include "ui/BundleInformation.hpp"
#include "ui/controls/SheetDialog.hpp"

#include <QPixmap>

#include <optional>

namespace corvel::ui {

/// The application's icon in full size: the one in the program, else "AppIcon.icns" or "AppIcon.png" in the folder
/// "Packaging" of the current directory, the first that loads. `resource` is the one in the program.
[[nodiscard]] std::optional<QPixmap> aboutPanelIcon(const QString& resource);

/// Name, version and icon of the application, over the router window only.
class AboutPanel final : public SheetDialog {
    Q_OBJECT

public:
    AboutPanel(const Look& look, const BundleInformation& bundle, const std::optional<QPixmap>& icon, QWidget* parent);
};

}  // namespace corvel::ui
