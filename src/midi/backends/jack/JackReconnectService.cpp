#include "midi/backends/jack/JackReconnectService.h"

#include "midi/backends/jack/JackConnectionKeeper.h"

#include <time.h>

namespace {
constexpr int kTickMs = 50;
constexpr int kReconnectMs = 500;

int64_t nowMs() {
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return int64_t(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

void sleepMs(int ms) {
    struct timespec ts {
        ms / 1000, (ms % 1000) * 1000000L
    };
    nanosleep(&ts, nullptr);
}
} // namespace

JackReconnectService::JackReconnectService(Backend backend)
    : backend_(std::move(backend)), keeper_(std::make_unique<JackConnectionKeeper>(backend_)) {}

JackReconnectService::~JackReconnectService() {
    stop();
}

void JackReconnectService::start() {
    if (!thread_.joinable()) thread_ = std::thread([this] { loop(); });
}

void JackReconnectService::stop() {
    stopping_ = true;
    if (thread_.joinable()) thread_.join();
}

void JackReconnectService::connectionChanged(jack_client_t* client, jack_port_id_t a,
                                             jack_port_id_t b, bool connected) {
    keeper_->portsConnected(client, a, b, connected);
}

void JackReconnectService::requestRestore() {
    keeper_->requestRestore();
}

void JackReconnectService::loop() {
    int64_t nextAttempt = 0;
    while (!stopping_.load()) {
        sleepMs(kTickMs);
        if (serverGone_.exchange(false)) backend_.dropDeadClient();
        if (backend_.wantsClient() && nowMs() >= nextAttempt) {
            if (backend_.connectClient())
                keeper_->requestRestore();
            else
                nextAttempt = nowMs() + kReconnectMs;
        }
        keeper_->tick();
    }
}
