#include "program/MainLoop.hpp"

#include <QCoreApplication>
#include <QTimer>

#include <chrono>

namespace corvel {

namespace {

/// Time limit for the last reports and lines at the end.
constexpr std::chrono::milliseconds kEndLimit{500};

}  // namespace

void runMainLoop(const Router& router, const TerminationSignals& termination, int (*exec)(),
                 const std::function<bool()>& isWritten) {
    // By a timer, because a signal that has already come would quit the loop before it runs, and be lost.
    QTimer end;
    end.setSingleShot(true);
    QObject::connect(&end, &QTimer::timeout, qApp, &QCoreApplication::quit);
    const auto watch = termination.watch([&end] { end.start(0); });
    exec();
    router.finish(kEndLimit, isWritten);
}

}  // namespace corvel
