#include "app/EditScreen.h"
#include "app/MainWindow.h"
#include "editing/AllSongsTableViewController.h"
#include "library/LibraryFilter.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/TransferRecords.h"
#include "platform/Pasteboard.h"
#include "platform/TableView.h"
#include "support/EditFixture.h"
#include "support/LibraryHelpers.h"

#include <QAction>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

using namespace helpers;

namespace {
QList<ManagedObject*> songs(ObjectContext& c) {
    return c.executeFetchRequest({"Song", {}, {{"midiIn", true}}, 0});
}
QStringList paths(ObjectContext& c) {
    QStringList out;
    for (ManagedObject* s : songs(c))
        out << s->stringValue("path");
    return out;
}
} // namespace

class SongList : public EditFixture {
protected:
    // Types `text` into the number cell of `row` and presses Return, as a person does.
    QLineEdit* typeNumber(qsizetype row, const QString& text) {
        songList()->edit(songList()->model()->index(int(row), 0));
        auto* editor = songList()->findChild<QLineEdit*>();
        if (!editor) return nullptr;
        editor->clear();
        QTest::keyClicks(editor, text);
        QTest::keyClick(editor, Qt::Key_Return);
        processEvents();
        return editor;
    }
};

// A typed number that two other songs hold: after "OK" both move to one above the highest
// number, the edited song takes the typed one. "Cancel" changes nothing. The song's own
// number asks too and comes back to it.
TEST_F(SongList, NumberClashesMoveTheOlderSongs) {
    const auto s = addSongs({"A.logicx", "B.logicx", "C.logicx", "D.logicx"});
    s[2]->setValue("midiIn", 2); // B and C share 2
    launch();
    alerts.answers = {Alerts::FirstButton + 1}; // Cancel
    typeNumber(0, "2");
    EXPECT_EQ(number(s[0]), 1);
    EXPECT_EQ(number(s[1]), 2);
    ASSERT_EQ(alerts.shownAlerts.size(), 1);
    EXPECT_EQ(alerts.shownAlerts[0].messageText, "Sure?\nProgram Change 2 is already in use..");
    EXPECT_EQ(alerts.shownAlerts[0].informativeText,
              "Older Songs with this number will be reassigned");
    EXPECT_EQ(alerts.shownAlerts[0].buttons, (QStringList{"OK", "Cancel"}));

    alerts.answers = {Alerts::FirstButton};
    typeNumber(0, "2");
    EXPECT_EQ(number(s[0]), 2);
    EXPECT_EQ(number(s[1]), 5) << "one above the highest (4)";
    EXPECT_EQ(number(s[2]), 5) << "both the same";
    EXPECT_EQ(songList()->selectedRow(), 0) << "A, now 2, first in number order";

    alerts.answers = {Alerts::FirstButton};
    typeNumber(app->filter()->returnFilteredArray().indexOf(s[3]), "4"); // D, which holds 4
    EXPECT_EQ(alerts.shownAlerts.size(), 3) << "asked even for its own number";
    EXPECT_EQ(number(s[3]), 4);
    EXPECT_EQ(number(s[1]), 5);
}

// Only a whole number from 0 to 127 gets into the editor; a refused key says why.
TEST_F(SongList, TypedNumbersOutsideTheRangeAreRefused) {
    const auto s = addSongs({"A.logicx"});
    launch();
    for (const QString& text : {QString("abc"), QString("200"), QString("-5"), QString("12.5")}) {
        SCOPED_TRACE(text.toStdString());
        songList()->edit(songList()->model()->index(0, 0));
        auto* editor = songList()->findChild<QLineEdit*>();
        ASSERT_TRUE(editor);
        editor->clear();
        QTest::keyClicks(editor, text);
        EXPECT_FALSE(editor->property("refusedReason").toString().isEmpty());
        EXPECT_NE(editor->text(), text);
        QTest::keyClick(editor, Qt::Key_Escape);
        processEvents();
    }
    EXPECT_EQ(number(s[0]), 1);
    EXPECT_TRUE(alerts.shownAlerts.isEmpty());
}

// Cancelling the panel on its first use, with nothing remembered: a song without a path is
// looked for, and with none there a song with no title and no path is added, numbered.
TEST_F(SongList, CancellingTheFirstOpenPanel) {
    addSongs({"A.logicx"});
    launch();
    app->window()->findChild<QPushButton*>("addSongButton")->click();
    const auto all = songs(context());
    ASSERT_EQ(all.size(), 2);
    ManagedObject* blank = all.last();
    EXPECT_FALSE(blank->value("path").isValid());
    EXPECT_FALSE(blank->value("title").isValid());
    EXPECT_EQ(number(blank), 2);
}

// Adding by open panel: the first song of an empty library is 1; only the last of several
// chosen items is added; a path already there adds nothing; a cancel goes on with the
// remembered choice.
TEST_F(SongList, AddingSongsByOpenPanel) {
    launch();
    QPushButton* add = app->window()->findChild<QPushButton*>("addSongButton");
    const QString a = project("A.logicx"), b = project("B.logicx"), c = project("C.logicx");
    panel.answers = {{true, {QUrl::fromLocalFile(a)}}};
    add->click();
    ASSERT_EQ(songs(context()).size(), 1);
    EXPECT_EQ(number(songs(context())[0]), 1);
    EXPECT_EQ(songs(context())[0]->stringValue("title"), "A");
    EXPECT_EQ(panel.prompts, QStringList{"Select"});

    panel.answers = {
        {true, {QUrl::fromLocalFile(a), QUrl::fromLocalFile(b), QUrl::fromLocalFile(c)}}};
    add->click();
    EXPECT_EQ(paths(context()), (QStringList{a, c}));
    EXPECT_EQ(number(songs(context())[1]), 2);

    add->click(); // cancelled: the remembered C is there already
    EXPECT_EQ(songs(context()).size(), 2);
    for (ManagedObject* s : songs(context()))
        if (s->stringValue("path") == c) context().deleteObject(s);
    add->click(); // cancelled again: C was deleted, so it comes back
    EXPECT_EQ(paths(context()), (QStringList{a, c}));
}

// Files from the file manager: projects only, numbered in drop order, every path byte for byte
// (quotes, $, spaces, non-Latin letters, a newline), nothing else added, many at once.
TEST_F(SongList, DroppedFilesAddOnlyProjects) {
    launch();
    QStringList files, projects;
    for (int i = 0; i < 500; ++i) {
        const QString name =
            QString("Song %1 \"live\" $HOME ÄÖ 東京%2").arg(i).arg(i % 7 ? "" : "\nx");
        if (i % 3 == 0) {
            files << project(name + ".txt", false);
        } else if (i % 3 == 1) {
            files << project(name + ".logicx");
            projects << files.last();
        } else {
            files << project(name); // a plain folder
        }
    }
    ASSERT_TRUE(dropFiles(songList(), files, 0));
    const auto all = context().executeFetchRequest({"Song", {}, {}, 0});
    QStringList stored;
    for (ManagedObject* s : all)
        stored << s->stringValue("path");
    EXPECT_EQ(stored, projects);
    for (qsizetype i = 0; i < all.size(); ++i)
        EXPECT_EQ(number(all[i]), i + 1) << "numbered in drop order";
    EXPECT_FALSE(dropFiles(songList(), {project("notes.txt", false)}, 0)) << "refused";
}

// Two records of one project are one row; deleting it deletes both. No selected row: the log
// line and nothing else. Delete all asks first.
TEST_F(SongList, DeletingSongs) {
    const auto s = addSongs({"A.logicx", "B.logicx"});
    addSong(context(), "A copy", s[0]->stringValue("path"), 1);
    launch();
    EXPECT_EQ(songList()->numberOfRows(), 2);
    songList()->deselectAll();
    app->window()->findChild<QPushButton*>("deleteSongButton")->click();
    EXPECT_EQ(songs(context()).size(), 3);
    songList()->selectRowIndexes({0}, false);
    app->window()->findChild<QPushButton*>("deleteSongButton")->click();
    EXPECT_EQ(paths(context()), QStringList{s[1]->stringValue("path")});

    alerts.answers = {Alerts::FirstButton + 1};
    app->window()->findChild<QPushButton*>("deleteAllSongsButton")->click();
    EXPECT_EQ(songs(context()).size(), 1);
    EXPECT_EQ(alerts.shownAlerts.last().messageText, "Delete All Projects");
    alerts.answers = {Alerts::FirstButton};
    app->window()->findChild<QPushButton*>("deleteAllSongsButton")->click();
    EXPECT_TRUE(songs(context()).isEmpty());
}

// Rows dragged out carry the songs as object URIs under the setlist type, rows past the end
// left out; songs cannot be dragged back onto the list.
TEST_F(SongList, DraggingSongsOut) {
    const auto s = addSongs({"A.logicx", "B.logicx"});
    launch();
    AllSongsTableViewController* c = app->editScreen()->songList();
    Pasteboard pasteboard;
    EXPECT_TRUE(c->writeRowsWithIndexes(songList(), {1, 0, 7}, pasteboard));
    const QByteArray payload = pasteboard.dataForType(TransferRecords::setlistTableViewType);
    EXPECT_EQ(TransferRecords::songsFromPayload(payload, context()), (QList{s[0], s[1]}));
    EXPECT_FALSE(pasteboard.hasType(TransferRecords::allsongTableViewType));
}

// Each edit is one step of Undo and of Redo, a drop too; each is only on with something to
// undo or redo.
TEST_F(SongList, EditsUndoAndRedoInOneStep) {
    const auto s = addSongs({"A.logicx", "B.logicx"});
    launch();
    processEvents();
    QAction* undo = nullptr;
    QAction* redo = nullptr;
    for (QAction* a : app->window()->findChildren<QAction*>()) {
        if (a->text() == "&Undo") undo = a;
        if (a->text() == "&Redo") redo = a;
    }
    ASSERT_TRUE(undo && redo);
    EXPECT_FALSE(undo->isEnabled()) << "launch leaves nothing to undo";
    EXPECT_FALSE(redo->isEnabled());
    typeNumber(1, "9");
    processEvents();
    EXPECT_EQ(number(s[1]), 9);
    EXPECT_TRUE(undo->isEnabled());
    undo->trigger();
    processEvents();
    EXPECT_EQ(number(s[1]), 2);
    EXPECT_FALSE(undo->isEnabled());
    ASSERT_TRUE(redo->isEnabled());
    redo->trigger();
    processEvents();
    EXPECT_EQ(number(s[1]), 9);
    EXPECT_FALSE(redo->isEnabled());

    ASSERT_TRUE(dropFiles(songList(), {project("C.logicx"), project("D.logicx")}, 0));
    processEvents();
    EXPECT_EQ(songList()->numberOfRows(), 4);
    undo->trigger();
    processEvents();
    EXPECT_EQ(songList()->numberOfRows(), 2) << "both dropped songs in one step";
    EXPECT_EQ(number(s[1]), 9) << "the earlier edit stays";
    redo->trigger();
    processEvents();
    EXPECT_EQ(songList()->numberOfRows(), 4);
}

TEST_F(SongList, CommandsAndTablesHaveAccessibleNames) {
    launch();
    QStringList names;
    for (QWidget* w : app->window()->findChildren<QWidget*>())
        names << w->accessibleName();
    for (const char* n : {"Setlists", "Setlist songs", "All songs", "Search titles", "Add Song…",
                          "Delete Song", "Delete All Songs…", "New Setlist", "Remove Setlist",
                          "Remove from Setlist", "Delete Song Everywhere", "Add Song to Setlist…"})
        EXPECT_TRUE(names.contains(n)) << n;
}
