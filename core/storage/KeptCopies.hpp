#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace corvel {

/// The files that once stood in a file's place and were kept beside it when it was replaced: "routes.json.kept",
/// "routes.json.kept-2" and so on, the newest with the highest number.
class KeptCopies {
public:
    /// Older copies give way.
    static constexpr std::size_t kMaxCount = 20;

    /// Lists the copies of the file with this word ("kept") in their names. Throws `std::system_error`.
    KeptCopies(const std::filesystem::path& file, std::string_view word);

    /// The copy that has this content.
    [[nodiscard]] std::optional<std::filesystem::path> holding(std::string_view bytes) const;

    /// The name for one more copy.
    [[nodiscard]] std::filesystem::path nextName() const;

    /// Removes the oldest, so that with one more the maximum is not exceeded. A failure is ignored.
    void makeRoom() const;

private:
    [[nodiscard]] std::filesystem::path name(unsigned number) const;

    std::filesystem::path first_;
    std::map<unsigned, std::filesystem::path> copies_;
};

}  // namespace corvel
