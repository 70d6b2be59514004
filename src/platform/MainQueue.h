#pragma once

#include <functional>

// The main thread's job queue. Jobs run later, in order, inside the guard; never a sleep.
class MainQueue {
public:
    using Job = std::function<void()>;
    using PlainJob = void (*)();

    // Queue a job for a later turn of the event loop; callable from any thread.
    static void async(Job job);
    // Run a job on the main thread after `seconds`; call from the main thread.
    static void after(double seconds, Job job);
    // For threads that must not allocate or lock (MIDI input): a bounded lock-free ring of
    // plain functions, drained in order on the main thread. Call install() first, on the main
    // thread, once a QCoreApplication exists.
    static void asyncPlain(PlainJob job) noexcept;
    static void install();
};
