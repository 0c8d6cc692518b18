#include "ui/RouterWindow/PoolThreadPainting.hpp"

#include <QThreadPool>

#include <atomic>
#include <semaphore>

namespace corvel::ui {

namespace {

// The thread sanitizer does not see how the pool passes tasks on, so an atomic passes this one.
std::atomic<const std::function<void()>*> task = nullptr;
std::binary_semaphore isDone(0);

}  // namespace

void paintOnPoolThread(const std::function<void()>& paint) {
    task = &paint;
    QThreadPool::globalInstance()->start([] {
        (*task.load())();
        isDone.release();
    });
    isDone.acquire();
}

}  // namespace corvel::ui
