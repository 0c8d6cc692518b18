#pragma once

#include <pthread.h>

namespace corvel {

/// The lock inside a queue that a real-time thread shares with ordinary threads.
///
/// Its holder runs at the priority of the most urgent waiting thread. Otherwise an ordinary thread that is interrupted
/// while it holds the lock would delay MIDI for as long as the machine is busy.
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

    // Named as the standard library's guards require.
    void lock() { pthread_mutex_lock(&mutex_); }
    void unlock() { pthread_mutex_unlock(&mutex_); }

private:
    pthread_mutex_t mutex_{};
};

}  // namespace corvel
