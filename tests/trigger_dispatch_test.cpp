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
    QObject sender;
    MidiCapture captured;
    std::unique_ptr<Prefs> prefs;
    SongRecall recall{SongRecall::Dependencies{}};
    std::unique_ptr<TriggerDispatch> dispatch;
    int received = 0;
};

// Only note 72 with a velocity on the space bar's channel records the note (without an X
// display the press is only logged).
TEST_F(TriggerDispatchTest, SpacebarNoteIsFixedAt72WithVelocity) {
    prefs->prefsSelectedSpacebarMidiChannel = 2;
    const auto records = [&](uint64_t status, uint64_t note, uint64_t velocity) {
        recall.kAsNumber = 0;
        captured.status = status, captured.data1 = note, captured.data2 = velocity;
        dispatch->checkMidiSpacebar();
        return recall.kAsNumber.toInt() == 72;
    };
    EXPECT_FALSE(records(0x91, 72, 0));
    EXPECT_FALSE(records(0x91, 60, 100));
    EXPECT_FALSE(records(0x90, 72, 100)) << "channel 1";
    EXPECT_FALSE(records(0xC1, 72, 100)) << "a program change is not a note";
    EXPECT_TRUE(records(0x91, 72, 100));
    EXPECT_EQ(captured.status.load(), 2u) << "converted to the channel before the tests";
    recall.kAsNumber = 0;

    // The space bar's job, 0.2 s after the set-up, presses no key (a space would start or stop
    // the DAW's transport on stage) and changes nothing.
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
