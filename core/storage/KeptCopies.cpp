#include "core/storage/KeptCopies.hpp"

#include "core/storage/AtomicFile.hpp"

#include <charconv>
#include <system_error>

namespace corvel {

using std::filesystem::path;

KeptCopies::KeptCopies(const path& file, std::string_view word) : first_(file) {
    first_ += std::string(".").append(word);
    const std::string firstName = first_.filename().native();
    const path folder = file.has_parent_path() ? file.parent_path() : path(".");
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string found = entry.path().filename().native();
        if (!found.starts_with(firstName)) {
            continue;
        }
        unsigned number = 1;
        if (found != firstName) {
            std::from_chars(found.data() + firstName.size() + 1, found.data() + found.size(), number);
        }
        if (name(number).filename() == found) {
            copies_.emplace(number, name(number));
        }
    }
}

std::optional<path> KeptCopies::holding(std::string_view bytes) const {
    for (const auto& [number, copy] : copies_) {
        try {
            if (readFile(copy, bytes.size()) == bytes) {
                return copy;
            }
        } catch (const std::system_error&) {
            // A larger or unreadable file has other content.
            continue;
        }
    }
    return std::nullopt;
}

path KeptCopies::nextName() const {
    return name(copies_.empty() ? 1 : copies_.rbegin()->first + 1);
}

void KeptCopies::makeRoom() const {
    auto surplus = copies_.size() + 1;
    for (auto copy = copies_.begin(); surplus > kMaxCount; ++copy, --surplus) {
        std::error_code ignored;
        std::filesystem::remove(copy->second, ignored);
    }
}

path KeptCopies::name(unsigned number) const {
    path name = first_;
    if (number != 1) {
        name += "-" + std::to_string(number);
    }
    return name;
}

}  // namespace corvel
