#include "ui/BundleInformation.hpp"

#include "ui/QtText.hpp"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

namespace corvel::ui {

namespace {

class MainBundleInformation final : public BundleInformation {
public:
    [[nodiscard]] std::optional<std::string> string(std::string_view key) const override {
        QFile file(QStringLiteral(":/Info.json"));
        if (!file.open(QIODevice::ReadOnly)) {
            return std::nullopt;
        }
        const QJsonValue value = QJsonDocument::fromJson(file.readAll()).object().value(toQString(key));
        return value.isString() ? std::optional(toUTF8(value.toString())) : std::nullopt;
    }
};

}  // namespace

std::unique_ptr<const BundleInformation> makeMainBundleInformation() {
    return std::make_unique<MainBundleInformation>();
}

}  // namespace corvel::ui
