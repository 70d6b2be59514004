#include "daw/DawControl.h"
#include "daw/SessionManager.h"
#include "library/ArrayController.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "library/ProjectKind.h"
#include "performance/StageState.h"
#include "settings/GigmoraConfig.h"
#include "support/EditFixture.h"
#include "support/LibraryHelpers.h"
#include "support/StageStatus.h"
#include "support/TempHome.h"

#include <QDir>
#include <QPushButton>
#include <QTest>
#include <signal.h>

using namespace helpers;

// Gigmora as the session manager of a DAW, through the window.
class DawSessions : public EditFixture {
protected:
    void SetUp() override {
        EditFixture::SetUp(); // a fresh home; the configuration is read at launch
        // The stand-in DAW (tests/tools/fake_nsm_daw), which speaks the protocol as Ardour does.
        GigmoraConfig::Daw daw = useSessionManager();
        daw.command = QString("\"%1\" --caps :switch:").arg(FAKE_NSM_DAW);
        GigmoraConfig::setDaw(daw);
    }
    PerformanceView* stage() { return app->window()->performanceView(); }
    DawStatus daw() { return app->stageState()->snapshot().daw; }
};

// Session folders (or their .ardour files) are songs; recall opens them in the running DAW.
TEST_F(DawSessions, ASetlistOfSessionsPlaysThrough) {
    launch();
    ASSERT_TRUE(app->dawControl()->managesSessions());
    ASSERT_TRUE(waitUntil([&] { return daw().phase == stage::Phase::Ready; }))
        << stage()->dawState().toStdString();
    QDir().mkpath(TempHome::home() + "/sessions/NotASession");
    ASSERT_TRUE(dropFiles(songList(),
                          {session("Opener"), session("Ballad") + "/Ballad.ardour",
                           TempHome::home() + "/sessions/NotASession", project("Old.logicx")},
                          0));
    QStringList paths;
    for (ManagedObject* s : context().executeFetchRequest({"Song", {}, {}, 0}))
        paths << s->stringValue("path");
    paths.sort();
    EXPECT_EQ(paths, (QStringList{session("Ballad"), session("Opener")}))
        << "a session file stands for its folder; other folders and files are skipped";

    ManagedObject* gig = currentSetlist();
    ASSERT_TRUE(gig);
    const std::pair<const char*, int> songs[] = {{"Opener", 205}, {"Ballad", 0}};
    for (const auto& [name, seconds] : songs)
        gig->mutableOrderedSetValueForKey("song").addObject(
            addSong(context(), name, session(name, seconds), 1));
    app->currentSetlistArrayController()->setSelectionIndex(0);
    EXPECT_TRUE(waitUntil([&] {
        return stage()->timeLeft() == "Time left: 3:25 (1 song without a known length)";
    })) << stage()->timeLeft().toStdString();
    auto* next = stage()->findChild<QPushButton*>("nextButton");
    const qint64 pid = app->dawControl()->sessionManager()->dawProcessId();
    QTest::mouseClick(next, Qt::LeftButton);
    ASSERT_TRUE(waitUntil([&] { return daw() == stage::playing("Ballad"); }))
        << stage()->dawState().toStdString();
    EXPECT_EQ(app->dawControl()->sessionManager()->loadedPath(), session("Ballad"));
    EXPECT_EQ(app->dawControl()->sessionManager()->dawProcessId(), pid) << "one DAW";
    EXPECT_EQ(stage()->timeLeft(), "Time left: 0:00 (1 song without a known length)");
    app->requestQuit(); // ends it, after the library is saved
    EXPECT_NE(::kill(pid_t(pid), 0), 0);
    EXPECT_TRUE(readFile(storePath()).contains("Ballad"));
}
