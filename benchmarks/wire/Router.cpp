#include "benchmarks/wire/Router.hpp"

#include "tests/support/ChildProcess.hpp"
#include "tests/support/ConnectionsFile.hpp"

#include <stdexcept>

namespace corvel::benchmarks {

namespace {

constexpr const char* kMidish = "/usr/bin/midish";

std::string text(tests::SequencerAddress address) {
    return std::to_string(address.client) + ":" + std::to_string(address.port);
}

/// Removes a subscription; the ports may no longer exist.
class KernelSubscription {
public:
    KernelSubscription(tests::SequencerPeer& sender, tests::SequencerAddress source,
                       tests::SequencerAddress destination)
        : sender_(sender), source_(source), destination_(destination) {
        if (sender.connect(source, destination) < 0) {
            throw std::runtime_error("the kernel refused the subscription");
        }
    }
    KernelSubscription(const KernelSubscription&) = delete;
    KernelSubscription& operator=(const KernelSubscription&) = delete;
    ~KernelSubscription() { sender_.disconnect(source_, destination_); }

private:
    tests::SequencerPeer& sender_;
    tests::SequencerAddress source_;
    tests::SequencerAddress destination_;
};

RunningRouter startProgram(const std::vector<std::string>& arguments, const std::string& input = {}) {
    const auto process = std::make_shared<tests::ChildProcess>(arguments, input);
    return {process, process->pid()};
}

RunningRouter startMinimalRouter(const std::filesystem::path& program, tests::SequencerAddress source,
                                 tests::SequencerAddress destination) {
    return startProgram({program.string(), text(source), text(destination), std::to_string(kForcedChannel)});
}

RunningRouter startMidish(tests::SequencerAddress source, tests::SequencerAddress destination) {
    // Its channels count from 0; "i" passes the input through the filter until the input ends.
    const std::string commands = "dnew 0 \"" + text(source) + "\" ro\n" +                                     //
                                 "dnew 1 \"" + text(destination) + "\" wo\n" +                                //
                                 "fnew wire\n" +                                                              //
                                 "fmap {any {0 0}} {any {1 " + std::to_string(kForcedChannel - 1) + "}}\n" +  //
                                 "i\n";
    return startProgram({kMidish, "-b"}, commands);
}

RunningRouter startCorvel(const std::filesystem::path& program) {
    const std::filesystem::path document = std::filesystem::temp_directory_path() / "wire-routes.json";
    tests::ConnectionsFile file;
    file.add({.sourceID = tests::endpointID("source", kSenderName, 0, kPortName),
              .destinationID = tests::endpointID("destination", kReceiverName, 0, kPortName),
              .forcedChannel = kForcedChannel});
    file.write(document);
    return startProgram({program.string(), "--headless", "--midi", "alsa", "--document", document.string()});
}

}  // namespace

std::vector<Router> makeRouters(const std::filesystem::path& programs, const std::filesystem::path& corvel) {
    const std::filesystem::path minimalRouter = programs / "minimal_router";
    // Checked, because a missing program would otherwise be left out of the comparison unnoticed.
    for (const std::filesystem::path& program : {minimalRouter, std::filesystem::path(kMidish), corvel}) {
        if (!std::filesystem::exists(program)) {
            throw std::runtime_error(program.string() + " is missing");
        }
    }
    return {{"kernel subscription",
             [](auto& sender, auto source, auto destination) -> RunningRouter {
                 return {std::make_shared<KernelSubscription>(sender, source, destination)};
             }},
            {"minimal router",
             [minimalRouter](auto&, auto source, auto destination) {
                 return startMinimalRouter(minimalRouter, source, destination);
             }},
            {kMidishName, [](auto&, auto source, auto destination) { return startMidish(source, destination); }},
            {kCorvelName, [corvel](auto&, auto, auto) { return startCorvel(corvel); }}};
}

}  // namespace corvel::benchmarks
