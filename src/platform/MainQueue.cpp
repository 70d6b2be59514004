#include "platform/MainQueue.h"

#include "platform/Guard.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <memory>
#include <mutex>
#include <sys/eventfd.h>
#include <unistd.h>
#include <vector>

namespace {

// One queued job: a plain function (from threads that must not allocate) or a boxed one.
struct Entry {
    MainQueue::PlainJob plain = nullptr;
    MainQueue::Job* boxed = nullptr;
    void* context = nullptr;

    void run() const {
        if (plain)
            guarded("main queue job", [this] { plain(context); });
        else if (boxed)
            guarded("main queue job", *boxed);
    }
    void release() const { delete boxed; }
};

// Bounded multi-producer, single-consumer ring (per-slot sequence numbers).
class EntryRing {
public:
    static constexpr size_t kSize = 1 << 16;

    EntryRing() {
        for (size_t i = 0; i < kSize; ++i)
            slots_[i].seq.store(i, std::memory_order_relaxed);
    }
    bool push(Entry entry) noexcept {
        size_t pos = tail_.load(std::memory_order_relaxed);
        for (;;) {
            Slot& s = slots_[pos & (kSize - 1)];
            const size_t seq = s.seq.load(std::memory_order_acquire);
            const auto diff = static_cast<std::ptrdiff_t>(seq) - static_cast<std::ptrdiff_t>(pos);
            if (diff == 0) {
                if (tail_.compare_exchange_weak(pos, pos + 1, std::memory_order_relaxed)) {
                    s.entry = entry;
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
    bool pop(Entry* out) noexcept {
        Slot& s = slots_[head_ & (kSize - 1)];
        if (s.seq.load(std::memory_order_acquire) != head_ + 1) return false;
        *out = s.entry;
        s.seq.store(head_ + kSize, std::memory_order_release);
        ++head_;
        return true;
    }

private:
    struct Slot {
        std::atomic<size_t> seq;
        Entry entry;
    };
    std::array<Slot, kSize> slots_;
    std::atomic<size_t> tail_{0};
    size_t head_ = 0;
};

// The serial queue: the ring, and behind it an overflow list that takes every job while it
// holds any, so that nothing queued after a full ring overtakes what is waiting there.
class SerialQueue {
public:
    SerialQueue() {
        overflow_.reserve(EntryRing::kSize); // so the MIDI thread can overflow without allocating
        fd_ = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    }
    ~SerialQueue() {
        notifier_.reset();
        if (fd_ >= 0) ::close(fd_);
    }

    void attach() {
        notifier_ = std::make_unique<QSocketNotifier>(fd_, QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { drain(); });
    }

    void push(Entry entry) noexcept {
        if (!overflowing_.load(std::memory_order_acquire) && ring_.push(entry)) {
            wake();
            return;
        }
        {
            std::lock_guard lock(overflowMutex_);
            overflowing_.store(true, std::memory_order_release);
            try {
                overflow_.push_back(entry);
            } catch (...) {
                // Out of memory with a queue this long: the job cannot be kept.
                entry.release();
            }
        }
        wake();
    }

private:
    // A batch a turn, so that a flood never keeps the window from painting.
    static constexpr int kBatch = 512;

    void wake() noexcept {
        const uint64_t one = 1;
        [[maybe_unused]] auto n = ::write(fd_, &one, sizeof one);
    }

    void drain() {
        uint64_t count;
        [[maybe_unused]] auto n = ::read(fd_, &count, sizeof count);
        int done = 0;
        Entry entry;
        while (done < kBatch) {
            // What waits in pending_ was queued before anything now in the ring.
            if (next_ < pending_.size()) {
                runAndRelease(pending_[next_++]);
                ++done;
                continue;
            }
            if (ring_.pop(&entry)) {
                runAndRelease(entry);
                ++done;
                continue;
            }
            if (!takeOverflow()) return;
        }
        wake(); // more is waiting: go on in the next turn
    }

public:
    void cancel(void* context) {
        // The ring's jobs join what pending_ still holds, behind it, so the order stays.
        std::vector<Entry> waiting(pending_.begin() + qsizetype(next_), pending_.end());
        Entry entry;
        while (ring_.pop(&entry))
            waiting.push_back(entry);
        pending_ = std::move(waiting);
        next_ = 0;
        const auto drop = [context](Entry& e) {
            if (e.plain && e.context == context) e.plain = nullptr;
        };
        std::for_each(pending_.begin(), pending_.end(), drop);
        std::lock_guard lock(overflowMutex_);
        std::for_each(overflow_.begin(), overflow_.end(), drop);
        if (!pending_.empty()) wake();
    }

private:
    // Moves the overflow behind what the ring held; false when there was none.
    bool takeOverflow() {
        std::lock_guard lock(overflowMutex_);
        if (overflow_.empty()) {
            overflowing_.store(false, std::memory_order_release);
            return false;
        }
        pending_.assign(overflow_.begin(), overflow_.end());
        next_ = 0;
        overflow_.clear();
        return true;
    }

    static void runAndRelease(const Entry& entry) {
        entry.run();
        entry.release();
    }

    EntryRing ring_;
    std::atomic<bool> overflowing_{false};
    std::mutex overflowMutex_;
    std::vector<Entry> overflow_;
    std::vector<Entry> pending_; // main thread only, run from next_ on
    size_t next_ = 0;
    int fd_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
};

std::atomic<SerialQueue*> g_queue{nullptr};

SerialQueue* queue() {
    if (SerialQueue* q = g_queue.load(std::memory_order_acquire)) return q;
    // Installed on first use from the main thread; other threads wait for install().
    QCoreApplication* app = QCoreApplication::instance();
    if (app && app->thread() == QThread::currentThread()) {
        MainQueue::install();
        return g_queue.load(std::memory_order_acquire);
    }
    return nullptr;
}

} // namespace

void MainQueue::async(Job job) {
    SerialQueue* q = queue();
    if (!q) return;
    q->push(Entry{nullptr, new Job(std::move(job)), nullptr});
}

void MainQueue::after(double seconds, Job job) {
    QObject* context = QCoreApplication::instance();
    if (!context) return;
    const double ms = std::max(0.0, std::round(seconds * 1000.0));
    // When the time comes the job joins the queue, behind what is already waiting there.
    QTimer::singleShot(std::chrono::milliseconds(static_cast<long long>(ms)), Qt::PreciseTimer,
                       context, [job = std::move(job)]() mutable { async(std::move(job)); });
}

void MainQueue::asyncPlain(PlainJob job, void* context) noexcept {
    if (SerialQueue* q = g_queue.load(std::memory_order_acquire))
        q->push(Entry{job, nullptr, context});
}

void MainQueue::cancel(void* context) {
    if (SerialQueue* q = g_queue.load(std::memory_order_acquire)) q->cancel(context);
}

void MainQueue::install() {
    if (g_queue.load()) return;
    static SerialQueue serial;
    serial.attach();
    g_queue.store(&serial, std::memory_order_release);
}
