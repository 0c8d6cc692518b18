// Names of devices are chosen by other programs. Whatever they contain, they are shown as text in one line.

#include "tests/proof/ProofFixture.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <memory>
#include <sstream>

namespace corvel::tests {

namespace {

constexpr std::size_t kMaxName = 63;
constexpr unsigned kLeastRandomNames = 20;
constexpr unsigned kMaxPortsOfClient = 200;

/// Characters that a terminal or a window would not show as they are: controls, marks that turn the direction of text,
/// and characters without a width.
bool hasInvisible(const std::string& line) {
    static const std::vector<std::string> kInvisible{"\u200B", "\u200E", "\u200F", "\u202A", "\u202B",
                                                     "\u202D", "\u202E", "\u2066", "\u2067", "\u2068",
                                                     "\u2069", "\uFEFF", "\u0085", "\u2028", "\u2029"};
    return std::any_of(line.begin(), line.end(),
                       [](char byte) {
                           const auto value = static_cast<unsigned char>(byte);
                           return (value < 0x20 && byte != '\t') || value == 0x7F;
                       }) ||
           std::any_of(kInvisible.begin(), kInvisible.end(),
                       [&](const std::string& text) { return line.find(text) != std::string::npos; });
}

bool isUTF8(const std::string& text) {
    // The library throws for a text that is not UTF-8.
    try {
        return !nlohmann::json(text).dump().empty();
    } catch (const nlohmann::json::exception&) {
        return false;
    }
}

class NameProof : public ProofFixture {
protected:
    /// Names with each byte, names that are markup, commands or escape sequences for other programs, and random bytes.
    std::vector<std::string> names() {
        std::vector<std::string> all;
        for (int byte = 1; byte < 256; ++byte) {
            all.push_back("Byte " + std::string(1, static_cast<char>(byte)) + " end");
        }
        for (const char* name : {" ",
                                 "",
                                 "%s%n%d",
                                 "<b>bold</b><img src=x>",
                                 "&amp;",
                                 "\"quoted\"",
                                 "{\"json\": [",
                                 "a\nb",
                                 "a\r\nb",
                                 "a\tb",
                                 "\u202Eeman",
                                 "\u200B",
                                 "\u05E9\u05DC\u05D5\u05DD",
                                 "\u0645\u0631\u062D\u0628\u0627",
                                 "../../etc/passwd",
                                 "$(reboot)",
                                 "`reboot`",
                                 "--headless",
                                 "\x1B[2J\x1B]0;title\x07",
                                 "\xC3",
                                 "\xE2\x82",
                                 "\xF0\x9F\x8E\xB9",
                                 "\xED\xA0\x80",
                                 "\xC0\x80",
                                 "e\u0301\u0301\u0301\u0301\u0301\u0301"}) {
            all.emplace_back(name);
        }
        all.emplace_back(kMaxName, 'W');
        for (unsigned count = kLeastRandomNames * scale(); count > 0; --count) {
            std::string name(random_.below(kMaxName) + 1, ' ');
            std::generate(name.begin(), name.end(), [&] { return static_cast<char>(random_.below(255) + 1); });
            all.push_back(name);
        }
        return all;
    }
};

TEST_F(NameProof, EveryNameIsShownAsTextInOneLine) {
    const std::vector<std::string> all = names();
    std::vector<std::unique_ptr<SequencerPeer>> devices;
    std::vector<SequencerAddress> ports;
    SequencerPeer keyboard("Stage Keyboard");
    const SequencerAddress keys = keyboard.addPort("Out", SequencerPeer::kSource);
    for (const std::string& name : all) {
        if (ports.size() % kMaxPortsOfClient == 0) {
            devices.push_back(std::make_unique<SequencerPeer>("Client " + name));
        }
        ports.push_back(devices.back()->addPort(name, SequencerPeer::kDestination));
    }
    SequencerPeer probe("Probe");
    const auto endpoints =
        static_cast<std::size_t>(std::ranges::count_if(probe.ports(), [&](const SequencerPort& port) {
            return std::find(ports.begin(), ports.end(), port.address) != ports.end();
        }));
    ASSERT_EQ(endpoints, all.size());

    ChildProcess list({CORVEL_PROGRAM, "--list", "--midi", "alsa"});
    ASSERT_EQ(list.wait(kDeadline), 0) << list.standardError();
    ChildProcess json({CORVEL_PROGRAM, "--list", "--json", "--midi", "alsa"});
    ASSERT_EQ(json.wait(kDeadline), 0) << json.standardError();
    nlohmann::json found;
    try {
        found = nlohmann::json::parse(json.standardOutput());
    } catch (const nlohmann::json::exception& error) {
        ADD_FAILURE() << error.what();
    }
    report("The list as JSON is valid JSON in UTF-8", 1, found.is_null() ? 0 : 1);
    ASSERT_FALSE(found.is_null());

    const std::size_t listed = found["destinations"].size() + found["sources"].size();
    std::istringstream lines(list.standardOutput());
    std::size_t rows = 0;
    std::size_t plain = 0;
    std::string unclean;
    for (std::string line; std::getline(lines, line);) {
        ++rows;
        if (!hasInvisible(line) && isUTF8(line)) {
            ++plain;
        } else {
            unclean = line;
        }
    }
    report("Each line of the list is plain text", rows, plain, unclean);
    // A heading or an empty line may stand between them, but no name may add a line.
    constexpr std::size_t kMaxHeadings = 6;
    report("Each endpoint has one line in the list", 1, rows >= listed && rows <= listed + kMaxHeadings ? 1 : 0,
           std::to_string(listed) + " endpoints, " + std::to_string(rows) + " lines");

    // One message to many of these destinations.
    const nlohmann::json& destinations = found["destinations"];
    constexpr std::size_t kMaxConnections = 90;
    const std::size_t step = destinations.size() / kMaxConnections + 1;
    std::size_t connections = 0;
    for (std::size_t index = random_.below(step); index < destinations.size(); index += step, ++connections) {
        file_.add({.sourceID = sourceID("Stage Keyboard"),
                   .destinationID = destinations[index].at("id").get<std::int32_t>()});
    }
    ASSERT_NO_FATAL_FAILURE(start({"--monitor"}));
    ASSERT_TRUE(waitUntilHeard(keyboard, keys));
    keyboard.playNumberedNotes(keys, 0, 1);
    const auto written = [&] {
        const std::string& text = corvel_->standardOutput();
        return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    };
    EXPECT_TRUE(waitUntil([&] { return written() >= connections; })) << written() << " of " << connections;
    std::istringstream monitor(corvel_->standardOutput());
    std::size_t clean = 0;
    for (std::string line; std::getline(monitor, line);) {
        clean += std::count(line.begin(), line.end(), '\t') == 4 && !hasInvisible(line) && isUTF8(line) ? 1 : 0;
    }
    report("A routed message is one plain line, whatever the name", connections, std::min(clean, connections),
           std::to_string(written()) + " lines");
    terminate();
}

}  // namespace

}  // namespace corvel::tests
