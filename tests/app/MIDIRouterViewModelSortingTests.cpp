#include "tests/app/ModelFixture.hpp"

#include <unicode/uloc.h>

#include <string>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;

/// Makes a locale the process's default, as if the user had started the program with it. Needed because the library
/// reads the environment only once.
class ScopedLocale {
public:
    explicit ScopedLocale(const std::string& locale) { set(locale); }
    ~ScopedLocale() { set(previous_); }
    ScopedLocale(const ScopedLocale&) = delete;
    ScopedLocale& operator=(const ScopedLocale&) = delete;

private:
    static void set(const std::string& locale) {
        UErrorCode status = U_ZERO_ERROR;
        uloc_setDefault(locale.c_str(), &status);
        EXPECT_EQ(status, U_ZERO_ERROR) << locale;
    }

    const std::string previous_ = uloc_getDefault();
};

/// The order of the endpoint lists in different languages.
class MIDIRouterViewModelSorting : public ModelFixture {
protected:
    /// The names in the order of a model that was started in this locale; equal names keep the given order.
    [[nodiscard]] std::vector<std::string> sortedIn(const std::string& locale, const std::vector<std::string>& names) {
        const ScopedLocale scoped(locale);
        host->sources.clear();
        host->destinations.clear();
        MIDIObjectRef ref = 100;
        for (const std::string& name : names) {
            host->addSource(ref, {.displayName = name, .uniqueID = static_cast<std::int32_t>(ref)});
            host->addDestination(ref + 1000, {.displayName = name, .uniqueID = static_cast<std::int32_t>(ref)});
            ++ref;
        }
        makeModel();
        model->applyEndpointSnapshot();
        std::vector<std::string> sources;
        for (const MIDIEndpointModel& endpoint : model->sources()) {
            sources.push_back(endpoint.displayName);
        }
        std::vector<std::string> destinations;
        for (const MIDIEndpointModel& endpoint : model->destinations()) {
            destinations.push_back(endpoint.displayName);
        }
        EXPECT_EQ(sources, destinations) << "both lists are in the same order";
        return sources;
    }
};

TEST_F(MIDIRouterViewModelSorting, PutsAppleBeforeZooInEveryPlainLocale) {
    for (const char* const locale : {"C", "en_US_POSIX", "en_US", "root"}) {
        EXPECT_THAT(sortedIn(locale, {"Zoo", "apple", "Mango", "banana"}),
                    ElementsAre("apple", "banana", "Mango", "Zoo"))
            << locale;
    }
}

TEST_F(MIDIRouterViewModelSorting, TellsAccentsApartButNotCase) {
    EXPECT_THAT(sortedIn("en_US_POSIX", {"\u00C9tude", "etude", "\u00E9tude", "Etude", "eta"}),
                ElementsAre("eta", "etude", "Etude", "\u00C9tude", "\u00E9tude"))
        << "names that differ in case only stay as the engine lists them";
    EXPECT_THAT(sortedIn("en_US_POSIX", {"\u00E9tude", "Etude", "\u00C9tude", "etude", "eta"}),
                ElementsAre("eta", "Etude", "etude", "\u00E9tude", "\u00C9tude"));
}

TEST_F(MIDIRouterViewModelSorting, ComparesDigitsOneByOne) {
    EXPECT_THAT(sortedIn("en_US_POSIX", {"Port 2", "Port 10", "port 1"}), ElementsAre("port 1", "Port 10", "Port 2"));
}

TEST_F(MIDIRouterViewModelSorting, FollowsTheUsersLanguage) {
    EXPECT_THAT(sortedIn("sv_SE", {"\u00D6rgel", "Zither", "Oboe"}), ElementsAre("Oboe", "Zither", "\u00D6rgel"));
    EXPECT_THAT(sortedIn("de_DE", {"Zither", "\u00D6rgel", "Oboe"}), ElementsAre("Oboe", "\u00D6rgel", "Zither"));
}

TEST_F(MIDIRouterViewModelSorting, PutsANamelessEndpointFirstAndKeepsTheOrderOfEqualNames) {
    EXPECT_THAT(sortedIn("en_US_POSIX", {"b", "", "B", "a", "A", "b"}), ElementsAre("", "a", "A", "b", "B", "b"));
    EXPECT_EQ(model->sources()[3].id, 100);
    EXPECT_EQ(model->sources()[4].id, 102);
    EXPECT_EQ(model->sources()[5].id, 105);
}

}  // namespace
}  // namespace corvel::tests
