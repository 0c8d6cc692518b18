#include "program/window/ScratchStore.hpp"

#include "hosts/demo/DemoDevices.hpp"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

namespace corvel {

namespace {

std::filesystem::path makeFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "corvel-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), name);
    }
    return name;
}

}  // namespace

ScratchStore::ScratchStore()
    : folder_(makeFolder()), store_(std::make_shared<RouteStore>(folder_ / "demo-routes.json")) {
    store_->saveDocument(hosts::makeDemoDocument());
}

ScratchStore::~ScratchStore() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

}  // namespace corvel
