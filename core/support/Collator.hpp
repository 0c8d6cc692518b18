#pragma once

#include <memory>
#include <string>
#include <string_view>

struct UCollator;

namespace corvel {

/// Orders names as the user's language does: accents count, letter case does not, and digits are compared one
/// by one.
class Collator {
public:
    /// The order of the locale that the user's environment names.
    [[nodiscard]] static Collator forUser();

    /// The order of a locale ("sv_SE"). No name, "C", "POSIX" and "en_US_POSIX" mean the order common to all
    /// languages: theirs would put every capital before every small letter. Throws `std::runtime_error` when
    /// the machine's collation data cannot be read.
    explicit Collator(std::string_view locale);

    /// Bytes that compare as the texts do: equal for texts that differ only in case, less for the text that
    /// comes first. One thread at a time.
    [[nodiscard]] std::string sortKey(std::string_view text) const;

private:
    struct Close {
        void operator()(UCollator* collator) const;
    };

    std::unique_ptr<UCollator, Close> collator_;
};

}  // namespace corvel
