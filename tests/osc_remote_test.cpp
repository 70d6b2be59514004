#include "remote/OscRemote.h"
#include "settings/GigmoraConfig.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"
#include "support/StageFixture.h"

#include <QSignalSpy>
#include <cstring>
#include <gtest/gtest.h>
#include <lo/lo.h>

using namespace helpers;

namespace {
// liblo's LO_TT_IMMEDIATE, without its C compound literal.
const lo_timetag kNow{0U, 1U};
// A control surface as TouchOSC is one: liblo's own client, answering on its own port.
class Surface {
public:
    explicit Surface(quint16 port, const char* host = "127.0.0.1")
        : server_(lo_server_new(nullptr, nullptr)),
          target_(lo_address_new(host, QByteArray::number(port).constData())) {
        lo_server_add_method(server_, nullptr, nullptr, &Surface::collect, this);
    }
    ~Surface() {
        lo_address_free(target_);
        lo_server_free(server_);
    }
    void send(const char* path) { lo_send_from(target_, server_, kNow, path, ""); }
    void song(float number) { lo_send_from(target_, server_, kNow, "/gigmora/song", "f", number); }
    // The last text received at `path`, once it equals `want`.
    bool heard(const std::string& path, const std::string& want, int timeoutMs = 3000) {
        return waitUntil(
            [&] {
                lo_server_recv_noblock(server_, 5);
                return last_[path] == want;
            },
            timeoutMs);
    }

private:
    // Every argument joined by "|", read as bytes: liblo's are only 4-byte aligned.
    static int collect(const char* path, const char* types, lo_arg** argv, int argc, lo_message,
                       void* s) {
        std::string heard;
        for (int i = 0; i < argc; ++i) {
            const char* arg = reinterpret_cast<const char*>(argv[i]);
            int32_t n = 0;
            if (types[i] == 'i') std::memcpy(&n, arg, sizeof n);
            heard += (i ? "|" : "") + (types[i] == 'i' ? std::to_string(n) : std::string(arg));
        }
        static_cast<Surface*>(s)->last_[path] = heard;
        return 0;
    }
    lo_server server_;
    lo_address target_;
    std::map<std::string, std::string> last_;
};
} // namespace

// The surface hears the stage at once and after each change ("next" is walked on the stage).
TEST(OscRemote, MessagesAndFeedback) {
    OscRemote remote;
    ASSERT_TRUE(remote.listen(0, {"127.0.0.1", "::1"}));
    remote.publish({.setlist = "Friday", .current = "Opener", .next = "Next: Ballad"});
    QSignalSpy previous(&remote, &OscRemote::previousRequested);
    QSignalSpy song(&remote, &OscRemote::songRequested);
    Surface surface(remote.port());
    surface.send("/gigmora/previous");
    EXPECT_TRUE(surface.heard("/gigmora/setlist", "Friday")) << "told where the set is at once";
    EXPECT_TRUE(surface.heard("/gigmora/current", "Opener"));
    surface.song(500.0f); // out of range, ignored
    surface.song(3.0f);   // TouchOSC sends floats
    ASSERT_TRUE(waitUntil([&] { return song.size() == 1; }));
    EXPECT_EQ(previous.size(), 1);
    EXPECT_EQ(song[0][0].toInt(), 3);
    DawStatus daw{DawStatus::Phase::Loaded, "Ballad"};
    daw.standby = DawStatus::Phase::Loading;
    daw.next = "Encore";
    remote.publish({.setlist = "Friday",
                    .current = "Ballad",
                    .state = "Ballad loaded (1.1 s) · next: Encore loading…",
                    .daw = daw});
    EXPECT_TRUE(surface.heard("/gigmora/current", "Ballad"));
    EXPECT_TRUE(surface.heard("/gigmora/state", "Ballad loaded (1.1 s) · next: Encore loading…"));
    EXPECT_TRUE(surface.heard("/gigmora/daw", "loaded|Ballad||0||loading|Encore"));
}

// Logged once; garbage datagrams are the OSC fuzzer's.
TEST(OscRemote, SendersNotAllowedAreIgnored) {
    LogCapture log;
    OscRemote remote;
    ASSERT_TRUE(remote.listen(0, {"192.0.2.7"})); // loopback not allowed
    QSignalSpy next(&remote, &OscRemote::nextRequested);
    Surface surface(remote.port());
    surface.send("/gigmora/next");
    surface.send("/gigmora/next");
    ASSERT_TRUE(waitUntil([&] { return log.contains("a sender that is not allowed"); }));
    processEvents();
    EXPECT_EQ(next.size(), 0);
    EXPECT_EQ(log.count("a sender that is not allowed"), 1);
}

// Through the application: Gigmora.conf turns the surface on; "next" runs the trigger's recall.
class OscStage : public StageFixture {};

TEST_F(OscStage, NextFromASurfaceMovesTheSet) {
    GigmoraConfig::setOsc({true, 0});
    makeSetlist({project("Opener.logicx"), project("Ballad.logicx"), project("Encore.logicx")});
    launch();
    ASSERT_TRUE(app->oscRemote());
    selectSetlistRow(0);
    Surface surface(app->oscRemote()->port());
    surface.send("/gigmora/next");
    EXPECT_TRUE(waitUntil([&] { return selectedSetlistRow() == 1; }));
    EXPECT_TRUE(surface.heard("/gigmora/current", "Ballad"));
    EXPECT_TRUE(surface.heard("/gigmora/next", "Next: Encore"));
}
