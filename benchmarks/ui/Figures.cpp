#include "benchmarks/ui/Figures.hpp"

#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace corvel::benchmarks {

namespace {

double secondsOf(::clockid_t clock) {
    std::timespec time{};
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

}  // namespace

void printFigure(const std::string& what, double figure, const char* unit, std::optional<double> limit) {
    std::printf("%-50s %8.3f %s", what.c_str(), figure, unit);
    if (limit) {
        std::printf(", %.2f of the limit of %g", figure / *limit, *limit);
    }
    std::printf("\n");
}

double processorSeconds() {
    return secondsOf(CLOCK_PROCESS_CPUTIME_ID);
}

double threadProcessorSeconds() {
    return secondsOf(CLOCK_THREAD_CPUTIME_ID);
}

void printPercentiles(const std::string& what, std::vector<double> values, const char* unit,
                      std::optional<double> limit) {
    std::ranges::sort(values);
    printFigure(what + ", p50", values[values.size() / 2], unit, limit);
    printFigure(what + ", p99", values[values.size() * 99 / 100], unit, limit);
}

void runLoop(std::chrono::milliseconds duration) {
    QEventLoop loop;
    QTimer::singleShot(duration, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

}  // namespace corvel::benchmarks
