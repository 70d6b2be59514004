#include "library/ArrayController.h"
#include "library/OrderedRelation.h"
#include "support/EditFixture.h"
#include "support/LibraryHelpers.h"

#include <QDrag>
#include <QTest>

using namespace helpers;

class Tables : public EditFixture {
protected:
    QList<ManagedObject*> gig(int count) {
        QStringList names;
        for (int i = 0; i < count; ++i)
            names << QString("Song %1.logicx").arg(i);
        return EditFixture::gig(names, true);
    }
};

// A drag from a song-list row, which a click cannot select, leaves every row there.
TEST_F(Tables, DragFromAnUnselectableRowLeavesTheRows) {
    gig(3);
    const QPoint from = rowPoint(songList(), 2);
    QTest::mousePress(songList()->viewport(), Qt::LeftButton, {}, from);
    EXPECT_NE(songList()->selectedRow(), 2);
    QTest::mouseMove(songList()->viewport(), from + QPoint(0, 40));
    EXPECT_TRUE(songList()->findChild<QDrag*>()) << "a drag started";
    QTest::mouseRelease(songList()->viewport(), Qt::LeftButton, {}, from + QPoint(0, 40));
    processEvents();
    EXPECT_EQ(songList()->numberOfRows(), 3);
    EXPECT_EQ(setlistSongs().size(), 3);
}

// Reloads asked for in a burst run once, taking the row count when they run.
TEST_F(Tables, ReloadsMerge) {
    gig(40);
    int resets = 0;
    QObject::connect(setlistTable()->model(), &QAbstractItemModel::modelReset, [&] { ++resets; });
    for (int i = 0; i < 100; ++i)
        setlistTable()->reloadData();
    processEvents();
    EXPECT_EQ(resets, 1);
    currentSetlist()->mutableOrderedSetValueForKey("song").addObject(
        addSong(context(), "Late", project("Late.logicx"), 41));
    processEvents();
    EXPECT_EQ(setlistTable()->numberOfRows(), 41);
}
