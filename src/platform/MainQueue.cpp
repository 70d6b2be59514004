#include "platform/MainQueue.h"

#include "platform/Guard.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>
#include <array>
#include <atomic>
#include <cmath>
#include <memory>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

// Bounded multi-producer, single-consumer ring (per-slot sequence numbers).
class PlainJobRing {
public:
    PlainJobRing() {
        for (size_t i = 0; i < kSize; ++i)
            slots_[i].seq.store(i, std::memory_order_relaxed);
    }
    bool push(MainQueue::PlainJob job) noexcept {
        size_t pos = tail_.load(std::memory_order_relaxed);
        for (;;) {
            Slot& s = slots_[pos & (kSize - 1)];
            size_t seq = s.seq.load(std::memory_order_acquire);
            auto diff = static_cast<std::ptrdiff_t>(seq) - static_cast<std::ptrdiff_t>(pos);
            if (diff == 0) {
                if (tail_.compare_exchange_weak(pos, pos + 1, std::memory_order_relaxed)) {
                    s.job = job;
                    s.seq.store(pos + 1, std::memory_order_release);
                    return true;
                }
            } else if (diff < 0) {
                return false; // full
            } else {
                pos = tail_.load(std::memory_order_relaxed);
            }
        }
    }
    MainQueue::PlainJob pop() noexcept {
        Slot& s = slots_[head_ & (kSize - 1)];
        if (s.seq.load(std::memory_order_acquire) != head_ + 1) return nullptr;
        auto job = s.job;
        s.seq.store(head_ + kSize, std::memory_order_release);
        ++head_;
        return job;
    }

private:
    static constexpr size_t kSize = 1 << 16;
    struct Slot {
        std::atomic<size_t> seq;
        MainQueue::PlainJob job = nullptr;
    };
    std::array<Slot, kSize> slots_;
    std::atomic<size_t> tail_{0};
    size_t head_ = 0;
};

struct Drain {
    PlainJobRing ring;
    int fd = -1;
    std::unique_ptr<QSocketNotifier> notifier;
    ~Drain() {
        notifier.reset();
        if (fd >= 0) ::close(fd);
    }
};

std::atomic<Drain*> g_drain{nullptr};

void drainRing(Drain* d) {
    uint64_t count;
    [[maybe_unused]] auto n = ::read(d->fd, &count, sizeof count);
    while (auto job = d->ring.pop())
        guarded("main queue job", job);
}

} // namespace

void MainQueue::async(Job job) {
    QObject* context = QCoreApplication::instance();
    if (!context) return;
    QMetaObject::invokeMethod(
        context, [job = std::move(job)] { guarded("main queue job", job); }, Qt::QueuedConnection);
}

void MainQueue::after(double seconds, Job job) {
    QObject* context = QCoreApplication::instance();
    if (!context) return;
    const double ms = std::max(0.0, std::round(seconds * 1000.0));
    QTimer::singleShot(std::chrono::milliseconds(static_cast<long long>(ms)), Qt::PreciseTimer,
                       context, [job = std::move(job)] { guarded("timer", job); });
}

void MainQueue::asyncPlain(PlainJob job) noexcept {
    Drain* d = g_drain.load(std::memory_order_acquire);
    if (d && d->ring.push(job)) {
        const uint64_t one = 1;
        [[maybe_unused]] auto n = ::write(d->fd, &one, sizeof one);
        return;
    }
    // Not installed, or the ring is full under a flood: fall back to the allocating path so
    // that no trigger is ever dropped.
    try {
        async(job);
    } catch (...) {
    }
}

void MainQueue::install() {
    if (g_drain.load()) return;
    static Drain drain;
    drain.fd = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    drain.notifier = std::make_unique<QSocketNotifier>(drain.fd, QSocketNotifier::Read);
    QObject::connect(drain.notifier.get(), &QSocketNotifier::activated,
                     [] { drainRing(g_drain.load()); });
    g_drain.store(&drain, std::memory_order_release);
}
