#include "app/tables/AllSongsTableView.h"
#include "app/tables/MidiMessageTableVIew.h"
#include "app/tables/SetlistTableView.h"
#include "app/tables/TopListOfSetlistsTableView.h"
#include "library/ArrayController.h"
#include "library/OrderedRelation.h"
#include "platform/NotificationCenter.h"
#include "support/EditFixture.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"

#include <QAbstractButton>
#include <QDrag>
#include <QLineEdit>
#include <QPropertyAnimation>
#include <QTest>

using namespace helpers;

namespace {
QColor over(const QColor& top, const QColor& bottom) {
    const double a = top.alphaF();
    return QColor::fromRgbF(float(top.redF() * a + bottom.redF() * (1 - a)),
                            float(top.greenF() * a + bottom.greenF() * (1 - a)),
                            float(top.blueF() * a + bottom.blueF() * (1 - a)));
}

::testing::AssertionResult near(QColor got, QColor want) {
    const int d = std::max({std::abs(got.red() - want.red()), std::abs(got.green() - want.green()),
                            std::abs(got.blue() - want.blue())});
    return (d <= 2 ? ::testing::AssertionSuccess() : ::testing::AssertionFailure())
           << "got " << got.name().toStdString() << ", want " << want.name().toStdString();
}
} // namespace

class Tables : public EditFixture {
protected:
    QList<ManagedObject*> gig(int count) {
        QStringList names;
        for (int i = 0; i < count; ++i)
            names << QString("Song %1.logicx").arg(i);
        return EditFixture::gig(names, true);
    }
};

// Every pill table paints the selected pill and the others in its own colours, blended over
// the row background; the round corners keep the background.
TEST_F(Tables, PillsInEachTablesColours) {
    const auto songs = gig(3);
    for (int i = 0; i < 3; ++i)
        songs[0]
            ->mutableOrderedSetValueForKey("midiMessage")
            .addObject(context().insertNewObject("MidiMessage"));
    QTest::mouseClick(app->window()->topButtons()->segmentButton(2), Qt::LeftButton);
    app->window()->songDetailsView()->songPicker()->selectRowIndexes({0}, false);
    processEvents();
    const struct {
        const char* name;
        TableView* table;
        PillColors colors;
    } cases[] = {
        {"song list", songList(), AllSongsTableView::kColors},
        {"setlists", setlistsTable(), TopListOfSetlistsTableView::kColors},
        {"setlist", setlistTable(), SetlistTableView::kColors},
        {"messages", app->window()->songDetailsView()->messageTable(),
         MidiMessageTableVIew::kColors},
    };
    for (auto& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_EQ(c.table->numberOfRows(), 3);
        c.table->selectRowIndexes({1}, false);
        c.table->clearFocus();
        const QImage image = c.table->viewport()->grab().toImage();
        const auto pixel = [&](qsizetype row) {
            return image.pixelColor(c.table->rectOfRow(row).right() - 12,
                                    c.table->rectOfRow(row).center().y());
        };
        EXPECT_TRUE(near(pixel(1), over(c.colors.selectedUnfocused, c.colors.background)));
        EXPECT_TRUE(near(pixel(0), over(c.colors.unselected, c.colors.background)));
        EXPECT_TRUE(near(image.pixelColor(c.table->rectOfRow(0).topLeft()), c.colors.background));
    }
}

// A drag starts from a song-list row, which a click cannot select; when it ends, the rows are
// all there.
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

// The song hears of a typed number once the editor is closed, so the reload it asks for finds
// no editor; the change is posted once.
TEST_F(Tables, EditsCommitAfterTheEditorCloses) {
    const auto songs = gig(2);
    QObject listener;
    int posted = 0;
    NotificationCenter::defaultCenter().addObserver(&listener, "songsChangedNotification",
                                                    [&](const Notification&) { ++posted; });
    LogCapture log;
    songList()->edit(songList()->model()->index(1, 0));
    auto* editor = songList()->findChild<QLineEdit*>();
    ASSERT_TRUE(editor);
    editor->setText("9");
    QTest::keyClick(editor, Qt::Key_Return);
    processEvents();
    EXPECT_EQ(number(songs[1]), 9);
    EXPECT_FALSE(songList()->isEditing());
    EXPECT_EQ(posted, 1);
    EXPECT_TRUE(log.lines().isEmpty()) << log.lines().join('\n').toStdString();
    NotificationCenter::defaultCenter().removeObserver(&listener);
}

// Reloads asked for in a burst run once, taking the row count when they run; an animated
// scroll ends with the row at the top, or at 0 for a list that does not scroll.
TEST_F(Tables, ReloadsMergeAndScrollsEndAtTheRowsTop) {
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

    setlistTable()->scrollRowToVisible(20, true);
    QPropertyAnimation* a = setlistTable()->scrollAnimation();
    ASSERT_TRUE(a);
    a->setCurrentTime(a->duration());
    EXPECT_EQ(setlistTable()->rowViewportPosition(20), 0);
    setlistsTable()->scrollRowToVisible(2, true);
    EXPECT_EQ(setlistsTable()->scrollAnimation()->endValue().toInt(), 0);
}
