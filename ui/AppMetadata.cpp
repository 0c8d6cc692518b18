#include "ui/AppMetadata.hpp"

namespace corvel::ui::AppMetadata {

std::string version(const BundleInformation& bundle) {
    return bundle.string("CFBundleShortVersionString").value_or("1.0.0");
}

std::string build(const BundleInformation& bundle) {
    return bundle.string("CFBundleVersion").value_or("1");
}

}  // namespace corvel::ui::AppMetadata
