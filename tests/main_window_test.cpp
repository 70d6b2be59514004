#include "app/MainWindow.h"
#include "app/SetlistCheckDialog.h"
#include "app/SongDetailsScreen.h"
#include "library/ArrayController.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "performance/midiMessageTableViewController.h"
#include "platform/TableView.h"
#include "settings/Prefs.h"
#include "support/EditFixture.h"
#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>

using namespace helpers;

class MainWindowModes : public EditFixture {
protected:
    MainWindow* w() { return app->window(); }
    QList<QWidget*> modeViewsShown() {
        QList<QWidget*> out;
        for (QWidget* v : w()->masterView()->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
            if (v == w()->performanceView() || v == w()->editView() || v == w()->songDetailsView())
                out << v;
        return out;
    }
};

TEST_F(MainWindowModes, SwitchingModesShowsOneModeView) {
    launch();
    choose(1);
    EXPECT_EQ(modeViewsShown(), QList<QWidget*>{w()->performanceView()});
    choose(2);
    choose(2);
    EXPECT_EQ(modeViewsShown(), QList<QWidget*>{w()->songDetailsView()}) << "performance removed";
    choose(0);
    EXPECT_TRUE(modeViewsShown().isEmpty()) << "editing adds no mode view";
    EXPECT_TRUE(w()->editView()->isVisibleTo(w())) << "the edit screen lives on the background";
}

// On stage: the setlist's name, its running order, the next song; the active switch is saved.
TEST_F(MainWindowModes, PerformanceFollowsTheSetlist) {
    ManagedObject* setlist = addSetlist(context(), "x");
    for (const char* title : {"Opener", "Ballad", "Encore"})
        setlist->mutableOrderedSetValueForKey("song").addObject(
            addSong(context(), title, project(QString(title) + ".logicx"), 1));
    launch();
    ArrayController* all = app->allSetlistsArrayController();
    all->setSelectionIndex(all->arrangedObjects().indexOf(setlist));
    processEvents();
    setlist->setValue("name", "Friday");
    choose(1);
    EXPECT_EQ(w()->performanceView()->setlistName(), "Friday");

    ASSERT_EQ(w()->performanceView()->runningOrder()->numberOfRows(), 3);
    app->currentSetlistArrayController()->setSelectionIndex(0);
    processEvents();
    EXPECT_EQ(w()->performanceView()->nextSong(), "Next: Ballad");

    w()->activeButton()->setChecked(false);
    QTest::mouseClick(w()->activeButton(), Qt::LeftButton);
    EXPECT_TRUE(Prefs().prefsActive) << "read back from the file";
}

// Library ▸ Check Setlist…, in the edit mode only: the session passes with its length, the
// missing song has its problem under it, then the total; a dialog closed early drops its result.
TEST_F(MainWindowModes, CheckSetlistShowsEachSongsVerdict) {
    useSessionManager();
    const QString made = session("Made", 205);
    ManagedObject* gig = addSetlist(context(), "Gig");
    for (const QString& path : {made, TempHome::home() + "/sessions/Gone"})
        gig->mutableOrderedSetValueForKey("song").addObject(
            addSong(context(), QFileInfo(path).fileName(), path, 1));
    launch();
    app->allSetlistsArrayController()->setSelectionIndex(0);
    QAction* check = command("Check Setlist…");
    ASSERT_TRUE(check);
    choose(1);
    EXPECT_FALSE(check->isEnabled());
    choose(0);
    check->trigger();
    w()->findChild<SetlistCheckDialog*>()->close();
    check->trigger();
    SetlistCheckDialog* dialog = w()->findChildren<SetlistCheckDialog*>().last();
    EXPECT_EQ(dialog->windowTitle(), "Check Setlist “Gig”");
    QSignalSpy checked(dialog, &SetlistCheckDialog::checked);
    ASSERT_TRUE(checked.wait(60000));
    QStringList lines;
    for (QTreeWidgetItemIterator it(dialog->results()); *it; ++it)
        lines << (*it)->text(0);
    EXPECT_EQ(lines.first(), "System");
    EXPECT_TRUE(lines.contains("Made: passes, 3:25")) << lines.join('\n').toStdString();
    ASSERT_GT(lines.indexOf("Gone"), 0);
    EXPECT_TRUE(lines[lines.indexOf("Gone") + 1].startsWith("The project is missing"));
    EXPECT_EQ(lines.last(), "In all: 3:25; 1 song without a known length");
    const QPointer<SetlistCheckDialog> open = dialog;
    choose(1);
    EXPECT_TRUE(!open || !open->isVisible()) << "the check outlived the editing";
}

// A song in two setlists gets every details edit on every record of its project, on disk.
TEST_F(MainWindowModes, SongDetailsEditEveryRecordOfTheProject) {
    const auto songs = addSongs({"Ballad.logicx", "Opener.logicx"});
    QList<ManagedObject*> records{songs[0]};
    for (const char* name : {"Fri", "Sat"}) {
        records << addSong(context(), "Ballad", songs[0]->stringValue("path"), 1);
        addSetlist(context(), name)->mutableOrderedSetValueForKey("song").addObject(records.last());
    }
    launch();
    TableView* table = w()->songDetailsView()->messageTable();
    auto* add = w()->findChild<QPushButton*>("addMidiMessageButton");
    choose(2);
    w()->songDetailsView()->songPicker()->selectRowIndexes({0}, false); // Ballad
    processEvents();
    QTest::mouseClick(add, Qt::LeftButton);
    QTest::mouseClick(add, Qt::LeftButton);
    processEvents();
    EXPECT_EQ(table->numberOfRows(), 2);
    app->songDetails()->messages()->setObjectValue(table, 9, "channel", 1);
    for (ManagedObject* record : records) {
        ASSERT_EQ(record->orderedObjects("midiMessage").size(), 2);
        EXPECT_EQ(record->orderedObjects("midiMessage")[1]->integerValue("mMchannel"), 9);
    }
    EXPECT_TRUE(songs[1]->orderedObjects("midiMessage").isEmpty());

    auto* enable = w()->findChild<QCheckBox*>("midiEnableCheckBox");
    auto* channel = w()->findChild<QComboBox*>("midiChannel");
    auto* field = w()->findChild<QLineEdit*>("progCcNumberTextField");
    EXPECT_FALSE(channel->isEnabled()) << "MIDI out is off";
    QTest::mouseClick(enable, Qt::LeftButton);
    EXPECT_TRUE(channel->isEnabled());
    channel->setCurrentIndex(9);
    emit channel->activated(9);
    QTest::keyClicks(field, "300");
    EXPECT_EQ(field->text(), "30") << "0-127 only";
    QTest::keyClick(field, Qt::Key_Return);
    for (ManagedObject* record : records) {
        EXPECT_TRUE(record->value("midiOutEnabled").toBool());
        EXPECT_EQ(record->integerValue("midiOutChannel"), 10);
        EXPECT_EQ(record->integerValue("progOrCcNumber"), 30);
    }
    EXPECT_FALSE(songs[1]->value("midiOutEnabled").toBool());
    EXPECT_FALSE(context().hasChanges()) << "saved";
}
