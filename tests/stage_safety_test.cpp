#include "app/MainWindow.h"
#include "library/ArrayController.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "platform/SegmentedControl.h"
#include "platform/TableView.h"
#include "support/EditFixture.h"
#include "support/LibraryHelpers.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
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
    // Three songs in the current setlist, its first song current, all saved.
    void setUpGig() {
        songs = gig({"Opener.logicx", "Ballad.logicx", "Encore.logicx"});
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
    QAction* undoAction() { return command("&Undo"); }
    QList<ManagedObject*> songs;
};

// Every key, alone and with the modifiers a stray hand holds: the library file stays as it was.
TEST_F(StageSafety, NoKeyInThePerformViewTouchesTheLibrary) {
    setUpGig();
    const QByteArray before = readFile(storePath());
    choose(1);
    ASSERT_TRUE(focusIsIn(w()->performanceView()));
    const QMetaEnum named = QMetaEnum::fromType<Qt::Key>();
    const Qt::KeyboardModifiers held[] = {
        Qt::NoModifier,    Qt::ControlModifier,
        Qt::ShiftModifier, Qt::ControlModifier | Qt::ShiftModifier,
        Qt::AltModifier,   Qt::ControlModifier | Qt::AltModifier};
    for (Qt::KeyboardModifiers modifiers : held)
        for (int i = 0; i < named.keyCount(); ++i) {
            press(named.value(i), modifiers);
            ASSERT_TRUE(focusIsIn(w()->performanceView()))
                << "key " << std::hex << named.value(i) << " with " << modifiers.toInt();
        }
    EXPECT_TRUE(alerts.shownAlerts.isEmpty());
    app->requestQuit(); // saves whatever a key changed in memory
    EXPECT_EQ(readFile(storePath()), before);
}

// Page-turner pedals and arrows step once per press; letters and modified keys select nothing.
TEST_F(StageSafety, StageKeysStepThroughTheRunningOrder) {
    setUpGig();
    choose(1);
    ASSERT_EQ(currentSong(), 0);
    press(Qt::Key_PageDown);
    press(Qt::Key_Right);
    EXPECT_EQ(currentSong(), 2);
    press(Qt::Key_Down);
    EXPECT_EQ(currentSong(), 2) << "no wrap-around at the end";
    press(Qt::Key_PageUp);
    press(Qt::Key_E);
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
    press(Qt::Key_Left);
    EXPECT_EQ(currentSong(), 0);
}

// Outside the edit mode the library commands (menus, right click, buttons, Undo) are all off.
TEST_F(StageSafety, EditCommandsOnlyInTheEditMode) {
    setUpGig();
    const QPoint at = rowPoint(setlistTable(), 1);
    QContextMenuEvent click(QContextMenuEvent::Mouse, at,
                            setlistTable()->viewport()->mapToGlobal(at));
    QMenu* menu = setlistTable()->menuForEvent(&click);
    ASSERT_TRUE(menu);
    QList<QAction*> commands = menu->actions();
    ASSERT_EQ(commands.size(), 5);        // from New Setlist to Delete Song Everywhere
    context().insertNewObject("Setlist"); // something to undo
    processEvents();
    commands << undoAction();
    ASSERT_TRUE(commands.last());
    for (QAction* a : commands)
        EXPECT_TRUE(a->isEnabled()) << a->text().toStdString();
    for (int mode : {1, 2}) {
        SCOPED_TRACE(mode);
        choose(mode);
        for (QAction* a : commands)
            EXPECT_FALSE(a->isEnabled()) << a->text().toStdString();
        EXPECT_FALSE(w()->findChild<QPushButton*>("deleteAllSongsButton")->isEnabled());
        EXPECT_FALSE(focusIsIn(w()->editView()));
    }
    choose(0);
    EXPECT_TRUE(w()->editView()->setlistTableView()->hasFocus());
}

// A refused cell is not saved as 0; a signal quit asks nothing and drops a clashing number.
TEST_F(StageSafety, RefusedAndClashingCellsNeverReachTheLibrary) {
    songs = addSongs({"A.logicx", "B.logicx"});
    launch();
    QLineEdit* editor = openEditor(songList(), 1, 0); // B's number
    ASSERT_TRUE(editor);
    editor->clear();
    QTest::keyClick(editor, Qt::Key_Return);
    processEvents();
    EXPECT_TRUE(songList()->isEditing()) << "Return keeps a refused editor open";
    app->saveAction();
    EXPECT_FALSE(songList()->isEditing());
    EXPECT_EQ(number(songs[1]), 2);
    EXPECT_FALSE(readFile(storePath()).contains("<attribute name=\"midiin\" type=\"int16\">0<"));

    addSong(context(), "Late", project("Late.logicx"), 7);
    editor = openEditor(songList(), 1, 0);
    ASSERT_TRUE(editor);
    editor->setText("1"); // A's
    app->quitFromSignal();
    EXPECT_TRUE(alerts.shownAlerts.isEmpty());
    EXPECT_TRUE(readFile(storePath()).contains("Late"));
    EXPECT_EQ(number(songs[0]), 1);
    EXPECT_EQ(number(songs[1]), 2) << "the clashing edit is dropped";
}

// An edit in song details lands on the picked song, whatever came and went above it.
TEST_F(StageSafety, SongDetailsFollowThePickedSong) {
    songs = addSongs({"A.logicx", "B.logicx", "C.logicx"});
    for (int i = 0; i < 3; ++i) {
        songs[i]->setValue("midiOutEnabled", true);
        songs[i]->setValue("midiOutChannel", i + 1);
    }
    launch();
    const auto deleteSong = [&](int row) {
        choose(0);
        songList()->selectRowIndexes({row}, false);
        QTest::mouseClick(w()->findChild<QPushButton*>("deleteSongButton"), Qt::LeftButton);
        processEvents();
        choose(2);
    };
    auto* channel = w()->findChild<QComboBox*>("midiChannel");
    choose(2);
    TableView* picker = w()->songDetailsView()->songPicker();
    QTest::mouseClick(picker->viewport(), Qt::LeftButton, {},
                      picker->visualRect(picker->model()->index(2, 1)).center());
    processEvents();
    ASSERT_EQ(channel->currentText(), "3");
    deleteSong(0);
    EXPECT_EQ(picker->selectedRow(), 1) << "the pick follows C up a row";
    EXPECT_EQ(channel->currentText(), "3");
    channel->setCurrentIndex(11);
    emit channel->activated(11);
    EXPECT_EQ(songs[2]->integerValue("midiOutChannel"), 12);
    EXPECT_EQ(songs[1]->integerValue("midiOutChannel"), 2) << "B is left alone";
    deleteSong(1); // the picked song itself: nothing is picked to edit
    EXPECT_EQ(picker->selectedRow(), -1);
}

// The picker repaints (reloading the message table) all the time: an open cell edit survives.
TEST_F(StageSafety, AMessageCellEditOutlivesRepaints) {
    songs = addSongs({"A.logicx", "B.logicx"});
    launch();
    choose(2);
    w()->songDetailsView()->songPicker()->selectRowIndexes({0}, false);
    QTest::mouseClick(w()->findChild<QPushButton*>("addMidiMessageButton"), Qt::LeftButton);
    processEvents();
    TableView* messages = w()->songDetailsView()->messageTable();
    const int channel = messages->columnWithIdentifier("channel");
    QLineEdit* editor = openEditor(messages, 0, channel);
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

    editor = openEditor(messages, 0, channel);
    ASSERT_TRUE(editor);
    editor->clear();
    app->requestQuit();
    EXPECT_EQ(songs[0]->orderedObjects("midiMessage")[0]->integerValue("mMchannel"), 7);
    EXPECT_TRUE(readFile(storePath()).contains(">7</attribute>"));
}

// Typing in a detail field and closing the window: the typing is saved by the quit rule.
TEST_F(StageSafety, ClosingTheWindowCommitsADetailFieldFirst) {
    songs = addSongs({"A.logicx"});
    songs[0]->setValue("midiOutEnabled", true);
    context().save();
    launch();
    choose(2);
    w()->songDetailsView()->songPicker()->selectRowIndexes({0}, false);
    processEvents();
    auto* field = w()->findChild<QLineEdit*>("progCcNumberTextField");
    field->setFocus();
    QTest::keyClicks(field, "42");
    w()->close();
    processEvents();
    field->clearFocus(); // what the window's end does to the field
    processEvents();
    EXPECT_TRUE(readFile(storePath()).contains(">42</attribute>"));
}

TEST_F(StageSafety, UndoKeepsASetlistToDropInto) {
    addSongs({"Opener.logicx"});
    launch();
    QAction* undo = undoAction();
    QTest::mouseClick(w()->findChild<QPushButton*>("removeSetlistButton"), Qt::LeftButton);
    processEvents();
    QTest::mouseClick(w()->findChild<QPushButton*>("newSetlistButton"), Qt::LeftButton);
    processEvents();
    ASSERT_TRUE(undo->isEnabled());
    undo->trigger();
    processEvents();
    EXPECT_EQ(context().executeFetchRequest({"Setlist", {}, {}, 0}).size(), 1);
    EXPECT_TRUE(currentSetlist());
}
