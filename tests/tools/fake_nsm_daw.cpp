// A stand-in DAW for the session manager's tests: an NSM client written with liblo that
// announces itself at NSM_URL and answers each open after a delay. Options: --caps CAPS,
// --delay MS, --never-reply, --quit-after MS (exits with status 3, as a DAW giving up does),
// --jack (with the first open, a silent JACK client named after the client id with Ardour's
// "Master/audio_out 1" and "2", and a track's "Track/audio_in 1"), --gone-after-opens N (after the
// Nth open its client closes and the process lives on, as a crash reporter's does),
// --jack-gone-after MS (that long after its JACK client is made it closes it, as a DAW the
// server has shut out is left). Prints "OPEN <path> <client id>" for every open it gets.
#include <jack/jack.h>
#include <lo/lo.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {
// liblo's LO_TT_IMMEDIATE, without its C compound literal.
const lo_timetag kNow{0U, 1U};
struct State {
    lo_server server = nullptr;
    lo_address nsm = nullptr;
    int delayMs = 50;
    bool neverReply = false;
    int quitAfterMs = -1;
    int goneAfterOpens = -1;
    int jackGoneMs = -1;
    int opens = 0;
    bool jack = false;
    jack_client_t* client = nullptr; // lives as long as the process
    jack_port_t* outputs[2] = {};
};

int play(jack_nframes_t frames, void* data) {
    auto* s = static_cast<State*>(data);
    for (jack_port_t* port : s->outputs) {
        auto* out = static_cast<float*>(jack_port_get_buffer(port, frames));
        for (jack_nframes_t i = 0; i < frames; ++i)
            out[i] = 0.0f;
    }
    return 0;
}

int open(const char*, const char*, lo_arg** argv, int, lo_message, void* data) {
    auto* s = static_cast<State*>(data);
    const std::string path = reinterpret_cast<const char*>(argv[0]); // 4-byte aligned
    std::printf("OPEN %s %s\n", path.c_str(), reinterpret_cast<const char*>(argv[2]));
    std::fflush(stdout);
    if (s->neverReply) return 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(s->delayMs));
    if (s->jack && !s->client) {
        s->client =
            jack_client_open(reinterpret_cast<const char*>(argv[2]), JackNoStartServer, nullptr);
        if (s->client) {
            int c = 0;
            for (const char* port : {"Master/audio_out 1", "Master/audio_out 2"})
                s->outputs[c++] = jack_port_register(s->client, port, JACK_DEFAULT_AUDIO_TYPE,
                                                     JackPortIsOutput, 0);
            jack_port_register(s->client, "Track/audio_in 1", JACK_DEFAULT_AUDIO_TYPE,
                               JackPortIsInput, 0);
            if (s->outputs[0] && s->outputs[1]) jack_set_process_callback(s->client, play, s);
            jack_activate(s->client);
        }
    }
    lo_send_from(s->nsm, s->server, kNow, "/reply", "ss", "/nsm/client/open", "Loaded");
    ++s->opens;
    return 0;
}

int save(const char*, const char*, lo_arg**, int, lo_message, void* data) {
    auto* s = static_cast<State*>(data);
    lo_send_from(s->nsm, s->server, kNow, "/reply", "ss", "/nsm/client/save", "Saved");
    return 0;
}
} // namespace

int main(int argc, char** argv) {
    State s;
    std::string caps = ":switch:";
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--caps") && i + 1 < argc) caps = argv[++i];
        if (!std::strcmp(argv[i], "--delay") && i + 1 < argc) s.delayMs = std::atoi(argv[++i]);
        if (!std::strcmp(argv[i], "--never-reply")) s.neverReply = true;
        if (!std::strcmp(argv[i], "--jack")) s.jack = true;
        if (!std::strcmp(argv[i], "--quit-after") && i + 1 < argc)
            s.quitAfterMs = std::atoi(argv[++i]);
        if (!std::strcmp(argv[i], "--gone-after-opens") && i + 1 < argc)
            s.goneAfterOpens = std::atoi(argv[++i]);
        if (!std::strcmp(argv[i], "--jack-gone-after") && i + 1 < argc)
            s.jackGoneMs = std::atoi(argv[++i]);
    }
    const char* url = std::getenv("NSM_URL");
    if (!url) return 2;
    s.server = lo_server_new(nullptr, nullptr);
    s.nsm = lo_address_new_from_url(url);
    lo_server_add_method(s.server, "/nsm/client/open", "sss", open, &s);
    lo_server_add_method(s.server, "/nsm/client/save", "", save, &s);
    lo_send_from(s.nsm, s.server, kNow, "/nsm/server/announce", "sssiii", "FakeDAW", caps.c_str(),
                 argv[0], 1, 1, int(getpid()));
    const auto started = std::chrono::steady_clock::now();
    for (;;) {
        if (s.opens == s.goneAfterOpens) {
            std::printf("FakeDAW: the client is gone, the process lives on\n");
            std::fflush(stdout);
            lo_server_free(s.server);
            for (;;)
                pause();
        }
        lo_server_recv_noblock(s.server, 100);
        static auto madeAt = std::chrono::steady_clock::time_point{};
        if (s.client && madeAt == decltype(madeAt){}) madeAt = std::chrono::steady_clock::now();
        if (s.client && s.jackGoneMs >= 0 &&
            std::chrono::steady_clock::now() - madeAt > std::chrono::milliseconds(s.jackGoneMs)) {
            jack_client_close(std::exchange(s.client, nullptr));
            s.jack = false; // never again: cut off for good
        }
        if (s.quitAfterMs >= 0 &&
            std::chrono::steady_clock::now() - started > std::chrono::milliseconds(s.quitAfterMs)) {
            std::printf("FakeDAW: giving up, nothing to do\n");
            return 3;
        }
    }
}
