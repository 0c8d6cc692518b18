#pragma once

#include "ui/BundleInformation.hpp"
#include "ui/Look.hpp"

#include <QDialog>
#include <QPixmap>

#include <optional>

namespace corvel::ui {

/// The application's icon in full size: the one in the program, else "AppIcon.icns" or "AppIcon.png" in the folder
/// "Packaging" of the current directory, the first that loads. `resource` is the one in the program.
[[nodiscard]] std::optional<QPixmap> aboutPanelIcon(const QString& resource);

/// Name, version and icon of the application: a window that the desktop places, beside which everything goes on.
/// Deletes itself once closed.
class AboutPanel final : public QDialog {
    Q_OBJECT

public:
    AboutPanel(const Look& look, const BundleInformation& bundle, const std::optional<QPixmap>& icon, QWidget* parent);

protected:
    void showEvent(QShowEvent* event) override;
};

}  // namespace corvel::ui
