#include "tests/proof/Performer.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <utility>

namespace corvel::tests {

namespace {

constexpr const char* kFirstSet = "Stage";
constexpr const char* kSecondSet = "Encore";
constexpr std::chrono::seconds kBetweenChanges{5};

}  // namespace

void addEncore(const std::filesystem::path& document) {
    nlohmann::json sets = nlohmann::json::parse(std::ifstream(document));
    sets["routeSets"][0]["name"] = kFirstSet;
    nlohmann::json encore = sets["routeSets"][0];
    encore["id"] = "BBBBBBBB-0000-4000-8000-000000000000";
    encore["name"] = kSecondSet;
    sets["routeSets"].push_back(encore);
    std::ofstream(document) << sets.dump();
}

Performer::Performer(Ask ask, std::chrono::milliseconds interval)
    : ask_(std::move(ask)), interval_(interval), thread_([this] { run(); }) {}

Performer::~Performer() {
    end();
}

void Performer::end() {
    isToEnd_ = true;
    if (thread_.joinable()) {
        thread_.join();
    }
}

void Performer::run() {
    using std::chrono::steady_clock;
    auto nextChange = steady_clock::now() + kBetweenChanges;
    for (auto next = steady_clock::now(); !isToEnd_; next += interval_) {
        std::this_thread::sleep_until(next);
        if (next >= nextChange) {
            nextChange += kBetweenChanges;
            changed_ += ask_({"--set", changes_ % 2 == 0 ? kSecondSet : kFirstSet}).exitCode == 0 ? 1 : 0;
            ++changes_;
        }
        const TimedAnswer answer = ask_({"--sets"});
        unanswered_ += answer.exitCode == 0 ? 0 : 1;
        answers_.push_back(answer.duration);
    }
}

void Performer::report(const std::string& promise, std::chrono::milliseconds maxAbsence) {
    end();
    tests::report("Sets change when they are asked to", changes_, changed_);
    const auto late =
        std::count_if(answers_.begin(), answers_.end(), [&](auto duration) { return duration > limit(maxAbsence); });
    std::sort(answers_.begin(), answers_.end());
    const auto inTime = answers_.size() - std::min(answers_.size(), static_cast<std::size_t>(late) + unanswered_);
    tests::report(promise, answers_.size(), inTime,
                  "half of the answers within " + std::to_string(answers_.at(answers_.size() / 2).count()) +
                      " ms, slowest " + std::to_string(answers_.back().count()) + " ms");
}

}  // namespace corvel::tests
