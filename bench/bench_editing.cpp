// The edit screen's actions on a large library, each from its event until the tables have
// settled, including the store save the action makes, beside the bare write of the same store
// bytes. The library: 10,000 songs, 200 setlists of 40, 3 MIDI messages per song.
#include "app/AppDelegate.h"
#include "app/EditScreen.h"
#include "app/EditView.h"
#include "app/MainWindow.h"
#include "app/PerformanceView.h"
#include "app/SongDetailsView.h"
#include "editing/AllSongsTableViewController.h"
#include "editing/DragableOrderedSetTableViewDelegate.h"
#include "library/ArrayController.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "platform/DraggingInfo.h"
#include "platform/Pasteboard.h"
#include "platform/TableView.h"
#include "support/LibraryHelpers.h"
#include "support/OffscreenApplication.h"
#include "support/TempHome.h"

#include <QApplication>
#include <QDir>
#include <QDropEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QSaveFile>
#include <QTest>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

using namespace helpers;

namespace {
struct Figures {
    double median, p95;
};

template <typename Prepare, typename Act> Figures measure(int runs, Prepare prepare, Act act) {
    std::vector<double> ms;
    for (int i = 0; i < runs; ++i) {
        prepare(i);
        const auto t0 = std::chrono::steady_clock::now();
        act(i);
        QApplication::processEvents();
        // Closed editors go too; outside an event loop nothing else deletes them.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        ms.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0)
                .count());
    }
    if (qEnvironmentVariableIsSet("BENCH_VERBOSE"))
        for (double m : ms)
            std::printf("  %.2f\n", m);
    std::sort(ms.begin(), ms.end());
    return {ms[ms.size() / 2], ms[std::min(ms.size() - 1, ms.size() * 95 / 100)]};
}

void generate(ObjectContext& c) {
    auto addMessages = [&](ManagedObject* song) {
        for (int m = 0; m < 3; ++m) {
            auto* msg = c.insertNewObject("MidiMessage");
            msg->setValue("mMmessageType", m % 2);
            msg->setValue("mMchannel", 1 + m);
            msg->setValue("mMprogOrCcNumber", m * 10);
            song->mutableOrderedSetValueForKey("midiMessage").addObject(msg);
        }
    };
    std::vector<ManagedObject*> library;
    for (int i = 0; i < 10000; ++i) {
        auto* s = addSong(c, QString("Song number %1").arg(i),
                          QString("/music/Song %1.logicx").arg(i), i + 1);
        addMessages(s);
        library.push_back(s);
    }
    for (int l = 0; l < 200; ++l) {
        auto* setlist = addSetlist(c, QString("Gig %1").arg(l));
        for (int k = 0; k < 40; ++k) {
            ManagedObject* src = library[(l * 40 + k * 37) % library.size()];
            auto* copy = addSong(c, src->stringValue("title"), src->stringValue("path"),
                                 int(src->integerValue("midiIn")));
            addMessages(copy);
            setlist->mutableOrderedSetValueForKey("song").addObject(copy);
        }
    }
}

// A file manager's drop: enter, move and drop events on the table's viewport.
void dropFile(TableView* table, const QString& path) {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(path)});
    const QPoint at(30, 10);
    QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(table->viewport(), &enter);
    QDragMoveEvent move(at, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(table->viewport(), &move);
    QDropEvent drop(at, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(table->viewport(), &drop);
}

// Rows of `source` dragged onto `target` above `row`, through the delegates as the table does.
void dragRows(TableViewDelegate* from, TableView* source, TableView* target, const IndexSet& rows,
              qsizetype row) {
    Pasteboard out;
    from->writeRowsWithIndexes(source, rows, out);
    std::unique_ptr<QMimeData> data(out.takeMimeData());
    from->draggingSessionWillBeginAtPoint(source, {}, rows);
    DraggingInfo info(data.get(), source, {}, DragOperationEvery);
    auto* to = static_cast<TableViewDelegate*>(target->delegate());
    if (to->validateDrop(target, info, row, DropOperation::Above) != DragOperationNone)
        to->acceptDrop(target, info, target->dropRow(), target->dropOperation());
    from->draggingSessionEndedAtPoint(source, {}, DragOperationMove);
}

void print(const char* name, Figures f, double bareWrite) {
    std::printf("%-36s median %7.2f ms, p95 %7.2f ms", name, f.median, f.p95);
    if (bareWrite > 0) std::printf("  (%.2fx the bare write)", f.median / bareWrite);
    std::printf("\n");
}
} // namespace

int main(int argc, char** argv) {
    OffscreenApplication offscreen(argc, argv);
    AppDelegate& app = offscreen.app();
    ObjectContext& c = *app.managedObjectContext();
    generate(c);
    c.save();
    MainWindow* w = app.window();
    w->resize(1200, 800);
    w->show();
    ArrayController* setlists = app.allSetlistsArrayController();
    setlists->setSelectionIndex(0);
    processEvents();

    const QByteArray bytes = readFile(storePath());
    std::printf("library: 10000 songs, 200 setlists x 40, 3 messages per song; store %.1f MiB\n",
                bytes.size() / 1048576.0);
    const Figures bare = measure(
        15, [](int) {},
        [&](int) {
            QSaveFile f(TempHome::home() + "/bare.xml");
            f.open(QIODevice::WriteOnly);
            f.write(bytes);
            f.commit();
        });
    print("bare write of the store bytes", bare, 0);

    TableView* songs = w->editView()->allSongsTableView();
    TableView* setlistTable = w->editView()->setlistTableView();
    AllSongsTableViewController* songList = app.editScreen()->songList();
    DragableOrderedSetTableViewDelegate* setlist = app.editScreen()->setlistDelegate();
    const auto none = [](int) {};
    const QString newProject = TempHome::home() + "/new/Drop %1.logicx";
    struct Phase {
        const char* name;
        int runs;
        std::function<void(int)> prepare, act;
        bool saves;
    };
    const std::vector<Phase> phases{
        {"save after one change", 15,
         [&](int i) {
             c.executeFetchRequest({"Setlist", {}, {}, 0})
                 .first()
                 ->setValue("name", QString::number(i));
         },
         [&](int) { c.save(); }, true},
        {"file dropped on the song list (no save)", 15,
         [&](int i) { QDir().mkpath(newProject.arg(i)); },
         [&](int i) { dropFile(songs, newProject.arg(i)); }, true},
        {"number edit with a clash (no save)", 15,
         [&](int) {
             songs->edit(songs->model()->index(0, 0));
             auto* editor = songs->findChild<QLineEdit*>();
             editor->clear();
             QTest::keyClicks(editor, "42"); // held by another song: the clash alert, answered
         },
         [&](int) { QTest::keyClick(songs->findChild<QLineEdit*>(), Qt::Key_Return); }, true},
        {"song dragged into a setlist", 15, none,
         [&](int i) { dragRows(songList, songs, setlistTable, {i * 3}, 0); }, true},
        {"reorder in a setlist (no save)", 15, none,
         [&](int) { dragRows(setlist, setlistTable, setlistTable, {0}, 5); }, true},
        {"song deleted everywhere", 15, [&](int) { setlistTable->selectRowIndexes({1}, false); },
         [&](int) { w->findChild<QPushButton*>("deleteSongEverywhereButton")->click(); }, true},
        {"search keystroke", 20,
         [&](int i) {
             if (i % 4 == 0) w->findChild<QLineEdit*>("searchField")->clear();
             QApplication::processEvents();
         },
         [&](int i) { QTest::keyClick(w->findChild<QLineEdit*>("searchField"), "son "[i % 4]); },
         false},
        {"song list repaint", 50,
         [&](int i) {
             if (i == 0) w->findChild<QLineEdit*>("searchField")->clear();
             QApplication::processEvents();
         },
         [&](int) { songs->viewport()->repaint(); }, false},
    };
    // An argument names the only phase to run, for profiling one of them.
    const QString only = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    for (const Phase& p : phases)
        if (only.isEmpty() || QString(p.name).contains(only))
            print(p.name, measure(p.runs, p.prepare, p.act), p.saves ? bare.median : 0);
    return 0;
}
