#pragma once

#include "core/storage/RouteStore.hpp"

#include <filesystem>
#include <memory>

namespace corvel {

/// A store of the demo's connections in a temporary folder, which is deleted with this object.
class ScratchStore {
public:
    /// Throws `std::system_error` or `RouteStoreError` if temporary files cannot be written.
    ScratchStore();
    ScratchStore(const ScratchStore&) = delete;
    ScratchStore& operator=(const ScratchStore&) = delete;
    ~ScratchStore();

    [[nodiscard]] const std::shared_ptr<RouteStore>& store() const { return store_; }

private:
    std::filesystem::path folder_;
    std::shared_ptr<RouteStore> store_;
};

}  // namespace corvel
