#include "program/OpenStore.hpp"

#include "app/DocumentProblem.hpp"
#include "hosts/demo/DemoDevices.hpp"
#include "program/Console.hpp"

#include <string>
#include <system_error>

namespace corvel {

namespace {

std::filesystem::path demoFile() {
    return RouteStore::defaultFileURL().replace_filename("demo-routes.json");
}

}  // namespace

std::shared_ptr<RouteStore> openStore(const std::optional<std::filesystem::path>& document, bool isDemo) {
    const std::filesystem::path file = document.value_or(isDemo ? demoFile() : RouteStore::defaultFileURL());
    auto store = std::make_shared<RouteStore>(file);
    std::error_code error;
    const bool isMissing = std::filesystem::symlink_status(file, error).type() == std::filesystem::file_type::not_found;
    if (isDemo && !document && isMissing) {
        try {
            store->saveDocument(hosts::makeDemoDocument());
        } catch (const RouteStoreError& failure) {
            printError(std::string(failure.what()) + "; an empty set is used");
        }
        return store;
    }
    // A first start has no document at the usual place, which is nothing to speak of.
    const auto problem = isMissing && !document ? std::nullopt : documentProblem(file);
    if (problem) {
        printError(file.string() + ": " + *problem +
                   (store->load().empty() ? "; an empty set is used" : "; the older installation's sets are used"));
    }
    return store;
}

}  // namespace corvel
