#include "app/UnixSignalWatcher.h"

#include <QSocketNotifier>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {
int g_fds[2] = {-1, -1};

void onSignal(int number) {
    const char byte = static_cast<char>(number);
    [[maybe_unused]] auto n = ::write(g_fds[1], &byte, 1);
}
} // namespace

UnixSignalWatcher::UnixSignalWatcher(QObject* parent) : QObject(parent) {
    if (g_fds[0] < 0 && ::pipe2(g_fds, O_CLOEXEC | O_NONBLOCK) != 0) return;
    notifier_ = std::make_unique<QSocketNotifier>(g_fds[0], QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, [this] {
        char byte = 0;
        while (::read(g_fds[0], &byte, 1) == 1)
            emit terminationRequested(byte);
    });
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

UnixSignalWatcher::~UnixSignalWatcher() {
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
}
