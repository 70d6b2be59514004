#pragma once

#include <lo/lo.h>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// The other end of our OSC (a control surface, a DAW), written with liblo's own client calls, so
// ours is tested against another implementation of OSC than its own use of it.
class OscPeer {
public:
    explicit OscPeer(const std::string& url);
    ~OscPeer();
    OscPeer(const OscPeer&) = delete;
    OscPeer& operator=(const OscPeer&) = delete;

    template <typename... Args> void send(const char* path, const char* types, Args... args) {
        lo_send_from(target_, server_, lo_timetag{0U, 1U}, path, types, args...);
    }
    // The first message at `path` not taken yet, its arguments joined by "|", once it arrives.
    std::optional<std::string> waitFor(const std::string& path, int timeoutMs = 3000);
    // True once the latest message at `path` says `want`.
    bool heard(const std::string& path, const std::string& want, int timeoutMs = 3000);

private:
    static int collect(const char* path, const char* types, lo_arg** argv, int argc, lo_message,
                       void* self);
    lo_server server_;
    lo_address target_;
    std::vector<std::pair<std::string, std::string>> received_;
};
