#include "app/MainWindow.h"
#include "library/FetchRequest.h"
#include "library/LibraryStack.h"
#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/PersistentStore.h"
#include "midi/MainMidi.h"
#include "midi/backends/jack/JackMidiServices.h"
#include "platform/Error.h"
#include "platform/TableView.h"
#include "settings/Prefs.h"
#include "support/LibraryHelpers.h"
#include "support/StageFixture.h"

#include <QAction>
#include <QDir>
#include <QLineEdit>
#include <QSignalSpy>
#include <sys/stat.h>

using namespace helpers;

class AppLifecycle : public StageFixture {};

// A setlist name typed and not confirmed yet is saved by a quitting signal; the next quit, with
// nothing changed, writes nothing.
TEST_F(AppLifecycle, FirstLaunchAndAnOpenEditSavedOnQuit) {
    launch();
    const auto setlists = app->managedObjectContext()->executeFetchRequest({"Setlist", {}, {}, 0});
    ASSERT_EQ(setlists.size(), 1);
    EXPECT_EQ(setlists[0]->stringValue("name"), "new Setlist");
    EXPECT_FALSE(midi->portWithUniqueID(MainMidi::kVirtualInputUniqueID).isEmpty());

    TableView* table = app->window()->editView()->topListOfSetlistsTableView();
    table->edit(table->model()->index(0, 0));
    auto* editor = table->findChild<QLineEdit*>();
    ASSERT_TRUE(editor);
    editor->setText("Saturday Night");
    QSignalSpy quit(app.get(), &AppDelegate::quitRequested);
    app->quitFromSignal();
    EXPECT_EQ(quit.count(), 1);
    EXPECT_TRUE(readFile(storePath()).contains("Saturday Night"));

    app.reset();
    struct stat before {};
    ASSERT_EQ(stat(storePath().toUtf8().constData(), &before), 0);
    app = std::make_unique<AppDelegate>(std::make_unique<JackMidiServices>());
    app->applicationDidFinishLaunching();
    app->requestQuit();
    app->quitFromSignal();
    struct stat after {};
    ASSERT_EQ(stat(storePath().toUtf8().constData(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino) << "the file was written again";
}

TEST_F(AppLifecycle, TerminationSavesThenDropsPathlessSongsFromMemoryOnly) {
    launch();
    ObjectContext* c = app->managedObjectContext();
    addSong(*c, "Has a path", "/a.logicx", 1);
    ManagedObject* loose = addSong(*c, "No path", QString(), 2);
    EXPECT_TRUE(app->applicationShouldTerminate());
    app->applicationWillTerminate();
    EXPECT_TRUE(loose->isDeleted());
    EXPECT_TRUE(c->hasChanges()) << "the deletion is not saved";
    app.reset();

    Error error;
    auto store = LibraryStack::openReadOnly(&error);
    ASSERT_TRUE(store);
    ObjectContext reopened(ManagedObjectModel::gigmoraTwo(), store.get());
    EXPECT_EQ(reopened.executeFetchRequest({"Song", {}, {}, 0}).size(), 2);
}

// A store that cannot be opened is reported at start-up, and again at each later request.
TEST_F(AppLifecycle, ABrokenStoreIsReportedOnceAtLaunch) {
    app.reset();
    writeFile(storePath(), "not a store");
    alerts.presentedErrors.clear();
    app = std::make_unique<AppDelegate>(std::make_unique<JackMidiServices>());
    app->applicationDidFinishLaunching();
    processEvents();
    EXPECT_EQ(alerts.presentedErrors.size(), 1);
    QAction* undo = nullptr;
    for (QAction* a : app->window()->findChildren<QAction*>())
        if (a->text() == "&Undo") undo = a;
    ASSERT_TRUE(undo);
    undo->trigger();
    EXPECT_EQ(alerts.presentedErrors.size(), 2);
}

TEST_F(AppLifecycle, WindowQuitFollowsTheSaveRule) {
    launch();
    addSong(*app->managedObjectContext(), "Unsaved", "/u.logicx", 3);
    // The store's place is taken: the save fails and the quit alert decides.
    QFile::remove(storePath());
    QDir().mkpath(storePath());
    QSignalSpy quit(app.get(), &AppDelegate::quitRequested);
    alerts.answers = {Alerts::FirstButton};
    EXPECT_FALSE(app->window()->close()) << "\"Quit anyway\" keeps the application running";
    EXPECT_EQ(alerts.shownAlerts.last().buttons, QStringList({"Quit anyway", "Cancel"}));
    EXPECT_EQ(quit.count(), 0);
    alerts.answers = {Alerts::FirstButton + 1};
    app->requestQuit();
    EXPECT_EQ(quit.count(), 1);
}

TEST_F(AppLifecycle, DeviceAlertsShowOnceUntilTheInputDeviceChanges) {
    launch();
    app->sharedPrefs()->prefsSelectedMidiDeviceUniqueID = 5151;
    app->controllerMidiDeviceChangeAlert();
    app->controllerMidiDeviceChangeAlert();
    app->controllerMidiDeviceInitialSetAlert();
    ASSERT_EQ(alerts.shownAlerts.size(), 1);

    app->sharedPrefs()->prefsCreateVirtualPort = true; // off, the action ends before re-arming
    app->midiSpacebarTriggerDevicePopUpAction();
    EXPECT_TRUE(app->midiDeviceAlert());
    app->midiDevicePopUpAction();
    EXPECT_FALSE(app->midiDeviceAlert());
}
