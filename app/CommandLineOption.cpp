#include "app/CommandLineOption.hpp"

#include <algorithm>
#include <array>

namespace corvel {

namespace {

using Kind = OptionValue::Kind;
using Role = CommandLineOption::Role;

constexpr auto kOfHeadless = std::to_array<std::string_view>({"--headless"});
constexpr auto kOfList = std::to_array<std::string_view>({"--list"});
constexpr auto kOfConnect = std::to_array<std::string_view>({"--connect"});
constexpr auto kOfScreenshot = std::to_array<std::string_view>({"--screenshot"});
/// The commands that work on the connection sets.
constexpr auto kOnDocuments = std::to_array<std::string_view>(
    {kWindowCommand, "--headless", "--connect", "--disconnect", "--set", "--sets", "--all-notes-off"});

constexpr auto kChannels = std::to_array<std::string_view>(
    {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12", "13", "14", "15", "16"});
constexpr auto kAppearances = std::to_array<std::string_view>({"light", "dark"});
constexpr auto kServices = std::to_array<std::string_view>({"auto", "alsa", "jack", "alsa,jack", "demo"});

constexpr std::array<OptionValue, 2> kEndpoints{
    {{.name = "SOURCE", .kind = Kind::source}, {.name = "DESTINATION", .kind = Kind::destination}}};
constexpr std::array<OptionValue, 1> kChannel{{{.name = "N", .choices = kChannels}}};
constexpr std::array<OptionValue, 1> kSet{{{.name = "NAME", .kind = Kind::set}}};
constexpr std::array<OptionValue, 1> kFile{{{.name = "FILE", .kind = Kind::file}}};
constexpr std::array<OptionValue, 1> kSize{{{.name = "WxH"}}};
constexpr std::array<OptionValue, 1> kScale{{{.name = "S"}}};
constexpr std::array<OptionValue, 1> kAppearance{{{.name = "light|dark", .choices = kAppearances}}};
constexpr std::array<OptionValue, 1> kService{{{.name = "SERVICE", .choices = kServices}}};

constexpr std::array<CommandLineOption, 18> kOptions{{
    {.name = "--headless",
     .role = Role::command,
     .summary = "Route the current connections without a window",
     .details = "Ends on SIGINT, SIGTERM or SIGHUP. Diagnostics go to standard error."},
    {.name = "--monitor",
     .commands = kOfHeadless,
     .summary = "Write each routed message to standard output",
     .details = "One line each: time, source, destination, kind and bytes in hexadecimal, separated by tabs."},
    {.name = "--list", .role = Role::command, .summary = "List the MIDI sources and destinations"},
    {.name = "--json", .commands = kOfList, .summary = "List them as JSON"},
    {.name = "--connect",
     .role = Role::command,
     .values = kEndpoints,
     .summary = "Add a connection to the current set",
     .details = "SOURCE and DESTINATION are names as --list shows them, or IDs. Numbers are IDs."},
    {.name = "--channel",
     .values = kChannel,
     .commands = kOfConnect,
     .summary = "Force the connection onto a channel from 1 to 16",
     .details = "A connection that exists already changes to that channel."},
    {.name = "--disconnect",
     .role = Role::command,
     .values = kEndpoints,
     .summary = "Delete a connection of the current set"},
    {.name = "--set",
     .role = Role::command,
     .values = kSet,
     .summary = "Make another connection set the current one, by name or ID"},
    {.name = "--sets", .role = Role::command, .summary = "List the connection sets, the current one marked with *"},
    {.name = "--all-notes-off",
     .role = Role::command,
     .summary = "Silence every output of the current set",
     .details = "Sends sustain off, All Notes Off and All Sound Off on all channels."},
    {.name = "--screenshot",
     .role = Role::command,
     .values = kFile,
     .summary = "Draw the window with the demo devices into a PNG file",
     .details = "Needs no display."},
    {.name = "--size",
     .values = kSize,
     .commands = kOfScreenshot,
     .summary = "Size of the window in points",
     .details = "980x640 to 7680x4320; 1180x760 by default."},
    {.name = "--scale",
     .values = kScale,
     .commands = kOfScreenshot,
     .summary = "Pixels per point",
     .details = "1 to 4, decimals allowed; 1 by default."},
    {.name = "--appearance",
     .values = kAppearance,
     .commands = kOfScreenshot,
     .summary = "Appearance of the window",
     .details = "Dark by default."},
    {.name = "--midi",
     .values = kService,
     .summary = "The MIDI services",
     .details = "alsa: the ALSA sequencer. jack: JACK or PipeWire. alsa,jack: both. demo: devices in memory that play "
                "by themselves, with sets of their own. auto (the default): both, or the demo if there is neither."},
    {.name = "--document",
     .values = kFile,
     .commands = kOnDocuments,
     .summary = "Use this connections file instead of the default one"},
    {.name = "--version", .role = Role::information, .summary = "Print the version"},
    {.name = "--help", .shortName = "-h", .role = Role::information, .summary = "Print a summary of the options"},
}};

constexpr auto kNotes = std::to_array<std::string_view>({
    "Only one instance of Corvel runs at a time, with or without its window: a second start brings the window forward. "
    "The running instance carries out --connect, --disconnect, --set, --sets and --all-notes-off, unless --document "
    "names a file that it does not use. If no instance runs, these commands work on your saved connections, and only "
    "--connect and --all-notes-off need MIDI. With --midi demo, Corvel runs independently of other instances.",
    "If there is no sequencer, --midi alsa opens the window with your own sets.",
});

}  // namespace

std::span<const CommandLineOption> commandLineOptions() {
    return kOptions;
}

std::span<const std::string_view> commandLineNotes() {
    return kNotes;
}

bool isDetailOf(const CommandLineOption& option, std::string_view command) {
    return option.role == CommandLineOption::Role::detail &&
           (option.commands.empty() || std::ranges::find(option.commands, command) != option.commands.end());
}

std::string_view onlyCommandOf(const CommandLineOption& option) {
    return option.commands.size() == 1 ? option.commands.front() : std::string_view();
}

}  // namespace corvel
