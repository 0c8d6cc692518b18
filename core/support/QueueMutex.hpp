#pragma once

#include <pthread.h>

namespace corvel {

/// The lock inside a queue that a real-time thread shares with ordinary ones.
///
/// Whoever holds it runs at the priority of the most urgent thread that waits for it: otherwise an ordinary thread that
/// is interrupted while it holds the lock would hold up MIDI for as long as the machine is busy with something else.
class QueueMutex {
public:
    QueueMutex() {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
        pthread_mutex_init(&mutex_, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    QueueMutex(const QueueMutex&) = delete;
    QueueMutex& operator=(const QueueMutex&) = delete;
    ~QueueMutex() { pthread_mutex_destroy(&mutex_); }

    // The names that the standard library's guards expect.
    void lock() { pthread_mutex_lock(&mutex_); }
    void unlock() { pthread_mutex_unlock(&mutex_); }

private:
    pthread_mutex_t mutex_{};
};

}  // namespace corvel
