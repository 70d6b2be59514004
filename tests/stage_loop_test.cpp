#include "app/MainWindow.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "midi/MainMidi.h"
#include "midi/MidiCapture.h"
#include "performance/SongRecall.h"
#include "platform/TableView.h"
#include "settings/Prefs.h"
#include "support/LibraryHelpers.h"
#include "support/StageFixture.h"

#include <QDir>
#include <QSignalSpy>
#include <QTimer>

using namespace helpers;
using Bytes = std::vector<uint8_t>;

class StageLoop : public StageFixture {
protected:
    void SetUp() override {
        StageFixture::SetUp();
        kOne = project("One.logicx");
        kTwo = project("Two \"live\" it's $HOME.logicx");
        kThree = project("Three & more.logicx");
    }
    QString kOne, kTwo, kThree;
};

// 127 on any channel, after the delay; no wrap-around; Previous at once.
TEST_F(StageLoop, TriggersPreviousAndSelectedRecalls) {
    makeSetlist({kOne, kTwo, kThree});
    launch();
    selectSetlistRow(1);
    ASSERT_EQ(selectedSetlistRow(), 1);
    midi->send({0xC9, 0x7F}); // channel 10, while channel 1 is selected
    ASSERT_TRUE(waitForCloseCommands(1));
    EXPECT_TRUE(waitUntil([&] { return selectedSetlistRow() == 2; }));
    EXPECT_TRUE(openedFiles().isEmpty()) << "nothing opens before the DAW delay";
    ASSERT_TRUE(waitForOpened(1));
    EXPECT_EQ(openedFiles(), QStringList{kThree}) << "the path reaches the DAW untouched";
    midi->send({0xC0, 0x7F});
    ASSERT_TRUE(waitForCloseCommands(2));
    ASSERT_TRUE(waitForOpened(2));
    EXPECT_EQ(openedFiles().last(), kThree);
    EXPECT_EQ(selectedSetlistRow(), 2);

    app->recall()->reverseMyScriptInController();
    EXPECT_EQ(selectedSetlistRow(), 1) << "at once, not queued";
    ASSERT_TRUE(waitForCloseCommands(3));
    ASSERT_TRUE(waitForOpened(3));
    EXPECT_EQ(openedFiles().last(), kTwo);
    selectSetlistRow(0);
    EXPECT_FALSE(app->recall()->reverseMyScriptInController());
    ASSERT_TRUE(waitForOutput());
    EXPECT_EQ(closeCommands(), 3u);

    selectSetlistRow(2);
    app->recall()->goToLogicProject();
    ASSERT_TRUE(waitForOpened(4));
    EXPECT_EQ(openedFiles().last(), kThree);
}

TEST_F(StageLoop, SysexTriggerAndTheHoldProgram) {
    makeSetlist({kOne, kTwo, kThree});
    launch();
    selectSetlistRow(0);
    midi->send({0xF0, 0x00, 0x22, 0x11, 0x02, 0xF7});
    ASSERT_TRUE(waitForCloseCommands(1));
    ASSERT_TRUE(waitForOpened(1));
    EXPECT_EQ(openedFiles(), QStringList{kTwo});
    // 126 only counts on the selected channel, and only records the number.
    midi->clearReceived();
    ASSERT_TRUE(sendAndWaitHandled({0xC3, 0x7E}));
    EXPECT_EQ(app->recall()->kAsNumber.toInt(), 0);
    midi->send({0xC0, 0x7E});
    EXPECT_TRUE(waitUntil([&] { return app->recall()->kAsNumber.toInt() == 126; }));
    ASSERT_TRUE(sendAndWaitHandled({0xC0, 0x05}));
    ASSERT_TRUE(waitForMainQueue()); // a selection it moved has moved
    ASSERT_TRUE(waitForOutput());
    EXPECT_EQ(closeCommands(), 0u);
    EXPECT_EQ(selectedSetlistRow(), 1);
    EXPECT_EQ(app->mainMidiObject()->capture().status.load(), 1u)
        << "the capture is disarmed to the channel";
}

// Two triggers inside the DAW delay open one project; a missing project, a non-project or no
// selection none.
TEST_F(StageLoop, DoubleTapOpensOneProjectAndAMissingProjectNothing) {
    makeSetlist({kOne, kTwo, kThree, project("notes.txt")});
    launch();
    selectSetlistRow(0);
    QSignalSpy requests(app->recall(), &SongRecall::projectOpenRequested);
    midi->send({0xC0, 0x7F});
    ASSERT_TRUE(waitForCloseCommands(1));
    midi->send({0xC0, 0x7F});
    ASSERT_TRUE(waitForCloseCommands(2));
    ASSERT_TRUE(waitUntil([&] { return requests.size() == 2; }));
    EXPECT_EQ(requests[0], (QVariantList{kThree, true}));
    EXPECT_EQ(requests[1], (QVariantList{"blank", false}));
    ASSERT_TRUE(waitForOpened(1));
    EXPECT_EQ(openedFiles(), QStringList{kThree});

    QDir(kTwo).removeRecursively();
    selectSetlistRow(1);
    app->recall()->goToLogicProject();
    ASSERT_TRUE(waitForCloseCommands(3)) << "the DAW is still told to close";
    ASSERT_TRUE(waitUntil([&] { return requests.size() == 3; }));
    EXPECT_EQ(requests[2], (QVariantList{kTwo, false}));

    selectSetlistRow(2);
    midi->send({0xC0, 0x7F});
    EXPECT_TRUE(waitUntil([&] { return selectedSetlistRow() == 3; }));
    // With no song selected a trigger closes and opens nothing either.
    app->window()->editView()->setlistTableView()->deselectAll();
    processEvents();
    ASSERT_TRUE(sendAndWaitHandled({0xC0, 0x7F}));
    ASSERT_TRUE(waitForOutput());
    ASSERT_TRUE(waitForMainQueue(dawDelay())); // an opening would have been asked for
    EXPECT_EQ(selectedSetlistRow(), -1);
    EXPECT_EQ(closeCommands(), 3u);
    EXPECT_EQ(requests.size(), 3);
    EXPECT_EQ(openedFiles(), QStringList{kThree});
}

TEST_F(StageLoop, FloodOfProgramChangesStaysResponsiveAndAnswersTheLast) {
    makeSetlist({kOne, kTwo, kThree});
    launch();
    selectSetlistRow(0);
    app->sharedPrefs()->prefsSelectedDAWDelay = 0.05f;
    int ticks = 0;
    QTimer heartbeat;
    QObject::connect(&heartbeat, &QTimer::timeout, [&] { ++ticks; });
    heartbeat.start(10);
    for (int i = 0; i < 20000; ++i) {
        midi->send({static_cast<uint8_t>(0xC0 | (i % 16)), static_cast<uint8_t>(i % 100)});
        if (i % 500 == 499) processEvents();
    }
    midi->send({0xC4, 0x7F});
    ASSERT_TRUE(waitForCloseCommands(1, 30000)) << "the last trigger is answered";
    EXPECT_GT(ticks, 0) << "the main thread kept turning during the flood";
    EXPECT_TRUE(waitUntil([&] { return selectedSetlistRow() == 1; }));
    EXPECT_EQ(closeCommands(), 1u);
}
