#include "midi/MainMidi.h"
#include "midi/MidiHost.h"
#include "midi/backends/jack/JackMidiServices.h"
#include "settings/Prefs.h"
#include "support/JackAvailable.h"
#include "support/JackTestClient.h"
#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <QCoreApplication>
#include <QProcess>
#include <gtest/gtest.h>

using namespace helpers;

namespace {
class CountingHost : public MidiHost {
public:
    Prefs* sharedPrefs() override { return nullptr; }
    MainMidi* mainMidiObject() override { return nullptr; }
    void checkMidi() override { ++checks; }
    void checkMidiWithSysex() override {}
    int checks = 0;
};

// A JACK server of this test's own, so that it can go away without disturbing the others.
class PrivateServer {
public:
    explicit PrivateServer(QString name) : name_(std::move(name)) {}
    ~PrivateServer() { stop(); }
    bool start() {
        process_.start("jackd",
                       {"--no-realtime", "-n", name_, "-d", "dummy", "-r", "48000", "-p", "256"});
        return waitUntil([&] { return JackMidiServices::serverIsRunning(); }, 10000);
    }
    void stop() {
        if (process_.state() == QProcess::NotRunning) return;
        process_.terminate();
        process_.waitForFinished(5000);
    }

private:
    QString name_;
    QProcess process_;
};
} // namespace

TEST(JackReconnect, ClientAndEndpointsComeBackWithTheServer) {
    REQUIRE_JACK();
    const QByteArray previous = qgetenv("JACK_DEFAULT_SERVER");
    const QString name = QString("gigmora-restart-%1").arg(QCoreApplication::applicationPid());
    qputenv("JACK_DEFAULT_SERVER", name.toUtf8());
    {
        PrivateServer server(name);
        ASSERT_TRUE(server.start());
        CountingHost host;
        MidiHost::setApplicationDelegate(&host);
        JackMidiServices services;
        MainMidi engine(services);
        engine.createMidiPort();
        {
            JackTestClient probe("gigmora-probe-before");
            EXPECT_FALSE(probe.portWithUniqueID(MainMidi::kVirtualInputUniqueID).isEmpty());
        }

        server.stop();
        waitUntil([] { return false; }, 600);
        ASSERT_TRUE(server.start());
        bool back = waitUntil(
            [&] {
                JackTestClient probe("gigmora-probe-after");
                return probe.isOpen() &&
                       !probe.portWithUniqueID(MainMidi::kVirtualInputUniqueID).isEmpty() &&
                       !probe.portWithUniqueID(MainMidi::kVirtualOutputUniqueID).isEmpty();
            },
            15000);
        ASSERT_TRUE(back) << "the endpoints return under the same unique IDs";

        JackTestClient controller;
        ASSERT_TRUE(controller.connectToGigmora());
        EXPECT_EQ(controller.countPortsNamed("Gigmora Virtual Input"), 1);
        controller.send({0xC0, 0x7F});
        EXPECT_TRUE(waitUntil([&] { return host.checks > 0; })) << "input works again";
        engine.sendLogicClose();
        EXPECT_TRUE(controller.waitForEvents(1)) << "output works again";
        MidiHost::setApplicationDelegate(nullptr);
    }
    qputenv("JACK_DEFAULT_SERVER", previous);
}
