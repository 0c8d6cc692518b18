#pragma once

#include "app/Settings.hpp"

#include <QSettings>

namespace corvel {

/// The user's settings in an INI file, `Corvel/Corvel.ini` in the configuration folder. Changes are written at once.
class QtSettings final : public Settings {
public:
    QtSettings();

    [[nodiscard]] std::optional<std::string> string(std::string_view key) const override;
    void set(std::string_view key, std::string_view value) override;
    [[nodiscard]] std::vector<std::string> keys() const override;

private:
    QSettings settings_;
};

}  // namespace corvel
