#include "app/tables/AllSongsTableView.h"
#include "app/tables/MidiMessageTableVIew.h"
#include "app/tables/OverlayScroller.h"
#include "app/tables/SetlistTableRowView.h"
#include "app/tables/SetlistTableView.h"
#include "app/tables/TopListOfSetlistsTableView.h"
#include "library/TransferRecords.h"
#include "platform/DraggingInfo.h"
#include "platform/EditingRegistry.h"
#include "platform/FontFaces.h"
#include "platform/NotificationCenter.h"
#include "platform/TableViewDataSource.h"
#include "support/LibraryHelpers.h"
#include "support/LogCapture.h"

#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QPropertyAnimation>
#include <QScrollBar>
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
    uint32_t validateDrop(TableView* table, DraggingInfo& info, qsizetype row,
                          DropOperation op) override {
        proposed = {row, op};
        if (retargetOnToAbove && op == DropOperation::On)
            table->setDropRow(row, DropOperation::Above);
        source = info.draggingSource();
        return refuse ? DragOperationNone : DragOperationCopy;
    }
    bool acceptDrop(TableView*, DraggingInfo&, qsizetype row, DropOperation op) override {
        accepted = {row, op};
        return true;
    }

    QStringList values;
    bool selectable = true, reloadWhenSet = false, retargetOnToAbove = false, refuse = false;
    bool editorOpenWhenSet = true;
    IndexSet written;
    int sessions = 0, sessionsEnded = 0;
    std::pair<qsizetype, DropOperation> proposed{-2, DropOperation::On};
    std::pair<qsizetype, DropOperation> accepted{-2, DropOperation::On};
    TableView* source = nullptr;
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

// As a real drag arrives: entering, moving, and dropping or leaving.
void sendDrag(TableView* table, QPoint at, QMimeData& data, bool drop) {
    QDragEnterEvent enter(at, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(table->viewport(), &enter);
    QDragMoveEvent move(at, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(table->viewport(), &move);
    if (!drop) {
        QDragLeaveEvent leave;
        QApplication::sendEvent(table->viewport(), &leave);
        return;
    }
    QDropEvent dropped(at, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(table->viewport(), &dropped);
}
} // namespace

// Every pill table paints its rows over its row background in its own colours: the selected
// pill by the focus, the others in the unselected colour, blended by their alpha; a corner
// pixel keeps the background (the corners are round); Qt's own highlight is gone.
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
        QImage image = w->image();
        const QPoint selected = {w->table->rectOfRow(1).right() - 12, w->rowPoint(1).y()};
        const QPoint other = {selected.x(), w->rowPoint(0).y()};
        EXPECT_TRUE(near(image.pixelColor(selected),
                         over(c.colors.selectedUnfocused, c.colors.background)));
        EXPECT_TRUE(near(image.pixelColor(other), over(c.colors.unselected, c.colors.background)));
        EXPECT_TRUE(near(image.pixelColor(w->table->rectOfRow(0).topLeft()), c.colors.background))
            << "the corner stays the background";

        QApplication::setActiveWindow(&w->window);
        w->table->setFocus();
        processEvents();
        ASSERT_TRUE(w->table->hasKeyFocus());
        image = w->image();
        EXPECT_TRUE(
            near(image.pixelColor(selected), over(c.colors.selectedFocused, c.colors.background)));
    }
}

TEST(Tables, SetlistRowViewAndScroller) {
    QImage image(200, 20, QImage::Format_ARGB32);
    image.fill(Qt::white);
    {
        QPainter painter(&image);
        SetlistTableRowView().drawRect(painter, {0, 0, 200, 20}, {0, 0, 200, 20}, true, false);
    }
    const QColor background = SetlistTableView::kColors.background;
    EXPECT_TRUE(near(image.pixelColor(100, 10),
                     over(SetlistTableView::kColors.selectedUnfocused, background)))
        << "half opaque green without the focus";
    EXPECT_TRUE(near(image.pixelColor(0, 0), background));

    auto w = Window::with<AllSongsTableView>(QStringList(50, "song"));
    EXPECT_EQ(w->table->verticalScrollBar()->width(), 0) << "the scroller takes no width";
    // A thin one shows over the edge while the list scrolls, and goes again.
    auto* overlay = w->table->findChild<OverlayScroller*>();
    ASSERT_TRUE(overlay);
    EXPECT_FALSE(overlay->isVisible()) << "at rest the list shows none";
    w->table->verticalScrollBar()->setValue(40);
    processEvents();
    EXPECT_TRUE(overlay->isVisible());
    EXPECT_EQ(overlay->width(), OverlayScroller::kWidth);
    EXPECT_EQ(overlay->geometry().right(), w->table->viewport()->geometry().right());
    EXPECT_EQ(overlay->value(), 40);
    overlay->setValue(10); // dragged
    EXPECT_EQ(w->table->verticalScrollBar()->value(), 10);
    overlay->fade(); // when its time is up
    EXPECT_FALSE(overlay->isVisible());
    // The pointer at the edge shows it too; a short list has nothing to show.
    QMouseEvent move(QEvent::MouseMove, QPointF(w->table->viewport()->width() - 3, 20), QPointF(),
                     Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(w->table->viewport(), &move);
    EXPECT_TRUE(overlay->isVisible());
    auto few = Window::with<AllSongsTableView>({"a", "b"});
    few->table->findChild<OverlayScroller*>()->flash();
    EXPECT_FALSE(few->table->findChild<OverlayScroller*>()->isVisible());
}

// Drags arriving at row edges, row middles and below the last row reach the delegate as
// "above" or "on" a row, retargeted as it says; a refused drop changes nothing.
TEST(Tables, DropsAreProposedOnOrAboveRows) {
    auto w = Window::with<SetlistTableView>({"a", "b", "c"});
    QMimeData data;
    data.setData(TransferRecords::allsongTableViewType, "x");
    using P = std::pair<qsizetype, DropOperation>;

    sendDrag(w->table, w->rowPoint(1, 0.5), data, false);
    EXPECT_EQ(w->rows.proposed, (P{1, DropOperation::On}));
    sendDrag(w->table, w->rowPoint(1, 0.05), data, false);
    EXPECT_EQ(w->rows.proposed, (P{1, DropOperation::Above}));
    sendDrag(w->table, w->rowPoint(1, 0.95), data, false);
    EXPECT_EQ(w->rows.proposed, (P{2, DropOperation::Above}));
    const QPoint below{50, w->table->rectOfRow(2).bottom() + 30};
    sendDrag(w->table, below, data, true);
    EXPECT_EQ(w->rows.proposed, (P{3, DropOperation::Above})) << "above the row count";
    EXPECT_EQ(w->rows.accepted, (P{3, DropOperation::Above}));
    EXPECT_EQ(w->rows.source, nullptr) << "not from a table of ours";

    w->rows.retargetOnToAbove = true;
    sendDrag(w->table, w->rowPoint(0), data, true);
    EXPECT_EQ(w->rows.accepted, (P{0, DropOperation::Above})) << "the retargeted drop";

    w->rows.refuse = true;
    w->rows.accepted = {-2, DropOperation::On};
    sendDrag(w->table, w->rowPoint(2), data, true);
    EXPECT_EQ(w->rows.accepted.first, -2);

    // A payload of a type the table did not register for is not even offered.
    QMimeData other;
    other.setText("plain");
    w->rows.proposed = {-2, DropOperation::On};
    sendDrag(w->table, w->rowPoint(1), other, true);
    EXPECT_EQ(w->rows.proposed.first, -2);
    EXPECT_EQ(w->rows.values, (QStringList{"a", "b", "c"}));
}

TEST(Tables, PasteboardCarriesTypesAndFiles) {
    Pasteboard out;
    out.setData("payload", TransferRecords::setlistTableViewType);
    out.setFileURLs({QUrl::fromLocalFile("/music/A \"b\" $c.logicx"), QUrl("https://x.org/y")});
    std::unique_ptr<QMimeData> data(out.takeMimeData());
    EXPECT_TRUE(data->hasFormat("text/uri-list"));
    const Pasteboard in(data.get());
    EXPECT_TRUE(in.hasType(TransferRecords::setlistTableViewType));
    EXPECT_TRUE(in.hasType(Pasteboard::kFileURLType));
    EXPECT_TRUE(in.hasType(Pasteboard::kFilenamesType));
    EXPECT_EQ(in.dataForType(TransferRecords::setlistTableViewType), "payload");
    EXPECT_EQ(in.filenames(), QStringList{"/music/A \"b\" $c.logicx"}) << "local files only";
}

// A drag starts from a row that a click cannot select; when it ends, the rows are all there.
TEST(Tables, DragFromAnUnselectableRowLeavesTheRows) {
    auto w = Window::with<AllSongsTableView>({"a", "b", "c"});
    w->rows.selectable = false;
    const QPoint from = w->rowPoint(2);
    QTest::mousePress(w->table->viewport(), Qt::LeftButton, {}, from);
    EXPECT_EQ(w->table->selectedRow(), -1) << "not selected by the click";
    QTimer::singleShot(100, [&] {
        QTest::mouseRelease(w->table->viewport(), Qt::LeftButton, {}, from + QPoint(0, 40));
    });
    QTest::mouseMove(w->table->viewport(), from + QPoint(0, 40));
    processEvents();
    EXPECT_EQ(w->rows.written, IndexSet{2});
    EXPECT_EQ(w->rows.sessions, 1);
    EXPECT_EQ(w->rows.sessionsEnded, 1);
    EXPECT_EQ(w->table->numberOfRows(), 3);
    EXPECT_EQ(w->rows.values, (QStringList{"a", "b", "c"}));
}

// Right click: below the last row nothing; on an unselected row it is selected first, then
// the notice and the menu; on the selected row the selection stays.
TEST(Tables, SetlistContextMenuRule) {
    auto w = Window::with<SetlistTableView>({"a", "b", "c"});
    QMenu menu;
    menu.addAction("Show in Folder");
    w->table->setMenu(&menu);
    QObject listener;
    int posted = 0;
    NotificationCenter::defaultCenter().addObserver(&listener, "rightClickNotification",
                                                    [&](const Notification&) { ++posted; });
    auto rightClick = [&](QPoint at) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, at,
                                w->table->viewport()->mapToGlobal(at));
        QApplication::sendEvent(w->table->viewport(), &event);
        processEvents();
    };
    rightClick({50, w->table->rectOfRow(2).bottom() + 30});
    EXPECT_EQ(posted, 0);
    EXPECT_FALSE(menu.isVisible());

    w->table->selectRowIndexes({0}, false);
    rightClick(w->rowPoint(2));
    EXPECT_EQ(w->table->selectedRow(), 2);
    EXPECT_EQ(posted, 1);
    EXPECT_TRUE(menu.isVisible());
    menu.hide();
    rightClick(w->rowPoint(2));
    EXPECT_EQ(w->table->selectedRow(), 2);
    EXPECT_EQ(posted, 2);
    NotificationCenter::defaultCenter().removeObserver(&listener);
}

// Ending a title edit posts once; the data source hears of the value only once the editor
// is closed, so it may reload (or show an alert) from there.
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

    // Typed and never confirmed: a save commits it.
    w->table->edit(w->table->model()->index(0, 0));
    editor = w->table->findChild<QLineEdit*>();
    ASSERT_TRUE(editor);
    editor->setText("Opener");
    EXPECT_TRUE(EditingRegistry::commitAll());
    processEvents();
    EXPECT_EQ(w->rows.values[0], "Opener");
    EXPECT_EQ(posted, 2);
    EXPECT_EQ(w->table->numberOfRows(), 2);
    EXPECT_TRUE(log.lines().isEmpty()) << log.lines().join('\n').toStdString();
    NotificationCenter::defaultCenter().removeObserver(&listener);
}

// Reloads asked for in a burst run once, taking the row count when they run.
TEST(Tables, ReloadsMergeAndTakeTheCountWhenTheyRun) {
    auto w = Window::with<TopListOfSetlistsTableView>({"a"});
    int resets = 0;
    QObject::connect(w->table->model(), &QAbstractItemModel::modelReset, [&] { ++resets; });
    for (int i = 0; i < 100; ++i)
        w->table->reloadData();
    w->rows.values << "b"
                   << "c";
    processEvents();
    EXPECT_EQ(resets, 1);
    EXPECT_EQ(w->table->numberOfRows(), 3);
    EXPECT_EQ(FontFaces::font("Dosis-Medium", 10).family(), "Dosis");
    EXPECT_EQ(w->table->dataCellForTableColumn(w->table->tableColumns()[0], 0).font->styleName(),
              "Medium");
}

// Animated scrolling: to the row's top, never above it, over the default duration.
TEST(Tables, AnimatedScrollEndsAtTheRowsTop) {
    auto w = Window::with<SetlistTableView>(QStringList(40, "song"));
    w->table->scrollRowToVisible(20, true);
    QPropertyAnimation* a = w->table->scrollAnimation();
    ASSERT_TRUE(a);
    EXPECT_EQ(a->duration(), 250);
    EXPECT_EQ(a->endValue().toInt(),
              w->table->rowViewportPosition(20) + w->table->verticalScrollBar()->value());
    a->setCurrentTime(250);
    EXPECT_EQ(w->table->rowViewportPosition(20), 0);

    auto shortList = Window::with<SetlistTableView>({"a", "b"});
    shortList->table->scrollRowToVisible(0, true);
    EXPECT_EQ(shortList->table->scrollAnimation()->endValue().toInt(), 0);
}
