#include "app/EditScreen.h"
#include "app/MainWindow.h"
#include "app/ModeSwitch.h"
#include "app/SongDetailsScreen.h"
#include "editing/AllSongsTableViewController.h"
#include "library/ArrayController.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "performance/midiMessageTableViewController.h"
#include "platform/DraggingInfo.h"
#include "platform/Pasteboard.h"
#include "platform/SegmentedControl.h"
#include "platform/TableView.h"
#include "support/EditFixture.h"
#include "support/LibraryHelpers.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMetaEnum>
#include <QPushButton>
#include <QTest>

using namespace helpers;

// What a hand or a knee can do on stage, and what a quit by signal or a closed window does to
// an unfinished edit: the library on disk is never damaged.
class StageSafety : public EditFixture {
protected:
    MainWindow* w() { return app->window(); }
    void choose(int segment) {
        QTest::mouseClick(w()->topButtons()->segmentButton(segment), Qt::LeftButton);
        processEvents();
    }
    // Three songs, all in the setlist "Friday", which is selected, its first song current.
    void setUpGig() {
        songs = addSongs({"Opener.logicx", "Ballad.logicx", "Encore.logicx"});
        ManagedObject* friday = addSetlist(context(), "Friday");
        for (ManagedObject* song : songs)
            friday->mutableOrderedSetValueForKey("song").addObject(
                addSong(context(), song->stringValue("title"), song->stringValue("path"), 1));
        launch();
        ArrayController* setlists = app->allSetlistsArrayController();
        setlists->setSelectionIndex(setlists->arrangedObjects().indexOf(friday));
        app->currentSetlistArrayController()->setSelectionIndex(0);
        app->saveAction();
        processEvents();
    }
    qsizetype currentSong() {
        return app->currentSetlistArrayController()->selectionIndexes().last();
    }
    // A key as the keyboard delivers it: to whatever has the focus, shortcuts first.
    void press(int key, Qt::KeyboardModifiers modifiers = {}) {
        QWidget* target = QApplication::focusWidget();
        if (!target) target = w();
        const bool printable = key >= Qt::Key_Space && key <= Qt::Key_AsciiTilde &&
                               !(modifiers & (Qt::ControlModifier | Qt::AltModifier));
        const QString text = printable ? QString(QChar(key)).toLower() : QString();
        if (!qt_sendShortcutOverrideEvent(target, 0, key, modifiers, text)) {
            QKeyEvent down(QEvent::KeyPress, key, modifiers, text);
            QApplication::sendEvent(target, &down);
            QKeyEvent up(QEvent::KeyRelease, key, modifiers, text);
            QApplication::sendEvent(target, &up);
        }
        processEvents();
    }
    bool focusIsIn(QWidget* view) {
        QWidget* f = QApplication::focusWidget();
        return f && (f == view || view->isAncestorOf(f));
    }
    QLineEdit* openEditor(TableView* table, int row, int column) {
        table->edit(table->model()->index(row, column));
        processEvents();
        return table->findChild<QLineEdit*>();
    }
    QList<ManagedObject*> songs;
};

// Every key of the keyboard, alone and with the modifiers a stray hand holds, in the Perform
// view: the library file stays as it was and the keyboard stays on the stage.
TEST_F(StageSafety, NoKeyInThePerformViewTouchesTheLibrary) {
    setUpGig();
    const QByteArray before = readFile(storePath());
    choose(1);
    ASSERT_TRUE(focusIsIn(w()->performanceView()));
    const QMetaEnum named = QMetaEnum::fromType<Qt::Key>();
    QList<int> keys;
    for (int i = 0; i < named.keyCount(); ++i)
        keys << named.value(i);
    const Qt::KeyboardModifiers held[] = {
        Qt::NoModifier,    Qt::ControlModifier,
        Qt::ShiftModifier, Qt::ControlModifier | Qt::ShiftModifier,
        Qt::AltModifier,   Qt::ControlModifier | Qt::AltModifier};
    for (Qt::KeyboardModifiers modifiers : held)
        for (int key : keys) {
            press(key, modifiers);
            ASSERT_TRUE(focusIsIn(w()->performanceView()))
                << "key " << std::hex << key << " with modifiers " << modifiers.toInt();
        }
    EXPECT_TRUE(alerts.shownAlerts.isEmpty());
    EXPECT_TRUE(w()->performanceView()->isVisible()) << "still on stage";
    EXPECT_EQ(w()->topButtons()->selectedSegment(), 1);
    EXPECT_EQ(context().executeFetchRequest({"Song", {}, {}, 0}).size(), 6);
    EXPECT_EQ(context().executeFetchRequest({"Setlist", {}, {}, 0}).size(), 1);
    app->requestQuit();
    EXPECT_EQ(readFile(storePath()), before);
}

// Page-turner pedals and arrows step through the running order exactly as the buttons do;
// a held key steps once, and letters select nothing.
TEST_F(StageSafety, StageKeysStepThroughTheRunningOrder) {
    setUpGig();
    choose(1);
    ASSERT_EQ(currentSong(), 0);
    press(Qt::Key_PageDown);
    EXPECT_EQ(currentSong(), 1);
    press(Qt::Key_Right);
    EXPECT_EQ(currentSong(), 2);
    press(Qt::Key_Down);
    EXPECT_EQ(currentSong(), 2) << "no wrap-around at the end";
    press(Qt::Key_PageUp);
    EXPECT_EQ(currentSong(), 1);
    press(Qt::Key_E);
    press(Qt::Key_O);
    EXPECT_EQ(currentSong(), 1) << "typing selects nothing";
    QTest::keyEvent(QTest::Press, QApplication::focusWidget(), Qt::Key_Up, {}, -1);
    QKeyEvent repeat(QEvent::KeyPress, Qt::Key_Up, {}, QString(), true);
    QApplication::sendEvent(QApplication::focusWidget(), &repeat);
    processEvents();
    EXPECT_EQ(currentSong(), 0) << "one step for one press, however long it is held";
    press(Qt::Key_Down, Qt::ControlModifier);
    EXPECT_EQ(currentSong(), 0) << "only the plain key is a stage key";
    // A click on the stage's own buttons leaves the keyboard with the stage.
    QTest::mouseClick(w()->findChild<QPushButton*>("nextButton"), Qt::LeftButton);
    QTest::mouseClick(w()->activeButton(), Qt::LeftButton);
    processEvents();
    EXPECT_TRUE(focusIsIn(w()->performanceView()));
    press(Qt::Key_Left);
    EXPECT_EQ(currentSong(), 0);
}

// The library commands live in the edit mode: elsewhere their menu items, buttons and
// shortcuts are off, Undo and Redo too, and the hidden edit screen holds no focus.
TEST_F(StageSafety, EditCommandsOnlyInTheEditMode) {
    setUpGig();
    QAction* remove = app->editScreen()->action("Remove from Setlist");
    QAction* deleteEverywhere = app->editScreen()->action("Delete Song Everywhere");
    context().insertNewObject("Setlist"); // something to undo
    processEvents();
    QAction* undo = nullptr;
    for (QAction* a : w()->findChildren<QAction*>())
        if (a->text() == "&Undo") undo = a;
    ASSERT_TRUE(undo);
    EXPECT_TRUE(remove->isEnabled());
    EXPECT_TRUE(undo->isEnabled());
    for (int mode : {1, 2}) {
        SCOPED_TRACE(mode);
        choose(mode);
        EXPECT_FALSE(remove->isEnabled());
        EXPECT_FALSE(deleteEverywhere->isEnabled());
        EXPECT_FALSE(undo->isEnabled());
        EXPECT_FALSE(w()->findChild<QPushButton*>("deleteAllSongsButton")->isEnabled());
        EXPECT_FALSE(w()->editView()->isVisible());
        EXPECT_FALSE(focusIsIn(w()->editView()));
    }
    choose(0);
    EXPECT_TRUE(remove->isEnabled());
    EXPECT_TRUE(undo->isEnabled());
    EXPECT_TRUE(w()->editView()->setlistTableView()->hasFocus());
}

// A screen reader hears what the stage shows, the modes as tabs, and nothing of the edit
// screen behind the stage.
TEST_F(StageSafety, AScreenReaderReadsTheStage) {
    setUpGig();
    choose(1);
    QAccessibleInterface* name =
        QAccessible::queryAccessibleInterface(w()->findChild<QLabel*>("currentSetlist"));
    ASSERT_TRUE(name);
    EXPECT_EQ(name->text(QAccessible::Name), "Friday");
    QAccessibleInterface* next =
        QAccessible::queryAccessibleInterface(w()->findChild<QLabel*>("nextSongLabel"));
    ASSERT_TRUE(next);
    EXPECT_EQ(next->text(QAccessible::Name), "Next: Ballad");

    QAccessibleInterface* modes = QAccessible::queryAccessibleInterface(w()->topButtons());
    ASSERT_TRUE(modes);
    EXPECT_EQ(modes->role(), QAccessible::PageTabList);
    QAccessibleInterface* perform =
        QAccessible::queryAccessibleInterface(w()->topButtons()->segmentButton(1));
    ASSERT_TRUE(perform);
    EXPECT_EQ(perform->role(), QAccessible::PageTab);
    EXPECT_EQ(perform->text(QAccessible::Name), "Perform");
    EXPECT_TRUE(perform->state().selected);
    EXPECT_FALSE(QAccessible::queryAccessibleInterface(w()->topButtons()->segmentButton(0))
                     ->state()
                     .selected);

    // Walk what a screen reader walks: nothing shown belongs to the edit screen.
    QList<QAccessibleInterface*> todo{QAccessible::queryAccessibleInterface(w())};
    int seen = 0;
    while (!todo.isEmpty()) {
        QAccessibleInterface* i = todo.takeLast();
        if (!i || i->state().invisible) continue;
        ++seen;
        if (auto* widget = qobject_cast<QWidget*>(i->object())) {
            EXPECT_FALSE(w()->editView()->isAncestorOf(widget))
                << widget->objectName().toStdString() << " is heard on stage";
        }
        for (int c = 0; c < i->childCount(); ++c)
            todo << i->child(c);
    }
    EXPECT_GT(seen, 5);
    // Switching to song details and back to editing keeps the segments in step.
    choose(0);
    EXPECT_TRUE(QAccessible::queryAccessibleInterface(w()->topButtons()->segmentButton(0))
                    ->state()
                    .selected);
}

// A quit by signal cannot wait for an answer: a number that clashes is dropped, the rest of
// the library is saved, and no dialog is ever shown.
TEST_F(StageSafety, ASignalQuitAsksNoQuestion) {
    songs = addSongs({"A.logicx", "B.logicx"});
    launch();
    addSong(context(), "Late", project("Late.logicx"), 7);
    QLineEdit* editor = openEditor(songList(), 1, 0); // B's number
    ASSERT_TRUE(editor);
    editor->setText("1"); // A's
    app->quitFromSignal();
    EXPECT_TRUE(alerts.shownAlerts.isEmpty());
    const QByteArray saved = readFile(storePath());
    EXPECT_TRUE(saved.contains("Late"));
    EXPECT_EQ(number(songs[0]), 1);
    EXPECT_EQ(number(songs[1]), 2) << "the clashing edit is dropped";
}

// Text that Return refuses never reaches the library, however the edit ends: a save, a quit,
// or a click elsewhere. An emptied cell is not a 0.
TEST_F(StageSafety, ARefusedCellKeepsItsValue) {
    songs = addSongs({"A.logicx", "B.logicx"});
    launch();
    QLineEdit* editor = openEditor(songList(), 1, 0);
    ASSERT_TRUE(editor);
    editor->clear();
    QTest::keyClick(editor, Qt::Key_Return);
    processEvents();
    EXPECT_TRUE(songList()->isEditing()) << "Return keeps a refused editor open";
    app->saveAction();
    EXPECT_FALSE(songList()->isEditing());
    EXPECT_EQ(number(songs[1]), 2);
    EXPECT_FALSE(readFile(storePath()).contains("<attribute name=\"midiin\" type=\"int16\">0<"));

    // The same rule for a message cell, at quit.
    songs[1]->mutableOrderedSetValueForKey("midiMessage").addObject([&] {
        ManagedObject* m = context().insertNewObject("MidiMessage");
        m->setValue("mMchannel", 5);
        return m;
    }());
    context().save();
    choose(2);
    w()->songDetailsView()->songPicker()->selectRowIndexes({1}, false);
    processEvents();
    TableView* messages = w()->songDetailsView()->messageTable();
    ASSERT_EQ(messages->numberOfRows(), 1);
    editor = openEditor(messages, 0, messages->columnWithIdentifier("channel"));
    ASSERT_TRUE(editor);
    editor->clear();
    app->requestQuit();
    EXPECT_EQ(songs[1]->orderedObjects("midiMessage")[0]->integerValue("mMchannel"), 5);
    EXPECT_TRUE(readFile(storePath()).contains(">5</attribute>"));
}

// Song details shows the song the picker marks, whatever came and went above it, and an
// edit lands on that song.
TEST_F(StageSafety, SongDetailsFollowThePickedSong) {
    songs = addSongs({"A.logicx", "B.logicx", "C.logicx"});
    for (int i = 0; i < 3; ++i) {
        songs[i]->setValue("midiOutEnabled", true);
        songs[i]->setValue("midiOutChannel", i + 1);
    }
    launch();
    choose(2);
    TableView* picker = w()->songDetailsView()->songPicker();
    QTest::mouseClick(picker->viewport(), Qt::LeftButton, {},
                      picker->visualRect(picker->model()->index(2, 1)).center());
    processEvents();
    ASSERT_EQ(w()->findChild<QComboBox*>("midiChannel")->currentText(), "3");
    choose(0);
    songList()->selectRowIndexes({0}, false);
    QTest::mouseClick(w()->findChild<QPushButton*>("deleteSongButton"), Qt::LeftButton);
    processEvents();
    choose(2);
    EXPECT_EQ(picker->selectedRow(), 1) << "the pick follows C up a row";
    EXPECT_EQ(w()->findChild<QComboBox*>("midiChannel")->currentText(), "3");
    w()->findChild<QComboBox*>("midiChannel")->setCurrentIndex(11);
    emit w()->findChild<QComboBox*>("midiChannel")->activated(11);
    EXPECT_EQ(songs[2]->integerValue("midiOutChannel"), 12);
    EXPECT_EQ(songs[1]->integerValue("midiOutChannel"), 2) << "B is left alone";

    // The picked song itself gone: nothing is picked and the controls are off.
    choose(0);
    songList()->selectRowIndexes({1}, false);
    QTest::mouseClick(w()->findChild<QPushButton*>("deleteSongButton"), Qt::LeftButton);
    processEvents();
    choose(2);
    EXPECT_EQ(picker->selectedRow(), -1);
    EXPECT_FALSE(w()->findChild<QCheckBox*>("midiEnableCheckBox")->isEnabled());
}

// The picker redraws its cells all the time (and asks the message table to reload each
// time): an open message cell editor outlives that and its value is stored.
TEST_F(StageSafety, AMessageCellEditOutlivesRepaints) {
    songs = addSongs({"A.logicx", "B.logicx"});
    launch();
    choose(2);
    w()->songDetailsView()->songPicker()->selectRowIndexes({0}, false);
    QTest::mouseClick(w()->findChild<QPushButton*>("addMidiMessageButton"), Qt::LeftButton);
    processEvents();
    TableView* messages = w()->songDetailsView()->messageTable();
    QLineEdit* editor = openEditor(messages, 0, messages->columnWithIdentifier("channel"));
    ASSERT_TRUE(editor);
    for (int i = 0; i < 3; ++i) {
        w()->songDetailsView()->songPicker()->viewport()->repaint();
        processEvents();
    }
    ASSERT_TRUE(messages->isEditing());
    editor->setText("7");
    QTest::keyClick(editor, Qt::Key_Return);
    processEvents();
    EXPECT_FALSE(messages->isEditing());
    EXPECT_EQ(songs[0]->orderedObjects("midiMessage")[0]->integerValue("mMchannel"), 7);
    EXPECT_FALSE(context().hasChanges());

    // Back in editing the message table has no rows, whatever song details showed.
    choose(0);
    EXPECT_EQ(app->songDetails()->messages()->numberOfRowsInTableView(messages), 0);
}

// Typing in a detail field and closing the window: the typing is saved by the quit rule,
// and the quit-time removal of path-less songs stays out of the file.
TEST_F(StageSafety, ClosingTheWindowCommitsADetailFieldFirst) {
    songs = addSongs({"A.logicx"});
    songs[0]->setValue("midiOutEnabled", true);
    addSong(context(), "Pathless", QString(), 9)->setValue("path", QVariant());
    context().save();
    launch();
    choose(2);
    w()->songDetailsView()->songPicker()->selectRowIndexes({0}, false);
    processEvents();
    w()->findChild<QLineEdit*>("progCcNumberTextField")->setFocus();
    QTest::keyClicks(w()->findChild<QLineEdit*>("progCcNumberTextField"), "42");
    w()->close();
    processEvents();
    w()->findChild<QLineEdit*>("progCcNumberTextField")
        ->clearFocus(); // what the window's end does to the field
    processEvents();
    const QByteArray saved = readFile(storePath());
    EXPECT_TRUE(saved.contains(">42</attribute>"));
    EXPECT_TRUE(saved.contains("Pathless")) << "deleted in memory only";
}

// Start-up's own changes are no step to undo: the first Undo cannot take away the setlist
// made at launch, and no Undo leaves the library without a setlist.
TEST_F(StageSafety, UndoKeepsASetlistToDropInto) {
    addSongs({"Opener.logicx"});
    launch();
    QAction* undo = nullptr;
    for (QAction* a : w()->findChildren<QAction*>())
        if (a->text() == "&Undo") undo = a;
    ASSERT_TRUE(undo);
    EXPECT_FALSE(undo->isEnabled()) << "nothing to undo after launch";
    undo->trigger();
    processEvents();
    EXPECT_EQ(context().executeFetchRequest({"Setlist", {}, {}, 0}).size(), 1);

    // The launch setlist removed, a new one made, and that undone.
    QTest::mouseClick(w()->findChild<QPushButton*>("removeSetlistButton"), Qt::LeftButton);
    processEvents();
    QTest::mouseClick(w()->findChild<QPushButton*>("newSetlistButton"), Qt::LeftButton);
    processEvents();
    ASSERT_TRUE(undo->isEnabled());
    undo->trigger();
    processEvents();
    EXPECT_EQ(context().executeFetchRequest({"Setlist", {}, {}, 0}).size(), 1);
    ASSERT_TRUE(currentSetlist());
    Pasteboard dragged; // the song, dragged from the song list
    app->editScreen()->songList()->writeRowsWithIndexes(songList(), {0}, dragged);
    std::unique_ptr<QMimeData> data(dragged.takeMimeData());
    DraggingInfo info(data.get(), songList(), {}, DragOperationEvery);
    auto* target = static_cast<TableViewDelegate*>(setlistTable()->delegate());
    ASSERT_NE(target->validateDrop(setlistTable(), info, 0, DropOperation::Above),
              DragOperationNone);
    EXPECT_TRUE(target->acceptDrop(setlistTable(), info, 0, DropOperation::Above));
    EXPECT_EQ(setlistSongs().size(), 1);
}

// The setlist table's right click offers the setlist commands, which follow the mode.
TEST_F(StageSafety, SetlistContextMenuOffersTheSetlistCommands) {
    setUpGig();
    TableView* table = setlistTable();
    const QPoint at = rowPoint(table, 1);
    QContextMenuEvent click(QContextMenuEvent::Mouse, at, table->viewport()->mapToGlobal(at));
    QMenu* menu = table->menuForEvent(&click);
    ASSERT_TRUE(menu);
    QStringList titles;
    for (QAction* a : menu->actions())
        titles << a->text();
    EXPECT_EQ(titles, (QStringList{"New Setlist", "Remove Setlist", "Add Song to Setlist…",
                                   "Remove from Setlist", "Delete Song Everywhere"}));
    EXPECT_EQ(table->selectedRow(), 1);
    for (QAction* a : menu->actions())
        EXPECT_TRUE(a->isEnabled());
    choose(1);
    for (QAction* a : menu->actions())
        EXPECT_FALSE(a->isEnabled());
}
