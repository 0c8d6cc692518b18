#include "program/QtSettings.hpp"

#include <QString>
#include <QStringList>
#include <QVariant>

namespace corvel {

namespace {

QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

QtSettings::QtSettings()
    : settings_(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Corvel"), QStringLiteral("Corvel")) {}

std::optional<std::string> QtSettings::string(std::string_view key) const {
    const QVariant value = settings_.value(toQString(key));
    return value.isValid() ? std::optional(value.toString().toStdString()) : std::nullopt;
}

void QtSettings::set(std::string_view key, std::string_view value) {
    settings_.setValue(toQString(key), toQString(value));
    settings_.sync();
}

std::vector<std::string> QtSettings::keys() const {
    std::vector<std::string> keys;
    for (const QString& key : settings_.allKeys()) {
        keys.push_back(key.toStdString());
    }
    return keys;
}

}  // namespace corvel
