#include "app/MainWindow.h"
#include "app/ModeSwitch.h"
#include "app/SongDetailsScreen.h"
#include "library/ArrayController.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "performance/midiMessageTableViewController.h"
#include "platform/SegmentedControl.h"
#include "platform/TableView.h"
#include "settings/Prefs.h"
#include "support/EditFixture.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QTest>

using namespace helpers;

class MainWindowModes : public EditFixture {
protected:
    MainWindow* w() { return app->window(); }
    // A person's click on a segment of the mode selector.
    void choose(int segment) {
        QTest::mouseClick(w()->topButtons()->segmentButton(segment), Qt::LeftButton);
        processEvents();
    }
    QList<QWidget*> modeViewsShown() {
        QList<QWidget*> out;
        for (QWidget* v : w()->masterView()->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
            if (v == w()->performanceView() || v == w()->editView() || v == w()->songDetailsView())
                out << v;
        return out;
    }
    // Lower-left corner, counted up from the bottom of the master view.
    QPoint originUp(QWidget* v) {
        return {v->x(), w()->masterView()->height() - v->y() - v->height()};
    }
};

TEST_F(MainWindowModes, SwitchingModesKeepsTheTopEdgeAndOneModeView) {
    launch();
    w()->move(40, 70);
    processEvents();
    const int top = w()->geometry().top();
    const QStringList names{"Edit", "Perform", "Song Details"};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(w()->topButtons()->segmentButton(i)->accessibleName(), names[i]);
    choose(1);
    EXPECT_EQ(modeViewsShown(), QList<QWidget*>{w()->performanceView()});
    EXPECT_EQ(originUp(w()->performanceView()), QPoint(3, 5));
    choose(2);
    EXPECT_EQ(modeViewsShown(), QList<QWidget*>{w()->songDetailsView()}) << "performance removed";
    EXPECT_EQ(originUp(w()->songDetailsView()), QPoint(3, 5));
    choose(2);
    EXPECT_EQ(modeViewsShown().size(), 1) << "the same mode twice";
    EXPECT_EQ(w()->geometry().size(), QSize(486, 660));
    EXPECT_EQ(w()->geometry().top(), top);
    choose(0);
    EXPECT_TRUE(modeViewsShown().isEmpty()) << "editing adds no mode view";
    EXPECT_TRUE(w()->backgroundView()->isVisibleTo(w()));
    EXPECT_TRUE(w()->editView()->isVisibleTo(w())) << "the edit screen lives on the background";
    EXPECT_EQ(app->modes()->oldMasterSubview2, w()->songDetailsView());
    EXPECT_EQ(app->currentView(), w()->masterView());
}

TEST_F(MainWindowModes, PerformanceShowsTheSetlistNameOrWhyNot) {
    ManagedObject* unnamed = addSetlist(context(), "x");
    launch();
    ArrayController* all = app->allSetlistsArrayController();
    all->setSelectionIndexes({});
    w()->editView()->topListOfSetlistsTableView()->selectRowIndexes({}, false);
    processEvents();
    ASSERT_EQ(w()->editView()->topListOfSetlistsTableView()->selectedRow(), -1);
    choose(1);
    EXPECT_EQ(w()->performanceView()->setlistName(), "No Selection");
    unnamed->setValue("name", QVariant());
    all->setSelectionIndex(all->arrangedObjects().indexOf(unnamed));
    processEvents();
    choose(1);
    EXPECT_EQ(w()->performanceView()->setlistName(), "Selected Setlist");
    unnamed->setValue("name", "Friday");
    choose(1);
    EXPECT_EQ(w()->performanceView()->setlistName(), "Friday");
}

TEST_F(MainWindowModes, SelectorGlidesIntoPlaceAndActiveSavesAtOnce) {
    launch();
    QPropertyAnimation* glide = app->modes()->buttonsAnimation();
    const int masterHeight = w()->masterView()->height();
    const QRect end = glide->endValue().toRect();
    EXPECT_EQ(QRect(end.x(), 0, end.width(), end.height()), QRect(123, 0, 244, 20));
    EXPECT_NEAR(end.y(), masterHeight - 614 - 20, 1) << "the top of the master view";
    const QString file = Prefs::dataFilePath();
    w()->activeButton()->setChecked(false);
    QTest::mouseClick(w()->activeButton(), Qt::LeftButton);
    processEvents();
    EXPECT_TRUE(Prefs().prefsActive) << "read back from the file";
    QTest::mouseClick(w()->activeButton(), Qt::LeftButton);
    EXPECT_FALSE(Prefs().prefsActive);
    EXPECT_TRUE(QFileInfo(file).exists());
}

// Messages follow the project path: a song in three setlists gets every edit three times.
TEST_F(MainWindowModes, MessageRowsAcrossSetlistCopiesOfOneProject) {
    const auto songs = addSongs({"Ballad.logicx", "Opener.logicx"});
    QList<ManagedObject*> copies;
    for (const char* name : {"Fri", "Sat", "Sun"}) {
        ManagedObject* setlist = addSetlist(context(), name);
        ManagedObject* copy = addSong(context(), "Ballad", songs[0]->stringValue("path"), 1);
        setlist->mutableOrderedSetValueForKey("song").addObject(copy);
        copies << copy;
    }
    launch();
    midiMessageTableViewController* m = app->songDetails()->messages();
    TableView* table = w()->songDetailsView()->messageTable();
    EXPECT_EQ(table->numberOfRows(), 0) << "outside song details";
    choose(2);
    w()->songDetailsView()->songPicker()->selectRowIndexes({}, false);
    EXPECT_EQ(table->numberOfRows(), 0) << "no song selected";
    w()->songDetailsView()->songPicker()->selectRowIndexes({0}, false); // Ballad, number 1
    processEvents();
    QTest::mouseClick(w()->findChild<QPushButton*>("addMidiMessageButton"), Qt::LeftButton);
    QTest::mouseClick(w()->findChild<QPushButton*>("addMidiMessageButton"), Qt::LeftButton);
    processEvents();
    EXPECT_EQ(table->numberOfRows(), 2);
    for (ManagedObject* record : copies + QList<ManagedObject*>{songs[0]}) {
        ASSERT_EQ(record->orderedObjects("midiMessage").size(), 2);
        ManagedObject* msg = record->orderedObjects("midiMessage")[1];
        EXPECT_EQ(msg->integerValue("mMmessageType"), 0);
        EXPECT_EQ(msg->integerValue("mMinterface"), 100);
        EXPECT_EQ(msg->integerValue("mMchannel") + msg->integerValue("mMccValue"), 0);
    }
    EXPECT_TRUE(songs[1]->orderedObjects("midiMessage").isEmpty());
    for (int column = 0; column < table->model()->columnCount(); ++column)
        EXPECT_FALSE(table->model()->index(0, column).data().isValid())
            << "every cell is empty: the destination refresh ends it (column " << column << ")";

    m->setObjectValue(table, 9, "channel", 1);
    for (ManagedObject* record : copies)
        EXPECT_EQ(record->orderedObjects("midiMessage")[1]->integerValue("mMchannel"), 9);
    {
        LogCapture log;
        m->setObjectValue(table, 3, "interface", 0);
        EXPECT_TRUE(log.contains("getUniqueIDOfMidiDestination:]: unrecognized selector"));
    }
    EXPECT_EQ(songs[0]->orderedObjects("midiMessage")[0]->integerValue("mMinterface"), 3);
    EXPECT_EQ(copies[0]->orderedObjects("midiMessage")[0]->integerValue("mMinterface"), 100)
        << "the first record's unique-ID request ends the edit";

    const QByteArray saved = readFile(storePath());
    table->selectRowIndexes({0}, false);
    QTest::mouseClick(w()->findChild<QPushButton*>("removeMidiMessageButton"), Qt::LeftButton);
    for (ManagedObject* record : copies)
        EXPECT_EQ(record->orderedObjects("midiMessage").size(), 1);
    EXPECT_EQ(readFile(storePath()), saved) << "removal waits for the next save";
    table->selectRowIndexes({}, false);
    QTest::mouseClick(w()->findChild<QPushButton*>("removeMidiMessageButton"),
                      Qt::LeftButton); // a range error, logged
    EXPECT_EQ(copies[0]->orderedObjects("midiMessage").size(), 1);
}

// The detail controls show the picked song and set every record of its project, on disk.
TEST_F(MainWindowModes, DetailControlsFollowThePickedProject) {
    const auto songs = addSongs({"Ballad.logicx", "Opener.logicx"});
    ManagedObject* setlist = addSetlist(context(), "Fri");
    ManagedObject* copy = addSong(context(), "Ballad", songs[0]->stringValue("path"), 1);
    setlist->mutableOrderedSetValueForKey("song").addObject(copy);
    launch();
    choose(2);
    TableView* picker = w()->songDetailsView()->songPicker();
    auto* enable = w()->findChild<QCheckBox*>("midiEnableCheckBox");
    auto* channel = w()->findChild<QComboBox*>("midiChannel");
    auto* field = w()->findChild<QLineEdit*>("progCcNumberTextField");
    picker->selectRowIndexes({}, false);
    processEvents();
    EXPECT_FALSE(enable->isEnabled()) << "no song picked";
    QTest::mouseClick(picker->viewport(), Qt::LeftButton, {},
                      picker->visualRect(picker->model()->index(0, 1)).center());
    processEvents();
    ASSERT_EQ(picker->selectedRow(), 0) << "a click picks the song";
    EXPECT_FALSE(channel->isEnabled()) << "MIDI out is off";
    QTest::mouseClick(enable, Qt::LeftButton);
    EXPECT_TRUE(channel->isEnabled());
    channel->setCurrentIndex(9);
    emit channel->activated(9);
    QTest::keyClicks(field, "300");
    EXPECT_EQ(field->text(), "30") << "0-127 only";
    QTest::keyClick(field, Qt::Key_Return);
    for (ManagedObject* record : {songs[0], copy}) {
        EXPECT_TRUE(record->value("midiOutEnabled").toBool());
        EXPECT_EQ(record->integerValue("midiOutChannel"), 10);
        EXPECT_EQ(record->integerValue("progOrCcNumber"), 30);
    }
    EXPECT_FALSE(songs[1]->value("midiOutEnabled").toBool());
    EXPECT_FALSE(context().hasChanges()) << "saved";
    // Picking the other song shows its own settings.
    picker->selectRowIndexes({1}, false);
    processEvents();
    EXPECT_FALSE(enable->isChecked());
    EXPECT_TRUE(field->text().isEmpty());
    picker->selectRowIndexes({0}, false);
    processEvents();
    EXPECT_EQ(channel->currentText(), "10");
    EXPECT_EQ(field->text(), "30");
}

// On stage the running order follows the setlist's selection, and the next song is named.
TEST_F(MainWindowModes, PerformanceFollowsTheRunningOrder) {
    ManagedObject* setlist = addSetlist(context(), "Friday");
    for (const char* title : {"Opener", "Ballad", "Encore"})
        setlist->mutableOrderedSetValueForKey("song").addObject(
            addSong(context(), title, project(QString(title) + ".logicx"), 1));
    launch();
    app->allSetlistsArrayController()->setSelectionIndex(
        app->allSetlistsArrayController()->arrangedObjects().indexOf(setlist));
    processEvents();
    choose(1);
    EXPECT_EQ(w()->performanceView()->setlistName(), "Friday");
    ASSERT_EQ(w()->performanceView()->runningOrder()->numberOfRows(), 3);
    app->currentSetlistArrayController()->setSelectionIndex(0);
    processEvents();
    EXPECT_EQ(w()->performanceView()->runningOrder()->selectedRow(), 0);
    EXPECT_EQ(w()->performanceView()->nextSong(), "Next: Ballad");
    QTest::mouseClick(w()->findChild<QPushButton*>("nextButton"),
                      Qt::LeftButton); // recall moves one row down
    processEvents();
    EXPECT_EQ(w()->performanceView()->runningOrder()->selectedRow(), 1);
    EXPECT_EQ(w()->performanceView()->nextSong(), "Next: Encore");
    app->currentSetlistArrayController()->setSelectionIndex(2);
    processEvents();
    EXPECT_EQ(w()->performanceView()->nextSong(), "Last song");
}
