#pragma once

#include <functional>

// The main thread's serial job queue: jobs from every thread run later, one at a time, in the
// order they were queued, inside the guard; never a sleep.
class MainQueue {
public:
    using Job = std::function<void()>;
    using PlainJob = void (*)(void* context);

    // Queue a job for a later turn of the event loop; callable from any thread.
    static void async(Job job);
    // Queue a job after `seconds` (behind whatever is queued by then); call from the main thread.
    static void after(double seconds, Job job);
    // For threads that must not allocate (MIDI input): the same queue, through a lock-free ring
    // (and a preallocated overflow when it is full); `job` runs with `context`. Dropped until
    // install() has run.
    static void asyncPlain(PlainJob job, void* context) noexcept;
    // On the main thread, once nothing queues for `context` any more (its owner is going):
    // the plain jobs still waiting for it are dropped, the rest run as queued.
    static void cancel(void* context);
    // Call once on the main thread when a QCoreApplication exists (async does it by itself).
    static void install();
};
