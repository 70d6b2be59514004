#include "daw/NsmServer.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"

#include <QSignalSpy>
#include <cstring>
#include <gtest/gtest.h>
#include <lo/lo.h>
#include <unistd.h>

using namespace helpers;

namespace {
// liblo's LO_TT_IMMEDIATE, without its C compound literal.
const lo_timetag kNow{0U, 1U};
// A DAW's side of the protocol, written with liblo's own client calls (as Ardour's is), so
// the server is tested against another implementation of OSC than its own use of it.
class NsmClient {
public:
    explicit NsmClient(const QString& nsmUrl)
        : server_(lo_server_new(nullptr, nullptr)),
          nsm_(lo_address_new_from_url(nsmUrl.toUtf8().constData())) {
        lo_server_add_method(server_, nullptr, nullptr, &NsmClient::collect, this);
    }
    ~NsmClient() {
        lo_address_free(nsm_);
        lo_server_free(server_);
    }
    void announce(const char* capabilities) {
        lo_send_from(nsm_, server_, kNow, "/nsm/server/announce", "sssiii", "Ardour", capabilities,
                     "ardour", 1, 1, int(getpid()));
    }
    void reply(const char* path, const char* message) {
        lo_send_from(nsm_, server_, kNow, "/reply", "ss", path, message);
    }
    void error(const char* path, int code, const char* message) {
        lo_send_from(nsm_, server_, kNow, "/error", "sis", path, code, message);
    }
    // Runs both event loops until a message with `path` arrives; its arguments joined by "|".
    std::optional<std::string> waitFor(const std::string& path, int timeoutMs = 3000) {
        std::optional<std::string> found;
        waitUntil(
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

private:
    static int collect(const char* path, const char* types, lo_arg** argv, int argc, lo_message,
                       void* self) {
        std::string args;
        for (int i = 0; i < argc; ++i) {
            // OSC arguments are 4-byte aligned: read them as bytes.
            const char* at = reinterpret_cast<const char*>(argv[i]);
            int32_t v = 0;
            if (types[i] == LO_INT32) std::memcpy(&v, at, sizeof v);
            args += (i ? "|" : "") + (types[i] == LO_INT32 ? std::to_string(v) : std::string(at));
        }
        static_cast<NsmClient*>(self)->received_.emplace_back(path, args);
        return 0;
    }
    lo_server server_;
    lo_address nsm_;
    std::vector<std::pair<std::string, std::string>> received_;
};
} // namespace

TEST(NsmServer, AnnounceThenOpenAndReply) {
    NsmServer server;
    ASSERT_TRUE(server.listen());
    EXPECT_FALSE(server.open("/s/A", "A", "Gigmora.A")) << "no DAW yet";
    QSignalSpy announced(&server, &NsmServer::announced);
    NsmClient daw(server.url());
    daw.announce(":dirty:switch:");
    const auto welcome = daw.waitFor("/reply");
    ASSERT_TRUE(welcome);
    EXPECT_TRUE(welcome->starts_with("/nsm/server/announce|")) << *welcome;
    ASSERT_EQ(announced.size(), 1);
    EXPECT_EQ(announced[0][0].toString(), "Ardour");
    EXPECT_EQ(announced[0][2].toLongLong(), getpid());
    EXPECT_TRUE(server.canSwitch());

    QSignalSpy replied(&server, &NsmServer::replied);
    QSignalSpy failed(&server, &NsmServer::failed);
    ASSERT_TRUE(server.open("/home/me/Songs/Ballad", "Ballad", "Gigmora.Ballad"));
    const auto open = daw.waitFor("/nsm/client/open");
    ASSERT_TRUE(open);
    EXPECT_EQ(*open, "/home/me/Songs/Ballad|Ballad|Gigmora.Ballad");
    daw.reply("/nsm/client/open", "Loaded");
    ASSERT_TRUE(waitUntil([&] { return replied.size() == 1; }));
    EXPECT_EQ(replied[0], (QVariantList{"/nsm/client/open", "Loaded"}));
    ASSERT_TRUE(server.open("/s/Missing", "Missing", "Gigmora.Missing"));
    ASSERT_TRUE(daw.waitFor("/nsm/client/open"));
    daw.error("/nsm/client/open", -9, "The session file is damaged");
    ASSERT_TRUE(waitUntil([&] { return failed.size() == 1; }));
    EXPECT_EQ(failed[0][1].toInt(), -9);
    EXPECT_EQ(failed[0][2].toString(), "The session file is damaged");

    ASSERT_TRUE(server.save());
    EXPECT_TRUE(daw.waitFor("/nsm/client/save"));
}

// Garbage datagrams are the OSC fuzzer's.
TEST(NsmServer, OnlyTheDawThatAnnouncedIsHeard) {
    LogCapture log;
    NsmServer server;
    ASSERT_TRUE(server.listen());
    NsmClient daw(server.url());
    daw.announce(":dirty:");
    ASSERT_TRUE(daw.waitFor("/reply"));
    EXPECT_FALSE(server.canSwitch());
    QSignalSpy replied(&server, &NsmServer::replied);
    QSignalSpy failed(&server, &NsmServer::failed);
    NsmClient stranger(server.url());
    stranger.reply("/nsm/client/open", "Loaded");
    stranger.error("/nsm/client/open", -1, "no");
    ASSERT_TRUE(waitUntil([&] { return log.contains("did not announce itself"); }));

    ASSERT_TRUE(server.open("/s/B", "B", "Gigmora.B"));
    ASSERT_TRUE(daw.waitFor("/nsm/client/open"));
    daw.reply("/nsm/client/open", "Loaded");
    EXPECT_TRUE(waitUntil([&] { return replied.size() == 1; }));
    EXPECT_EQ(failed.size(), 0);
}
