#include "program/OpenStore.hpp"

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
    // At a first start there is no document at the default path, which is not a problem.
    const auto missing = document ? RouteStore::MissingFile::isAProblem : RouteStore::MissingFile::isNormal;
    auto store = std::make_shared<RouteStore>(file, std::nullopt, missing);
    std::error_code error;
    if (isDemo && !document &&
        std::filesystem::symlink_status(file, error).type() == std::filesystem::file_type::not_found) {
        try {
            store->saveDocument(hosts::makeDemoDocument());
        } catch (const RouteStoreError& failure) {
            printError(std::string(failure.what()) + "; an empty set is used");
        }
        return store;
    }
    static_cast<void>(store->loadDocument());
    if (store->loadProblem()) {
        printError(*store->loadProblem());
    }
    return store;
}

}  // namespace corvel
