#include "support/OscPeer.h"

#include "support/LibraryHelpers.h"

#include <cstring>

OscPeer::OscPeer(const std::string& url)
    : server_(lo_server_new(nullptr, nullptr)), target_(lo_address_new_from_url(url.c_str())) {
    lo_server_add_method(server_, nullptr, nullptr, &OscPeer::collect, this);
}

OscPeer::~OscPeer() {
    lo_address_free(target_);
    lo_server_free(server_);
}

std::optional<std::string> OscPeer::waitFor(const std::string& path, int timeoutMs) {
    std::optional<std::string> found;
    helpers::waitUntil(
        [&] {
            lo_server_recv_noblock(server_, 5);
            for (auto it = received_.begin(); it != received_.end(); ++it)
                if (it->first == path) {
                    found = it->second;
                    received_.erase(it);
                    return true;
                }
            return false;
        },
        timeoutMs);
    return found;
}

bool OscPeer::heard(const std::string& path, const std::string& want, int timeoutMs) {
    return helpers::waitUntil(
        [&] {
            lo_server_recv_noblock(server_, 5);
            for (auto it = received_.rbegin(); it != received_.rend(); ++it)
                if (it->first == path) return it->second == want;
            return false;
        },
        timeoutMs);
}

int OscPeer::collect(const char* path, const char* types, lo_arg** argv, int argc, lo_message,
                     void* self) {
    std::string args;
    for (int i = 0; i < argc; ++i) {
        // liblo's arguments are only 4-byte aligned: read them as bytes.
        const char* at = reinterpret_cast<const char*>(argv[i]);
        int32_t n = 0;
        if (types[i] == LO_INT32) std::memcpy(&n, at, sizeof n);
        // Anything else (true, false, nil, which carry no data) by its type.
        const bool text = types[i] == LO_STRING || types[i] == LO_SYMBOL;
        args += (i ? "|" : "") + (types[i] == LO_INT32 ? std::to_string(n)
                                  : text               ? std::string(at)
                                                       : std::string(1, types[i]));
    }
    static_cast<OscPeer*>(self)->received_.emplace_back(path, args);
    return 0;
}
