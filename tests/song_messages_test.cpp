#include "app/AppDelegate.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "midi/SongMessages.h"
#include "performance/SongRecall.h"
#include "settings/GigmoraConfig.h"
#include "support/JackTestClient.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"
#include "support/StageFixture.h"

#include <gtest/gtest.h>

using namespace helpers;

namespace {
using Bytes = std::vector<uint8_t>;

ManagedObject* addMessage(ObjectContext& c, ManagedObject* song, qint64 kind, qint64 channel,
                          qint64 number, qint64 value, qint64 interface = 100) {
    ManagedObject* m = c.insertNewObject("MidiMessage");
    m->setValue("mMmessageType", kind);
    m->setValue("mMchannel", channel);
    m->setValue("mMprogOrCcNumber", number);
    m->setValue("mMccValue", value);
    m->setValue("mMinterface", interface);
    song->mutableOrderedSetValueForKey("midiMessage").addObject(m);
    return m;
}

void ownMessage(ManagedObject* song, bool on, qint64 kind, qint64 channel, qint64 number,
                qint64 value = 0) {
    song->setValue("midiOutEnabled", on);
    song->setValue("midiOutMessageType", kind);
    song->setValue("midiOutChannel", channel);
    song->setValue("progOrCcNumber", number);
    song->setValue("ccValue", value);
}
} // namespace

// On recall a song's own MIDI goes out on "Gigmora Song Output" only: its own change first (when
// its switch is on), then its list in order, on the channel shown (0 meaning 1). Invalid
// messages are left out and said; one meant for a device of its own never goes there.
class SongMessagesOnStage : public StageFixture {
protected:
    void SetUp() override {
        StageFixture::SetUp();
        GigmoraConfig::setMidi({true});
        ASSERT_TRUE(listener_.isOpen());
    }
    bool listen() { // its output, which sends nothing, goes to the trigger input
        return listener_.connect("Gigmora Midi:Gigmora Virtual Input",
                                 "Gigmora Midi:Gigmora Song Output");
    }
    std::vector<Bytes> heard() {
        std::vector<Bytes> out;
        for (const auto& e : listener_.received())
            out.push_back(e.bytes);
        return out;
    }
    JackTestClient listener_{"song listener"};
};

TEST_F(SongMessagesOnStage, EachRecallSendsTheSongsMessagesInOrder) {
    makeSetlist({project("Opener.logicx"), project("Ballad.logicx"), project("Encore.logicx")});
    ObjectContext& c = *app->managedObjectContext();
    ownMessage(songs[1], true, SongMessages::kProgramChange, 0, 12);
    addMessage(c, songs[1], SongMessages::kControlChange, 16, 7, 100);
    addMessage(c, songs[1], SongMessages::kProgramChange, 3, 5, 0);
    addMessage(c, songs[1], 2, 1, 1, 1);                              // no such kind
    addMessage(c, songs[1], SongMessages::kControlChange, 17, 1, 1);  // no such channel
    addMessage(c, songs[1], SongMessages::kControlChange, 1, 128, 1); // over 127
    addMessage(c, songs[1], SongMessages::kControlChange, 2, 64, 127);
    addMessage(c, songs[1], SongMessages::kProgramChange, 1, 9, 0, 3); // a device of its own
    ownMessage(songs[2], false, SongMessages::kProgramChange, 1, 40);  // its switch off
    addMessage(c, songs[2], SongMessages::kControlChange, 1, 0, 0);
    launch();
    ASSERT_TRUE(listen());
    LogCapture log;

    ASSERT_TRUE(sendAndWaitHandled({0xC0, 0x7F})); // Opener → Ballad
    ASSERT_TRUE(listener_.waitForEvents(4));
    EXPECT_EQ(heard(),
              (std::vector<Bytes>{{0xC0, 12}, {0xBF, 7, 100}, {0xC2, 5}, {0xB1, 64, 127}}));
    EXPECT_EQ(log.count("Not sent for Ballad"), 3);
    ASSERT_TRUE(waitForCloseCommands(1)) << "the DAW still gets its close command";
    for (const auto& e : midi->received())
        EXPECT_NE(e.bytes, (Bytes{0xC0, 12})) << "nothing of the song's reaches the DAW's port";

    listener_.clearReceived();
    ASSERT_TRUE(sendAndWaitHandled({0xC0, 0x7F})); // Ballad → Encore
    ASSERT_TRUE(listener_.waitForEvents(1));
    EXPECT_EQ(heard(), (std::vector<Bytes>{{0xB0, 0, 0}}));
    EXPECT_EQ(log.count("cannot be reached"), 1);
}
