#include "app/EditScreen.h"
#include "app/MainWindow.h"
#include "library/LibraryFilter.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "platform/TableView.h"
#include "support/EditFixture.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"

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

// After "OK" the holders of a typed number move to one above the highest; "Cancel" keeps all.
TEST_F(SongList, NumberClashesMoveTheOlderSongs) {
    const auto s = addSongs({"A.logicx", "B.logicx", "C.logicx", "D.logicx"});
    s[2]->setValue("midiIn", 2); // B and C share 2
    launch();
    alerts.answers = {Alerts::FirstButton + 1}; // Cancel
    typeNumber(0, "2");
    EXPECT_EQ(number(s[0]), 1);
    EXPECT_EQ(number(s[1]), 2);
    ASSERT_EQ(alerts.shownAlerts.size(), 1);

    alerts.answers = {Alerts::FirstButton};
    typeNumber(0, "2");
    EXPECT_EQ(number(s[0]), 2);
    EXPECT_EQ(number(s[1]), 5) << "one above the highest (4)";
    EXPECT_EQ(number(s[2]), 5);
    EXPECT_EQ(songList()->selectedRow(), 0) << "A, now 2, first in number order";

    typeNumber(app->filter()->returnFilteredArray().indexOf(s[3]), "4"); // D, which holds 4
    EXPECT_EQ(alerts.shownAlerts.size(), 3);
    EXPECT_EQ(number(s[3]), 4);
    EXPECT_EQ(number(s[1]), 5);
}

// A cancel adds an empty song; of several chosen only the last is added.
TEST_F(SongList, AddingSongsByOpenPanel) {
    launch();
    QPushButton* add = app->window()->findChild<QPushButton*>("addSongButton");
    add->click();
    ASSERT_EQ(songs(context()).size(), 1);
    EXPECT_FALSE(songs(context())[0]->value("path").isValid());

    const QString a = project("A.logicx"), c = project("C.logicx");
    panel.answers = {{true, {QUrl::fromLocalFile(a), QUrl::fromLocalFile(c)}}};
    add->click();
    ASSERT_EQ(paths(context()), (QStringList{"", c}));
    EXPECT_EQ(number(songs(context())[1]), 2);
    EXPECT_EQ(songs(context())[1]->stringValue("title"), "C");
}

// Dropped files: projects only, in drop order, each path byte for byte, many at once.
TEST_F(SongList, DroppedFilesAddOnlyProjects) {
    launch();
    QStringList files, projects;
    for (int i = 0; i < 500; ++i) { // a text file, a project, a plain folder
        const QString name =
            QString("Song %1 \"live\" $HOME ÄÖ 東京%2").arg(i).arg(i % 7 ? "" : "\nx");
        files << (i % 3 == 0 ? project(name + ".txt", false)
                             : project(name + (i % 3 == 1 ? ".logicx" : "")));
        if (i % 3 == 1) projects << files.last();
    }
    ASSERT_TRUE(dropFiles(songList(), files, 0));
    const auto all = context().executeFetchRequest({"Song", {}, {}, 0});
    QStringList stored;
    for (qsizetype i = 0; i < all.size(); ++i) {
        stored << all[i]->stringValue("path");
        EXPECT_EQ(number(all[i]), i + 1);
    }
    EXPECT_EQ(stored, projects);
    EXPECT_FALSE(dropFiles(songList(), {project("notes.txt", false)}, 0));
}

// Two records of a project are one row and go together; delete all asks first.
TEST_F(SongList, DeletingSongs) {
    const auto s = addSongs({"A.logicx", "B.logicx"});
    addSong(context(), "A copy", s[0]->stringValue("path"), 1);
    launch();
    auto* remove = app->window()->findChild<QPushButton*>("deleteSongButton");
    auto* removeAll = app->window()->findChild<QPushButton*>("deleteAllSongsButton");
    EXPECT_EQ(songList()->numberOfRows(), 2);
    songList()->selectRowIndexes({0}, false);
    remove->click();
    EXPECT_EQ(paths(context()), QStringList{s[1]->stringValue("path")});

    alerts.answers = {Alerts::FirstButton + 1};
    removeAll->click();
    EXPECT_EQ(songs(context()).size(), 1);
    alerts.answers = {Alerts::FirstButton};
    removeAll->click();
    EXPECT_TRUE(songs(context()).isEmpty());
}

// Each edit is one step of Undo and of Redo, a drop of several songs too.
TEST_F(SongList, EditsUndoAndRedoInOneStep) {
    const auto s = addSongs({"A.logicx", "B.logicx"});
    launch();
    QAction* undo = command("&Undo");
    QAction* redo = command("&Redo");
    ASSERT_TRUE(undo && redo);
    EXPECT_FALSE(redo->isEnabled());
    LogCapture log;
    typeNumber(1, "9");
    EXPECT_TRUE(log.lines().isEmpty()) << "the typed number's reload finds no editor open";
    undo->trigger();
    processEvents();
    EXPECT_EQ(number(s[1]), 2);
    EXPECT_FALSE(undo->isEnabled());
    ASSERT_TRUE(redo->isEnabled());
    redo->trigger();
    processEvents();
    EXPECT_EQ(number(s[1]), 9);

    ASSERT_TRUE(dropFiles(songList(), {project("C.logicx"), project("D.logicx")}, 0));
    undo->trigger();
    processEvents();
    EXPECT_EQ(songList()->numberOfRows(), 2) << "both dropped songs in one step";
    EXPECT_EQ(number(s[1]), 9) << "the earlier edit stays";
}
