#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace corvel {

/// The copies of a file that were kept in its folder when it was replaced: "routes.json.kept", "routes.json.kept-2" and
/// so on. The newest has the highest number.
class KeptCopies {
public:
    /// Maximum number of copies; the oldest are removed.
    static constexpr std::size_t kMaxCount = 20;

    /// Lists the copies of the file with this word ("kept") in their names. Throws `std::system_error`.
    KeptCopies(const std::filesystem::path& file, std::string_view word);

    /// The copy with this content.
    [[nodiscard]] std::optional<std::filesystem::path> holding(std::string_view bytes) const;

    /// The name for the next copy.
    [[nodiscard]] std::filesystem::path nextName() const;

    /// Removes the oldest copies so that one more stays within the maximum. A failure is ignored.
    void makeRoom() const;

private:
    [[nodiscard]] std::filesystem::path name(unsigned number) const;

    std::filesystem::path first_;
    std::map<unsigned, std::filesystem::path> copies_;
};

}  // namespace corvel
