#include "app/MainWindow.h"
#include "library/ManagedObject.h"
#include "midi/MidiCapture.h"
#include "performance/SongRecall.h"
#include "platform/Guard.h"
#include "platform/TableView.h"
#include "settings/Prefs.h"
#include "support/LibraryHelpers.h"
#include "support/StageFixture.h"

#include <QDir>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTimer>
#include <sys/resource.h>

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

TEST_F(StageLoop, ProgramChange127OnAnyChannelOpensTheNextSongAfterTheDelay) {
    makeSetlist({kOne, kTwo, kThree});
    launch();
    selectSetlistRow(1);
    ASSERT_EQ(selectedSetlistRow(), 1);

    QElapsedTimer clock;
    clock.start();
    midi->send({0xC9, 0x7F}); // channel 10, while channel 1 is selected
    ASSERT_TRUE(waitForCloseCommands(1));
    const qint64 closedAt = clock.elapsed();
    EXPECT_TRUE(waitUntil([&] { return selectedSetlistRow() == 2; }));
    EXPECT_TRUE(openedFiles().isEmpty()) << "nothing opens before the DAW delay";
    ASSERT_TRUE(waitForOpened(1));
    EXPECT_GE(clock.elapsed() - closedAt, 250);
    EXPECT_EQ(openedFiles(), QStringList{kThree}) << "the path reaches the DAW untouched";
    EXPECT_EQ(app->recall()->controllerFileToOpen.toString(), "blank");
    EXPECT_EQ(app->recall()->kAsNumber.toInt(), 0);

    // The last song is closed and opened again: no wrap-around.
    midi->send({0xC0, 0x7F});
    ASSERT_TRUE(waitForCloseCommands(2));
    ASSERT_TRUE(waitForOpened(2));
    EXPECT_EQ(openedFiles().last(), kThree);
    EXPECT_EQ(selectedSetlistRow(), 2);
}

TEST_F(StageLoop, SysexTriggerAndTheHoldProgram) {
    makeSetlist({kOne, kTwo, kThree});
    launch();
    selectSetlistRow(0);
    midi->send({0xF0, 0x00, 0x22, 0x11, 0x02, 0xF7});
    ASSERT_TRUE(waitForCloseCommands(1));
    EXPECT_TRUE(waitUntil([&] { return selectedSetlistRow() == 1; }));
    ASSERT_TRUE(waitForOpened(1));
    EXPECT_EQ(openedFiles(), QStringList{kTwo});

    // 126 only counts on the selected channel, and only records the number.
    midi->clearReceived();
    midi->send({0xC3, 0x7E});
    waitUntil([] { return false; }, 150);
    EXPECT_EQ(app->recall()->kAsNumber.toInt(), 0);
    midi->send({0xC0, 0x7E});
    EXPECT_TRUE(waitUntil([&] { return app->recall()->kAsNumber.toInt() == 126; }));
    midi->send({0xC0, 0x05});
    waitUntil([] { return false; }, 150);
    EXPECT_EQ(closeCommands(), 0u);
    EXPECT_EQ(selectedSetlistRow(), 1);
    EXPECT_EQ(MidiCapture::status.load(), 1u) << "the capture is disarmed to the channel";
}

TEST_F(StageLoop, ASongThatIsNotAProjectSendsNothing) {
    makeSetlist({kOne, project("notes.txt")});
    launch();
    selectSetlistRow(0);
    midi->send({0xC0, 0x7F});
    EXPECT_TRUE(waitUntil([&] { return selectedSetlistRow() == 1; }));
    waitUntil([] { return false; }, 500);
    EXPECT_EQ(closeCommands(), 0u);
    EXPECT_TRUE(openedFiles().isEmpty());
    EXPECT_EQ(app->recall()->controllerFileToOpen.toString(), project("notes.txt"));
}

// Two triggers inside the DAW delay: both close commands go out, the first opening takes the
// latest song and the second finds "blank", which is refused. A project moved away since it
// was added launches nothing either.
TEST_F(StageLoop, DoubleTapOpensOneProjectAndAMissingProjectNothing) {
    makeSetlist({kOne, kTwo, kThree});
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
    EXPECT_EQ(openedFiles(), QStringList{kThree});
}

TEST_F(StageLoop, FloodOfProgramChangesStaysResponsiveAndAnswersTheLast) {
    makeSetlist({kOne, kTwo, kThree});
    launch();
    selectSetlistRow(0);
    app->sharedPrefs()->prefsSelectedDAWDelay = 0.05f;
    struct rusage before {};
    getrusage(RUSAGE_SELF, &before);
    int ticks = 0;
    QTimer heartbeat;
    QObject::connect(&heartbeat, &QTimer::timeout, [&] { ++ticks; });
    heartbeat.start(10);
    // 20,000 program changes over about two seconds, in bursts of 500.
    for (int i = 0; i < 20000; ++i) {
        midi->send({static_cast<uint8_t>(0xC0 | (i % 16)), static_cast<uint8_t>(i % 100)});
        if (i % 500 == 499) waitUntil([] { return false; }, 50);
    }
    midi->send({0xC4, 0x7F});
    ASSERT_TRUE(waitForCloseCommands(1, 30000)) << "the last trigger is answered";
    EXPECT_GT(ticks, 40) << "the main thread kept turning during the flood";
    EXPECT_TRUE(waitUntil([&] { return selectedSetlistRow() == 1; }));
    struct rusage after {};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 64 * 1024) << "KiB of growth";
    EXPECT_EQ(closeCommands(), 1u);
}

TEST_F(StageLoop, PreviousSelectedAndByNumberRecalls) {
    makeSetlist({kOne, kTwo, kThree});
    launch();
    selectSetlistRow(1);
    app->recall()->reverseMyScriptInController();
    EXPECT_EQ(selectedSetlistRow(), 0) << "at once, not queued";
    ASSERT_TRUE(waitForCloseCommands(1));
    ASSERT_TRUE(waitForOpened(1));
    EXPECT_EQ(openedFiles(), QStringList{kOne});

    // At the first row the step back is out of range: nothing is closed or opened.
    EXPECT_FALSE(guarded("reverse", [&] { app->recall()->reverseMyScriptInController(); }));
    waitUntil([] { return false; }, 400);
    EXPECT_EQ(closeCommands(), 1u);

    selectSetlistRow(2);
    app->recall()->goToLogicProject();
    ASSERT_TRUE(waitForOpened(2));
    EXPECT_EQ(openedFiles().last(), kThree);

    // Song 2 by number: the library song is shown, the setlist copy of the same path is not.
    app->window()->aSongsTableView->selectRowIndexes({0}, false);
    app->recall()->kAsNumber = 2;
    app->recall()->runMyScriptUsingProgChangeInController();
    ASSERT_TRUE(waitForOpened(3));
    processEvents();
    EXPECT_EQ(openedFiles().last(), kTwo);
    EXPECT_EQ(app->window()->aSongsTableView->selectedRow(), 1);
    waitUntil([] { return false; }, 400);
    EXPECT_EQ(openedFiles().size(), 3) << "opened once";

    // Another DAW setting: the close goes out, nothing opens.
    app->sharedPrefs()->prefsSelectedDAW = 2;
    const size_t closes = closeCommands();
    app->recall()->goToLogicProject();
    ASSERT_TRUE(waitForCloseCommands(closes + 1));
    waitUntil([] { return false; }, 500);
    EXPECT_EQ(openedFiles().size(), 3);
}

TEST_F(StageLoop, ByNumberWithoutASelectedSongOnlyMovesTheSelection) {
    makeSetlist({kOne, kTwo});
    launch();
    app->window()->aSongsTableView->deselectAll();
    app->recall()->kAsNumber = 2;
    EXPECT_FALSE(
        guarded("by number", [&] { app->recall()->runMyScriptUsingProgChangeInController(); }));
    processEvents();
    EXPECT_EQ(app->window()->aSongsTableView->selectedRow(), 1);
    waitUntil([] { return false; }, 500);
    EXPECT_EQ(closeCommands(), 0u);
    EXPECT_TRUE(openedFiles().isEmpty());
}

TEST(WindowPlacement, TopRightCornerOnTheVisibleArea) {
    // A visible frame of (0, 23, 1440, 877) on a 900-point screen is (0, 0, 1440, 877) here;
    // an 800 x 600 window lands with its bottom-left corner at (640, 300), its top-left at (640,
    // 0).
    EXPECT_EQ(SongRecall::topRightOrigin(QRect(0, 0, 1440, 877), QSize(800, 600)), QPoint(640, 0));
    EXPECT_EQ(SongRecall::topRightOrigin(QRect(100, 40, 1000, 700), QSize(400, 300)),
              QPoint(700, 40));
}
