#include "tests/proof/ProofFixture.hpp"

#include <filesystem>
#include <iterator>

namespace corvel::tests {

TimedAnswer ProofFixture::ask(std::vector<std::string> arguments) const {
    arguments.insert(arguments.end(), {"--document", document().string()});
    return askInstance(folder_.path(), std::move(arguments));
}

std::size_t ProofFixture::descriptors() const {
    const std::filesystem::directory_iterator all("/proc/" + std::to_string(corvel_->pid()) + "/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

void ProofFixture::startWindow() {
    corvel_.emplace(std::vector<std::string>{"env", "XDG_CONFIG_HOME=" + folder_.path().string(),
                                             "QT_QPA_PLATFORM=offscreen", CORVEL_PROGRAM, "--midi", "alsa",
                                             "--document", document().string()});
    ASSERT_TRUE(waitUntil([this] { return ask({"--sets"}).exitCode == 0; }, 3 * kDeadline)) << corvel_->standardError();
}

}  // namespace corvel::tests
