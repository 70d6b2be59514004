#include "app/tables/AllSongsTableView.h"
#include "app/tables/MidiMessageTableVIew.h"
#include "app/tables/SetlistTableRowView.h"
#include "app/tables/SetlistTableView.h"
#include "app/tables/TopListOfSetlistsTableView.h"
#include "library/TransferRecords.h"
#include "platform/NotificationCenter.h"
#include "platform/Pasteboard.h"
#include "platform/TableViewDataSource.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"

#include <QApplication>
#include <QLineEdit>
#include <QPainter>
#include <QPropertyAnimation>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>
#include <gtest/gtest.h>

using namespace helpers;

namespace {
// Rows of text in one column, editable; remembers what it was told.
class Rows : public TableViewDataSource, public TableViewDelegate {
public:
    qsizetype numberOfRowsInTableView(TableView*) override { return values.size(); }
    QVariant objectValue(TableView*, const QString&, qsizetype row) override {
        return values.value(row);
    }
    void setObjectValue(TableView* table, const QVariant& value, const QString&,
                        qsizetype row) override {
        editorOpenWhenSet = table->isEditing();
        values[row] = value.toString();
        if (reloadWhenSet) table->reloadData();
    }
    bool shouldSelectRow(TableView*, qsizetype) override { return selectable; }
    bool writeRowsWithIndexes(TableView*, const IndexSet& rows, Pasteboard& pasteboard) override {
        written = rows;
        return pasteboard.setData("rows", TransferRecords::allsongTableViewType);
    }
    void draggingSessionWillBeginAtPoint(TableView*, QPoint, const IndexSet&) override {
        ++sessions;
    }
    void draggingSessionEndedAtPoint(TableView*, QPoint, uint32_t) override { ++sessionsEnded; }

    QStringList values;
    bool selectable = true, reloadWhenSet = false, editorOpenWhenSet = true;
    IndexSet written;
    int sessions = 0, sessionsEnded = 0;
};

// A window holding one table with rows of the given values.
struct Window {
    QWidget window;
    TableView* table;
    Rows rows;
    template <typename T>
    static std::unique_ptr<Window> with(QStringList values, int height = 200) {
        auto w = std::make_unique<Window>();
        w->table = new T(&w->window);
        auto* layout = new QVBoxLayout(&w->window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(w->table);
        w->rows.values = std::move(values);
        w->table->addTableColumn(TableColumn{"title", "Title", true});
        w->table->setDataSource(&w->rows);
        w->table->setDelegate(&w->rows);
        w->window.resize(300, height);
        w->window.show();
        processEvents();
        return w;
    }
    QImage image() { return table->viewport()->grab().toImage(); }
    QPoint rowPoint(qsizetype row, double fraction = 0.5) {
        const QRect r = table->rectOfRow(row);
        return {r.width() / 2, r.top() + int(r.height() * fraction)};
    }
};

QColor over(const QColor& top, const QColor& bottom) {
    const double a = top.alphaF();
    return QColor::fromRgbF(float(top.redF() * a + bottom.redF() * (1 - a)),
                            float(top.greenF() * a + bottom.greenF() * (1 - a)),
                            float(top.blueF() * a + bottom.blueF() * (1 - a)));
}

::testing::AssertionResult near(QColor got, QColor want) {
    const int d = std::max({std::abs(got.red() - want.red()), std::abs(got.green() - want.green()),
                            std::abs(got.blue() - want.blue())});
    if (d <= 2) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "got " << got.name().toStdString() << ", want " << want.name().toStdString();
}

} // namespace

// Every pill table paints the selected pill and the others in its own colours, blended over
// the row background; the round corners keep the background.
TEST(Tables, PillsInEachTablesColours) {
    const struct {
        const char* name;
        std::unique_ptr<Window> (*make)(QStringList, int);
        PillColors colors;
    } cases[] = {
        {"song list", &Window::with<AllSongsTableView>, AllSongsTableView::kColors},
        {"setlists", &Window::with<TopListOfSetlistsTableView>,
         TopListOfSetlistsTableView::kColors},
        {"setlist", &Window::with<SetlistTableView>, SetlistTableView::kColors},
        {"messages", &Window::with<MidiMessageTableVIew>, MidiMessageTableVIew::kColors},
    };
    for (auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto w = c.make({"", "", ""}, 200);
        w->table->selectRowIndexes({1}, false);
        w->table->clearFocus();
        const QPoint selected = {w->table->rectOfRow(1).right() - 12, w->rowPoint(1).y()};
        const QPoint other = {selected.x(), w->rowPoint(0).y()};
        const auto pixel = [&](QPoint at) { return w->image().pixelColor(at); };
        EXPECT_TRUE(near(pixel(selected), over(c.colors.selectedUnfocused, c.colors.background)));
        EXPECT_TRUE(near(pixel(other), over(c.colors.unselected, c.colors.background)));
        EXPECT_TRUE(near(pixel(w->table->rectOfRow(0).topLeft()), c.colors.background));
    }
    // The row view the edit screen gives the setlist paints the same.
    QImage image(200, 20, QImage::Format_ARGB32);
    QPainter painter(&image);
    SetlistTableRowView().drawRect(painter, image.rect(), image.rect(), true, false);
    const PillColors& setlist = SetlistTableView::kColors;
    EXPECT_TRUE(
        near(image.pixelColor(100, 10), over(setlist.selectedUnfocused, setlist.background)));
}

// A drag starts from a row that a click cannot select; when it ends, the rows are all there.
TEST(Tables, DragFromAnUnselectableRowLeavesTheRows) {
    auto w = Window::with<AllSongsTableView>({"a", "b", "c"});
    w->rows.selectable = false;
    const QPoint from = w->rowPoint(2);
    QTest::mousePress(w->table->viewport(), Qt::LeftButton, {}, from);
    EXPECT_EQ(w->table->selectedRow(), -1);
    QTimer::singleShot(100, [&] {
        QTest::mouseRelease(w->table->viewport(), Qt::LeftButton, {}, from + QPoint(0, 40));
    });
    QTest::mouseMove(w->table->viewport(), from + QPoint(0, 40));
    processEvents();
    EXPECT_EQ(w->rows.written, IndexSet{2});
    EXPECT_EQ(w->rows.sessions, 1);
    EXPECT_EQ(w->rows.sessionsEnded, 1);
    EXPECT_EQ(w->table->numberOfRows(), 3);
}

// The data source hears of an edit only once the editor is closed, so it may reload (or show
// an alert) from there; the edit is posted once.
TEST(Tables, TitleEditsCommitAfterTheEditorCloses) {
    auto w = Window::with<AllSongsTableView>({"a", "b"});
    QObject listener;
    int posted = 0;
    NotificationCenter::defaultCenter().addObserver(&listener, "songsChangedNotification",
                                                    [&](const Notification&) { ++posted; });
    LogCapture log;
    w->rows.reloadWhenSet = true;
    w->table->edit(w->table->model()->index(1, 0));
    auto* editor = w->table->findChild<QLineEdit*>();
    ASSERT_TRUE(editor);
    editor->setText("Encore");
    QTest::keyClick(editor, Qt::Key_Return);
    processEvents();
    EXPECT_EQ(w->rows.values[1], "Encore");
    EXPECT_FALSE(w->rows.editorOpenWhenSet);
    EXPECT_EQ(posted, 1);
    EXPECT_TRUE(log.lines().isEmpty()) << log.lines().join('\n').toStdString();
    NotificationCenter::defaultCenter().removeObserver(&listener);
}

// Reloads asked for in a burst run once, taking the row count when they run; an animated
// scroll ends with the row at the top, or at 0 for a list that does not scroll.
TEST(Tables, ReloadsMergeAndScrollsEndAtTheRowsTop) {
    auto w = Window::with<SetlistTableView>(QStringList(40, "song"));
    int resets = 0;
    QObject::connect(w->table->model(), &QAbstractItemModel::modelReset, [&] { ++resets; });
    for (int i = 0; i < 100; ++i)
        w->table->reloadData();
    w->rows.values << "b";
    processEvents();
    EXPECT_EQ(resets, 1);
    EXPECT_EQ(w->table->numberOfRows(), 41);

    w->table->scrollRowToVisible(20, true);
    QPropertyAnimation* a = w->table->scrollAnimation();
    ASSERT_TRUE(a);
    a->setCurrentTime(a->duration());
    EXPECT_EQ(w->table->rowViewportPosition(20), 0);
    auto shortList = Window::with<SetlistTableView>({"a", "b"});
    shortList->table->scrollRowToVisible(1, true);
    EXPECT_EQ(shortList->table->scrollAnimation()->endValue().toInt(), 0);
}
