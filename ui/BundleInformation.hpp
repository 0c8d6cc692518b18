#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace corvel::ui {

/// The information about itself that the build wrote into the program.
class BundleInformation {
public:
    virtual ~BundleInformation() = default;

    /// The text under the key; no value if there is none or if it is not a text. Main thread.
    [[nodiscard]] virtual std::optional<std::string> string(std::string_view key) const = 0;
};

/// The information in the program's own resources, read again at each call.
[[nodiscard]] std::unique_ptr<const BundleInformation> makeMainBundleInformation();

}  // namespace corvel::ui
