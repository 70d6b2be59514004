#include "midi/MainMidi.h"
#include "midi/MidiHost.h"
#include "midi/backends/jack/JackMidiServices.h"
#include "settings/Prefs.h"
#include "support/JackAvailable.h"
#include "support/JackTestClient.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"
#include "support/TempHome.h"

#include <QCoreApplication>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <future>
#include <gtest/gtest.h>
#include <unistd.h>

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

// A JACK server of the test's own (the default while it lives), that can go away alone.
class PrivateServer {
public:
    explicit PrivateServer(const char* what)
        : previous_(qgetenv("JACK_DEFAULT_SERVER")),
          name_(QString("gigmora-%1-%2").arg(what).arg(QCoreApplication::applicationPid())) {
        qputenv("JACK_DEFAULT_SERVER", name_.toUtf8());
    }
    ~PrivateServer() {
        stop();
        qputenv("JACK_DEFAULT_SERVER", previous_);
    }
    const QString& name() const { return name_; }
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
    QByteArray previous_;
    QString name_;
    QProcess process_;
};

// Gigmora's MIDI side: a host that counts triggers, the JACK backend, the engine and its ports.
struct Gigmora {
    CountingHost host;
    JackMidiServices services;
    MainMidi engine{services, &host};
    Gigmora() { engine.createMidiPort(); }
};

bool connected(jack_client_t* probe, const QString& from, const QString& to) {
    jack_port_t* port = jack_port_by_name(probe, from.toUtf8().constData());
    return port && jack_port_connected_to(port, to.toUtf8().constData());
}
} // namespace

// Connections survive rebuilds and server restarts; one someone undoes stays undone.
TEST(JackReconnect, RoutingSurvivesRebuildsAndRestarts) {
    REQUIRE_JACK();
    PrivateServer server("routes");
    ASSERT_TRUE(server.start());
    Gigmora g;
    const QString in = "Gigmora Midi:Gigmora Virtual Input";
    const QString out = "Gigmora Midi:Gigmora Virtual Output";
    LogCapture log;
    auto peer = std::make_unique<JackTestClient>("foot");
    ASSERT_TRUE(peer->connect(in, out));
    auto routed = [&] {
        return connected(peer->client(), "foot:out", in) &&
               connected(peer->client(), out, "foot:in");
    };
    ASSERT_TRUE(waitUntil(routed));
    ASSERT_TRUE(waitUntil([&] { return log.count("Remembered the MIDI connection") == 2; }));

    g.engine.createMidiPort(); // what the device pop-ups and the virtual-port box do
    EXPECT_TRUE(waitUntil(routed)) << "restored after the rebuild";

    peer.reset();
    // libjack does not take a client of a dead server being closed while another opens:
    // Gigmora lets go of its dead client first.
    server.stop();
    ASSERT_TRUE(waitUntil([&] { return log.contains("The JACK server went away"); }));
    ASSERT_TRUE(server.start());
    peer = std::make_unique<JackTestClient>("foot");
    ASSERT_TRUE(peer->isOpen());
    EXPECT_TRUE(waitUntil(routed, 15000)) << "restored when both came back";
    EXPECT_TRUE(peer->portHasUniqueID(in, MainMidi::kVirtualInputUniqueID));
    EXPECT_EQ(peer->countPortsNamed("Gigmora Virtual Input"), 1);
    g.host.checks = 0;
    peer->send({0xC0, 0x7F});
    EXPECT_TRUE(waitUntil([&] { return g.host.checks > 0; })) << "input works again";
    g.engine.sendLogicClose();
    EXPECT_TRUE(peer->waitForEvents(1)) << "output works again";

    // The peer goes away and comes back: remembered, restored again.
    const qsizetype kept = log.count("to make again");
    peer.reset();
    ASSERT_TRUE(waitUntil([&] { return log.count("to make again") == kept + 2; }));
    peer = std::make_unique<JackTestClient>("foot");
    EXPECT_TRUE(waitUntil(routed)) << "restored when the peer came back";

    // Someone undoes the input connection: it is not made again at the next rebuild.
    ASSERT_EQ(jack_disconnect(peer->client(), "foot:out", in.toUtf8().constData()), 0);
    ASSERT_TRUE(waitUntil([&] {
        return log.contains("Forgot the MIDI connection of Gigmora Virtual Input with foot:out");
    }));
    g.engine.createMidiPort();
    EXPECT_TRUE(waitUntil([&] { return connected(peer->client(), out, "foot:in"); }));
    // A second rebuild's restoring starts only after the first's has ended.
    const qsizetype restored = log.count("Restored the MIDI connection");
    g.engine.createMidiPort();
    ASSERT_TRUE(waitUntil([&] { return log.count("Restored the MIDI connection") > restored; }));
    EXPECT_FALSE(connected(peer->client(), "foot:out", in));
}

TEST(JackReconnect, AHungServerNeverBlocksTheMainThread) {
    REQUIRE_JACK();
    PrivateServer server("hung");
    ASSERT_TRUE(server.start());
    Gigmora g;
    server.stop();

    // Where the server listens; it answers nothing.
    const QString socket = QString("/dev/shm/jack_%1_%2_0").arg(server.name()).arg(getuid());
    ASSERT_TRUE(waitUntil([&] { return !QFile::exists(socket); }));
    QLocalServer hung;
    ASSERT_TRUE(hung.listen(socket)) << hung.errorString().toStdString();
    QList<QLocalSocket*> callers;
    QObject::connect(&hung, &QLocalServer::newConnection,
                     [&] { callers << hung.nextPendingConnection(); });
    ASSERT_TRUE(waitUntil([&] { return !callers.isEmpty(); }, 10000))
        << "the service thread is trying to reconnect";

    auto work = std::async(std::launch::async, [&] {
        for (int i = 0; i < 100; ++i)
            g.engine.sendLogicClose();
        MIDIObjectRef found = 0;
        MIDIObjectType type;
        g.services.objectFindByUniqueID(MainMidi::kVirtualInputUniqueID, &found, &type);
        QString name;
        g.services.objectGetStringProperty(found, MidiProperty::DisplayName, &name);
        return found;
    });
    EXPECT_EQ(work.wait_for(std::chrono::seconds(5)), std::future_status::ready)
        << "sending waited for the reconnection";
    hung.close();
    for (QLocalSocket* c : callers)
        c->abort();
    work.wait();
    EXPECT_EQ(work.get(), g.engine.destVirtualsrc());
}
