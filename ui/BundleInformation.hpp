#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace corvel::ui {

/// What the build wrote into the program about itself.
class BundleInformation {
public:
    virtual ~BundleInformation() = default;

    /// The text under the key; no value where there is none, or something that is not a text. Main thread.
    [[nodiscard]] virtual std::optional<std::string> string(std::string_view key) const = 0;
};

/// The information in the program's own resources, read afresh at each call.
[[nodiscard]] std::unique_ptr<const BundleInformation> makeMainBundleInformation();

}  // namespace corvel::ui
