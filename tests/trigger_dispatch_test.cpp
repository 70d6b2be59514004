#include "midi/MidiCapture.h"
#include "performance/SongRecall.h"
#include "performance/TriggerDispatch.h"
#include "platform/NotificationCenter.h"
#include "settings/Prefs.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"
#include "support/TempHome.h"

#include <QObject>
#include <gtest/gtest.h>

using namespace helpers;

class TriggerDispatchTest : public ::testing::Test {
protected:
    void SetUp() override {
        TempHome::clear();
        prefs = std::make_unique<Prefs>();
        dispatch = std::make_unique<TriggerDispatch>(
            TriggerDispatch::Dependencies{&recall, prefs.get(), &sender, &captured});
        NotificationCenter::defaultCenter().addObserver(&sender, "MidiReceived",
                                                        [this](const Notification& n) {
                                                            EXPECT_EQ(n.object, &sender);
                                                            ++received;
                                                        });
    }
    void capture(uint64_t status, uint64_t data1, uint64_t data2) {
        captured.status = status;
        captured.data1 = data1;
        captured.data2 = data2;
    }
    QObject sender;
    MidiCapture captured;
    std::unique_ptr<Prefs> prefs;
    SongRecall recall{SongRecall::Dependencies{}};
    std::unique_ptr<TriggerDispatch> dispatch;
    int received = 0;
};

TEST_F(TriggerDispatchTest, HoldProgramOnlyOnTheSelectedChannelAndOncePerCapture) {
    prefs->prefsSelectedMidiChannel = 3;
    capture(0xC3, 126, 0); // channel 4
    dispatch->checkMidi();
    EXPECT_FALSE(recall.kAsNumber.isValid());
    capture(0xC2, 126, 0); // channel 3
    dispatch->checkMidi();
    EXPECT_EQ(recall.kAsNumber.toInt(), 126);
    EXPECT_EQ(captured.status.load(), 3u) << "the status now holds the channel";
    recall.kAsNumber = 0;
    dispatch->checkMidi(); // a second job for the same capture finds nothing to do
    EXPECT_EQ(recall.kAsNumber.toInt(), 0);
    capture(0xC0, 5, 0);
    dispatch->checkMidi();
    EXPECT_EQ(recall.kAsNumber.toInt(), 0);
    EXPECT_EQ(received, 4) << "\"MidiReceived\" for every packet";

    prefs->prefsSelectedMidiChannel = QVariant(); // missing settings read as 0: 126 never matches
    capture(0xC0, 126, 0);
    dispatch->checkMidi();
    EXPECT_EQ(recall.kAsNumber.toInt(), 0);
}

TEST_F(TriggerDispatchTest, SpacebarNoteIsFixedAt72WithVelocity) {
    prefs->prefsSelectedSpacebarMidiChannel = 2;
    capture(0x90, 72, 0); // velocity 0
    dispatch->checkMidiSpacebar();
    EXPECT_EQ(captured.status.load(), 1u) << "converted before the tests";
    EXPECT_FALSE(recall.kAsNumber.isValid());
    capture(0x91, 60, 100); // another note on the right channel
    dispatch->checkMidiSpacebar();
    EXPECT_FALSE(recall.kAsNumber.isValid());
    capture(0x90, 72, 100); // wrong channel
    dispatch->checkMidiSpacebar();
    EXPECT_FALSE(recall.kAsNumber.isValid());
    capture(0x91, 72, 100);
    dispatch->checkMidiSpacebar(); // without an X display the press is only logged
    EXPECT_EQ(recall.kAsNumber.toInt(), 72);
    capture(0xC1, 72, 100);
    recall.kAsNumber = 0;
    dispatch->checkMidiSpacebar();
    EXPECT_EQ(recall.kAsNumber.toInt(), 0) << "a program change is not a note";

    // The space bar's job, 0.2 s after the set-up, presses no key (a space would start or stop
    // the DAW's transport on stage) and leaves the recall, the capture and the announcements be.
    LogCapture log;
    const uint64_t status = captured.status.load();
    const int announced = received;
    dispatch->spacebarSetup();
    ASSERT_TRUE(waitForMainQueue(0.2)); // runs behind the space bar's job
    EXPECT_FALSE(log.contains("key press"));
    EXPECT_EQ(recall.kAsNumber.toInt(), 0);
    EXPECT_EQ(captured.status.load(), status);
    EXPECT_EQ(received, announced);
}
