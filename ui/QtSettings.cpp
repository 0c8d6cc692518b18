#include "ui/QtSettings.hpp"

#include "ui/QtText.hpp"

#include <QFile>
#include <QStringList>
#include <QVariant>

namespace corvel::ui {

QtSettings::QtSettings()
    : settings_(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Corvel"), QStringLiteral("Corvel")) {}

std::filesystem::path QtSettings::file() const {
    return QFile::encodeName(settings_.fileName()).toStdString();
}

std::optional<std::string> QtSettings::string(std::string_view key) const {
    const QVariant value = settings_.value(toQString(key));
    return value.isValid() ? std::optional(toUTF8(value.toString())) : std::nullopt;
}

void QtSettings::set(std::string_view key, std::string_view value) {
    settings_.setValue(toQString(key), toQString(value));
    settings_.sync();
}

std::vector<std::string> QtSettings::keys() const {
    std::vector<std::string> keys;
    for (const QString& key : settings_.allKeys()) {
        keys.push_back(toUTF8(key));
    }
    return keys;
}

}  // namespace corvel::ui
