#pragma once

#include <memory>
#include <string>
#include <string_view>

struct UCollator;

namespace corvel {

/// Orders names by the rules of the user's language: accents count, letter case does not, and digits are compared one
/// by one.
class Collator {
public:
    /// The order of the locale in the user's environment.
    [[nodiscard]] static Collator forUser();

    /// The order of a locale ("sv_SE"). An empty name, "C", "POSIX" and "en_US_POSIX" give the order common to all
    /// languages: these locales would sort every capital before every small letter. Throws `std::runtime_error` if the
    /// machine's collation data cannot be read.
    explicit Collator(std::string_view locale);

    /// Bytes that compare as the texts do: equal if the texts differ only in case, otherwise less for the text that
    /// comes first. One thread at a time.
    [[nodiscard]] std::string sortKey(std::string_view text) const;

private:
    struct Close {
        void operator()(UCollator* collator) const;
    };

    std::unique_ptr<UCollator, Close> collator_;
};

}  // namespace corvel
