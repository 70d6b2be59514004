#include "midi/MainMidi.h"
#include "midi/MidiHost.h"
#include "midi/MidiMessageSplitter.h"
#include "midi/MidiPacketList.h"
#include "platform/UnknownOperationError.h"
#include "settings/Prefs.h"
#include "support/JackAvailable.h"
#include "support/JackTestClient.h"
#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <QTimer>
#include <gtest/gtest.h>
#include <jack/metadata.h>

using namespace helpers;
using Bytes = std::vector<uint8_t>;

namespace {
class EngineHost : public MidiHost {
public:
    Prefs* sharedPrefs() override { return prefs; }
    MainMidi* mainMidiObject() override { return engine; }
    void checkMidi() override {}
    void checkMidiWithSysex() override {}
    Prefs* prefs = nullptr;
    MainMidi* engine = nullptr;
};
} // namespace

class MidiEngine : public ::testing::Test {
protected:
    void SetUp() override {
        REQUIRE_JACK();
        TempHome::clear();
        prefs = std::make_unique<Prefs>();
        services = std::make_unique<JackMidiServices>();
        engine = std::make_unique<MainMidi>(*services, &host);
        host.prefs = prefs.get();
        host.engine = engine.get();
        engine->createMidiPort();
    }

    // A message none of the engine's own sends make, sent from the engine's source: once it
    // has arrived, whatever went out before it has too.
    static inline const Bytes kMarker{0xF0, 0x7D, 0x01, 0xF7};
    void sendMarker() {
        MidiPacketList list;
        list.addPacket(0, kMarker.data(), uint16_t(kMarker.size()));
        ASSERT_EQ(services->received(engine->sourceVirtualsrc(), list), kMidiNoErr);
    }

    std::unique_ptr<Prefs> prefs;
    std::unique_ptr<JackMidiServices> services;
    std::unique_ptr<MainMidi> engine;
    EngineHost host;
};

TEST_F(MidiEngine, RebuildingKeepsExactlyOneClientWithTheFixedIdentities) {
    engine->createMidiPort();
    engine->createMidiPort();
    JackTestClient probe("gigmora-probe-ports");
    ASSERT_TRUE(probe.isOpen());
    EXPECT_EQ(probe.countPortsNamed("Gigmora Virtual Input"), 1);
    EXPECT_EQ(probe.countPortsNamed("Gigmora Virtual Output"), 1);
    const QString in = probe.portWithUniqueID(MainMidi::kVirtualInputUniqueID);
    const QString out = probe.portWithUniqueID(MainMidi::kVirtualOutputUniqueID);
    EXPECT_TRUE(in.endsWith(":Gigmora Virtual Input")) << in.toStdString();
    EXPECT_TRUE(out.endsWith(":Gigmora Virtual Output")) << out.toStdString();
    EXPECT_TRUE(in.startsWith("Gigmora Midi"));
    char* model = nullptr;
    char* type = nullptr;
    jack_port_t* port = jack_port_by_name(probe.client(), in.toUtf8().constData());
    ASSERT_EQ(jack_get_property(jack_port_uuid(port), JackMidiServices::kModelKey, &model, &type),
              0);
    EXPECT_STREQ(model, "Vantori Software");
    jack_free(model);
    jack_free(type);
    EXPECT_EQ(engine->inPort(), 0u);

    MIDIObjectRef found = 0;
    MIDIObjectType kind;
    services->objectFindByUniqueID(MainMidi::kVirtualOutputUniqueID, &found, &kind);
    EXPECT_EQ(found, engine->sourceVirtualsrc());
    EXPECT_EQ(kind, kMIDIObjectType_Source);
}

// Every control message goes out on channel 1 whatever the settings say, one MIDI message per
// JACK event: a button's four controller messages are four events, in order.
TEST_F(MidiEngine, EveryControlMessageGoesOutOneMessagePerEvent) {
    prefs->prefsSelectedMidiChannel = 10; // never changes a byte
    JackTestClient daw;
    ASSERT_TRUE(daw.connectToGigmora());
    const struct {
        void (MainMidi::*send)();
        Bytes bytes;
    } cases[] = {
        {&MainMidi::sendOneZeroFour, {0xC0, 0x68}},
        {&MainMidi::sendOneZeroFive, {0xC0, 0x69}},
        {&MainMidi::sendOneZeroSix, {0xC0, 0x6A}},
        {&MainMidi::sendOneZeroSeven, {0xC0, 0x6B}},
        {&MainMidi::sendMidiStop,
         {0xB0, 0x0F, 0x0E, 0xB0, 0x2F, 0x43, 0xB0, 0x0F, 0x0E, 0xB0, 0x2F, 0x03}},
        {&MainMidi::sendMidiPeriod,
         {0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x45, 0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x05}},
        {&MainMidi::sendMidiReturnToZero,
         {0xB0, 0x0F, 0x0F, 0xB0, 0x2F, 0x40, 0xB0, 0x0F, 0x0F, 0xB0, 0x2F, 0x00}},
        {&MainMidi::sendMidiNumKey0,
         {0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x40, 0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x00}},
        {&MainMidi::sendMidiNumKey1,
         {0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x41, 0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x01}},
        {&MainMidi::sendMidiNumKey2,
         {0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x43, 0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x03}},
        {&MainMidi::sendMidiNumKey3,
         {0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x46, 0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x06}},
        {&MainMidi::sendMidiNumKey4,
         {0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x42, 0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x02}},
        {&MainMidi::sendMidiNumKey5,
         {0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x44, 0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x04}},
        {&MainMidi::sendMidiNumKey6,
         {0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x47, 0xB0, 0x0F, 0x13, 0xB0, 0x2F, 0x07}},
        {&MainMidi::sendMidiNumKey7,
         {0xB0, 0x0F, 0x15, 0xB0, 0x2F, 0x40, 0xB0, 0x0F, 0x15, 0xB0, 0x2F, 0x00}},
        {&MainMidi::sendMidiNumKey8,
         {0xB0, 0x0F, 0x15, 0xB0, 0x2F, 0x41, 0xB0, 0x0F, 0x15, 0xB0, 0x2F, 0x01}},
        {&MainMidi::sendMidiNumKey9,
         {0xB0, 0x0F, 0x15, 0xB0, 0x2F, 0x42, 0xB0, 0x0F, 0x15, 0xB0, 0x2F, 0x02}},
        {&MainMidi::sendLogicClose, {0xF0, 0x00, 0x22, 0x11, 0x01, 0xF7}},
        {&MainMidi::sendLogicNextSong, {0xF0, 0x00, 0x22, 0x11, 0x02, 0xF7}},
    };
    for (const auto& c : cases) {
        daw.clearReceived();
        (engine.get()->*c.send)();
        sendMarker();
        const size_t messages = c.bytes.size() == 12 ? 4 : 1;
        ASSERT_TRUE(daw.waitForEvents(messages + 1));
        auto got = daw.received();
        ASSERT_EQ(got.size(), messages + 1) << "nothing else comes before the marker";
        EXPECT_EQ(got.back().bytes, kMarker);
        got.pop_back();
        Bytes all;
        for (const auto& e : got) {
            EXPECT_EQ(e.bytes.size(), c.bytes.size() / messages);
            all.insert(all.end(), e.bytes.begin(), e.bytes.end());
        }
        EXPECT_EQ(all, c.bytes);
    }

    // A message larger than any JACK MIDI buffer is dropped when it is queued and holds up
    // nothing behind it.
    daw.clearReceived();
    MidiPacketList list;
    std::vector<uint8_t> huge(60000, 0x01);
    huge.front() = 0xF0;
    huge.back() = 0xF7;
    list.addPacket(0, huge.data(), uint16_t(huge.size()));
    list.addPacket(0, {0xC0, 0x68});
    EXPECT_EQ(services->received(engine->sourceVirtualsrc(), list), kMidiNoErr);
    sendMarker();
    ASSERT_TRUE(daw.waitForEvents(2));
    ASSERT_EQ(daw.received().size(), 2u);
    EXPECT_EQ(daw.received()[0].bytes, (Bytes{0xC0, 0x68}));
    EXPECT_EQ(daw.received()[1].bytes, kMarker);
}

TEST_F(MidiEngine, BackupTimersFireOnceEachAndAreNotCancelled) {
    prefs->prefsBackupDelay = 0.15f;
    JackTestClient daw;
    ASSERT_TRUE(daw.connectToGigmora());
    engine->startBackupTimer();
    engine->startBackupTimer();
    engine->startBackupTimer2();
    ASSERT_TRUE(daw.waitForEvents(3, 3000));
    ASSERT_NE(engine->backupTimer(), nullptr);
    EXPECT_EQ(engine->backupTimer()->interval(), 150);
    EXPECT_EQ(engine->backupTimer2()->interval(), 300) << "twice the delay";
    EXPECT_TRUE(engine->backupTimer2()->isSingleShot());
    // All three have fired; none is left to fire again.
    for (const QTimer* timer : engine->findChildren<QTimer*>())
        EXPECT_FALSE(timer->isActive()) << timer->interval() << " ms";
    sendMarker();
    ASSERT_TRUE(daw.waitForEvents(4));
    const auto got = daw.received();
    ASSERT_EQ(got.size(), 4u);
    EXPECT_EQ(got[0].bytes, (Bytes{0xC0, 0x69}));
    EXPECT_EQ(got[1].bytes, (Bytes{0xC0, 0x69}));
    EXPECT_EQ(got[2].bytes, (Bytes{0xC0, 0x6B})) << "twice the delay, so last";
    EXPECT_EQ(got[3].bytes, kMarker);
    EXPECT_NE(engine->backupTimer2(), nullptr);
}

TEST_F(MidiEngine, DeviceNamesFixedAnswersAndUnknownOperations) {
    EXPECT_EQ(engine->uniqueIDDevice(), "Selected Device");
    // Another program's port that carries a unique ID and a pretty name.
    JackTestClient keys("gigmora-keys");
    jack_port_t* port = jack_port_by_name(keys.client(), "gigmora-keys:out");
    ASSERT_NE(port, nullptr);
    jack_set_property(keys.client(), jack_port_uuid(port), JackMidiServices::kUniqueIDKey, "4242",
                      nullptr);
    jack_set_property(keys.client(), jack_port_uuid(port), JACK_METADATA_PRETTY_NAME, "Keys",
                      nullptr);
    prefs->prefsSelectedMidiDeviceUniqueID = 4242;
    EXPECT_EQ(engine->uniqueIDDevice(), "Keys");
    engine->connectToMidiDestinationWithUniqueID();
    EXPECT_NE(engine->gigmoraDestinationEndpointFromUniqueID(), 0u);
    engine->disConnectFromMidiSourceWithUniqueID(); // inPort is 0: nothing happens

    EXPECT_EQ(engine->returnMidiDeviceForDestinationUsingUniqueID(0), 101);
    EXPECT_EQ(engine->returnMidiDeviceForDestinationUsingUniqueID(19731973), 101);
    EXPECT_TRUE(engine->mNameCopyArray.isEmpty());
    EXPECT_EQ(engine->mainMidiNumberOfSources.toInt(), 0);
    for (const char* op : {"connectToMidiSourceWithUniqueID", "populateNameCopyArrayForDestination",
                           "getUniqueIDOfMidiDestination:", "grabAndStoreMidiSourceAsUniqueID:",
                           "grabAndStoreMidiSpacebarSourceAsUniqueID:"})
        EXPECT_FALSE(engine->perform(op)) << op;
    const MIDIClientRef client = engine->client();
    EXPECT_TRUE(engine->perform("disconnectAllMidi"));
    EXPECT_EQ(engine->client(), client) << "empty hooks change nothing";
}

// How a run of bytes is cut into the messages that go out one per event.
TEST(MidiMessageSplitter, CutsAtStatusBytes) {
    auto split = [](Bytes in) {
        std::vector<Bytes> out;
        MidiMessageSplitter::forEach(
            in.data(), in.size(), [&](const uint8_t* m, size_t n) { out.emplace_back(m, m + n); });
        return out;
    };
    EXPECT_EQ(split({0xB0, 0x0F, 0x0E, 0xC0, 0x68, 0x90, 0x48, 0x7F}),
              (std::vector<Bytes>{{0xB0, 0x0F, 0x0E}, {0xC0, 0x68}, {0x90, 0x48, 0x7F}}));
    EXPECT_EQ(split({0xF0, 0x00, 0x22, 0x11, 0x01, 0xF7, 0xF8, 0xC0, 0x7F}),
              (std::vector<Bytes>{{0xF0, 0x00, 0x22, 0x11, 0x01, 0xF7}, {0xF8}, {0xC0, 0x7F}}));
    // A status cut short, data with no status, a sysex with no end: passed on as they are.
    EXPECT_EQ(split({0x90, 0x48, 0xC0, 0x05}), (std::vector<Bytes>{{0x90, 0x48}, {0xC0, 0x05}}));
    EXPECT_EQ(split({0x10, 0x20, 0xC0, 0x05}), (std::vector<Bytes>{{0x10, 0x20}, {0xC0, 0x05}}));
    EXPECT_EQ(split({0xF0, 0x01, 0x02}), (std::vector<Bytes>{{0xF0, 0x01, 0x02}}));
    EXPECT_TRUE(split({}).empty());
}

namespace {
std::atomic<int> g_notified[5];
void recordNotification(const MIDINotification* message, void*) {
    if (message->messageID < 5) ++g_notified[message->messageID];
}
} // namespace

// Another program's ports appearing (2), changing a property (4) and going away (3) reach the
// client's notification procedure; the engine's own procedure takes each without a change.
TEST(MidiNotifications, AddedChangedAndRemovedReachTheProcedure) {
    REQUIRE_JACK();
    JackMidiServices services;
    MIDIClientRef client = 0;
    ASSERT_EQ(services.clientCreate("gigmora-notified", &recordNotification, nullptr, &client),
              kMidiNoErr);
    for (auto& n : g_notified)
        n = 0;
    auto other = std::make_unique<JackTestClient>("gigmora-notifier");
    ASSERT_TRUE(waitUntil([] { return g_notified[kMIDIMsgObjectAdded] >= 2; }));
    jack_port_t* port = jack_port_by_name(other->client(), "gigmora-notifier:in");
    ASSERT_TRUE(port);
    jack_set_property(other->client(), jack_port_uuid(port), JackMidiServices::kUniqueIDKey, "5",
                      nullptr);
    EXPECT_TRUE(waitUntil([] { return g_notified[kMIDIMsgPropertyChanged] >= 1; }));
    other.reset();
    EXPECT_TRUE(waitUntil([] { return g_notified[kMIDIMsgObjectRemoved] >= 2; }));
    services.clientDispose(client);

    for (MIDINotificationMessageID id :
         {kMIDIMsgObjectAdded, kMIDIMsgObjectRemoved, kMIDIMsgPropertyChanged}) {
        const MIDINotification message{id, sizeof(MIDINotification)};
        MainMidi::notifyProc(&message, nullptr);
    }
}
