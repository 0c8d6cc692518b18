#include "benchmarks/jack/TimedJackLibrary.hpp"

#include "hosts/jack/LibJack.hpp"

#include <algorithm>
#include <ctime>
#include <string_view>
#include <utility>

namespace corvel::benchmarks {

namespace {

std::int64_t threadNanoseconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

class TimedJackLibrary final : public hosts::JackLibrary {
public:
    TimedJackLibrary(std::shared_ptr<CallbackTimes> times, std::int64_t limit)
        : times_(std::move(times)), limit_(limit) {}

    std::unique_ptr<hosts::JackClient> open(std::string_view name, hosts::JackEvents events) override {
        events.process = [times = times_, limit = limit_, process = std::move(events.process)](
                             hosts::JackBuffers& buffers, std::uint32_t frames) {
            const std::int64_t start = threadNanoseconds();
            process(buffers, frames);
            const std::int64_t spent = threadNanoseconds() - start;
            ++times->periods;
            times->sum += spent;
            times->beyond += spent > limit ? 1 : 0;
            times->maximum = std::max<std::int64_t>(times->maximum, spent);
        };
        return library_->open(name, std::move(events));
    }

private:
    std::shared_ptr<hosts::JackLibrary> library_ = hosts::makeLibJack();
    std::shared_ptr<CallbackTimes> times_;
    std::int64_t limit_;
};

}  // namespace

std::shared_ptr<hosts::JackLibrary> makeTimedJackLibrary(std::shared_ptr<CallbackTimes> times, std::int64_t limit) {
    return std::make_shared<TimedJackLibrary>(std::move(times), limit);
}

}  // namespace corvel::benchmarks
