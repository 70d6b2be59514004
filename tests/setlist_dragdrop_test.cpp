#include "app/EditScreen.h"
#include "app/MainWindow.h"
#include "editing/AllSongsTableViewController.h"
#include "editing/DragableOrderedSetTableViewDelegate.h"
#include "library/ArrayController.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "library/TransferRecords.h"
#include "platform/DraggingInfo.h"
#include "platform/TableView.h"
#include "support/EditFixture.h"
#include "support/LibraryHelpers.h"

#include <QMimeData>
#include <QPushButton>
#include <QTest>

using namespace helpers;

class SetlistDragDrop : public EditFixture {
protected:
    DragableOrderedSetTableViewDelegate* delegate() { return app->editScreen()->setlistDelegate(); }
    // A drag from `source` as the delegate sees it: validated, then dropped where validation
    // put it. True when accepted.
    bool drag(TableView* source, TableView* target, QMimeData& data, qsizetype row,
              DropOperation op, uint32_t* validated = nullptr) {
        DraggingInfo info(&data, source, {}, DragOperationEvery);
        auto* d = static_cast<TableViewDelegate*>(target->delegate());
        const uint32_t result = d->validateDrop(target, info, row, op);
        if (validated) *validated = result;
        if (result == DragOperationNone) return false;
        return d->acceptDrop(target, info, target->dropRow(), target->dropOperation());
    }
    // Rows of the setlist dragged within it.
    bool reorder(const IndexSet& rows, qsizetype above) {
        Pasteboard out;
        delegate()->writeRowsWithIndexes(setlistTable(), rows, out);
        std::unique_ptr<QMimeData> data(out.takeMimeData());
        delegate()->draggingSessionWillBeginAtPoint(setlistTable(), {}, rows);
        const bool ok = drag(setlistTable(), setlistTable(), *data, above, DropOperation::Above);
        delegate()->draggingSessionEndedAtPoint(setlistTable(), {}, DragOperationMove);
        return ok;
    }
    QList<ManagedObject*> songsAt(const QString& path) {
        return context().executeFetchRequest(
            {"Song", Predicate::withFormat("path == %@", {path}), {}, 0});
    }
    QStringList titles() {
        QStringList out;
        for (ManagedObject* s : setlistSongs())
            out << s->stringValue("title");
        return out;
    }
};

TEST_F(SetlistDragDrop, ReorderingMovesToRMinusCOrR) {
    gig({"S1.logicx", "S2.logicx", "S3.logicx", "S4.logicx", "S5.logicx"});
    ASSERT_TRUE(reorder({0}, 3)); // the first row to just above the fourth
    EXPECT_EQ(titles(), (QStringList{"S2", "S3", "S1", "S4", "S5"}));
    EXPECT_EQ(setlistTable()->selectedRow(), 2);
    ASSERT_TRUE(reorder({3}, 0)); // the fourth to just above the first
    EXPECT_EQ(titles(), (QStringList{"S4", "S2", "S3", "S1", "S5"}));
    EXPECT_EQ(setlistTable()->selectedRow(), 0);
}

// Songs from the song list become new records, reversed, with copies of their messages.
TEST_F(SetlistDragDrop, SongsFromTheSongList) {
    gig({"S1.logicx"});
    const auto extra = addSongs({"A.logicx", "B.logicx"});
    ManagedObject* message = context().insertNewObject("MidiMessage");
    message->setValue("mMchannel", 5);
    extra[0]->mutableOrderedSetValueForKey("midiMessage").addObject(message);
    processEvents();
    Pasteboard out;
    const qsizetype n = songList()->numberOfRows();
    app->editScreen()->songList()->writeRowsWithIndexes(songList(), {n - 2, n - 1, n + 5}, out);
    std::unique_ptr<QMimeData> data(out.takeMimeData());
    ASSERT_TRUE(drag(songList(), setlistTable(), *data, 0, DropOperation::On));
    EXPECT_EQ(titles(), (QStringList{"B", "A", "S1"})) << "reverse order at the same row";
    ManagedObject* copy = setlistSongs()[1];
    EXPECT_NE(copy, extra[0]) << "a new record";
    EXPECT_EQ(copy->stringValue("path"), extra[0]->stringValue("path"));
    ASSERT_EQ(copy->orderedObjects("midiMessage").size(), 1);
    EXPECT_NE(copy->orderedObjects("midiMessage")[0], message) << "a copy, of channel 5";
    EXPECT_EQ(copy->orderedObjects("midiMessage")[0]->integerValue("mMchannel"), 5);

    const qsizetype records = context().executeFetchRequest({"Song", {}, {}, 0}).size();
    EXPECT_TRUE(drag(songList(), setlistsTable(), *data, 0, DropOperation::Above));
    EXPECT_EQ(setlistsTable()->dropOperation(), DropOperation::On) << "retargeted onto the name";
    EXPECT_EQ(context().executeFetchRequest({"Song", {}, {}, 0}).size(), records);

    EXPECT_FALSE(drag(songList(), songList(), *data, 0, DropOperation::Above));
    Pasteboard rows;
    delegate()->writeRowsWithIndexes(setlistTable(), {0}, rows);
    std::unique_ptr<QMimeData> back(rows.takeMimeData());
    EXPECT_FALSE(drag(setlistTable(), songList(), *back, 0, DropOperation::Above));
}

// Known projects dropped are only selected; a new one joins the library unnumbered.
TEST_F(SetlistDragDrop, ProjectFilesIntoASetlist) {
    const auto songs = gig({"S1.logicx", "S2.logicx", "S3.logicx"});
    const QStringList known{songs[0]->stringValue("path"), songs[1]->stringValue("path")};
    for (const auto& [at, selected] : {std::pair{rowPoint(setlistTable(), 1, 0.05), 1},
                                       {rowPoint(setlistTable(), 1, 0.95), 2},
                                       {rowPoint(setlistTable(), 3), -1}}) { // past the end
        SCOPED_TRACE(at.y());
        EXPECT_TRUE(dropFilesAt(setlistTable(), known, at));
        EXPECT_EQ(setlistTable()->selectedRow(), selected);
    }
    EXPECT_EQ(titles(), (QStringList{"S1", "S2", "S3"}));
    EXPECT_FALSE(context().hasChanges()) << "saved";

    const QString fresh = project("Fresh.logicx");
    dropFiles(setlistTable(), {fresh}, 1);
    const auto found = songsAt(fresh);
    ASSERT_EQ(found.size(), 1);
    EXPECT_FALSE(found[0]->value("midiIn").isValid()) << "unnumbered";
    EXPECT_EQ(titles(), (QStringList{"S1", "S2", "S3"}));

    EXPECT_FALSE(dropFiles(setlistTable(), {project("Other.logicx")}, 1, true));
}

TEST_F(SetlistDragDrop, SetlistCommands) {
    const auto songs = gig({"S1.logicx", "S2.logicx", "S3.logicx"});
    const auto click = [&](const char* button) {
        app->window()->findChild<QPushButton*>(button)->click();
    };
    setlistsTable()->deselectAll();
    click("removeSetlistButton"); // no selection: nothing removed, no crash
    EXPECT_EQ(context().executeFetchRequest({"Setlist", {}, {}, 0}).size(), 1);

    ArrayController* all = app->allSetlistsArrayController();
    all->setSelectionIndex(all->arrangedObjects().indexOf(songs[0]->relatedObject("setlist")));
    processEvents();
    setlistTable()->selectRowIndexes({2}, false);
    click("deleteSongEverywhereButton");
    EXPECT_EQ(titles(), (QStringList{"S1", "S2"}));
    EXPECT_EQ(setlistTable()->selectedRow(), 1) << "the new last row";
    EXPECT_TRUE(songsAt(songs[2]->stringValue("path")).isEmpty());

    setlistTable()->selectRowIndexes({0}, false);
    click("removeFromSetlistButton");
    EXPECT_EQ(titles(), QStringList{"S2"});
    EXPECT_FALSE(songs[0]->isDeleted()) << "still in the library";
}
