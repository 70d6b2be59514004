// A song table bound to an array controller of 10,000 songs in a 660-point high view: a full
// repaint, a scroll by one page, and a burst of 100 reload requests inside one turn.
#include "app/tables/AllSongsTableView.h"
#include "library/ArrayController.h"
#include "library/LibraryStack.h"
#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"

#include <QAbstractItemModel>
#include <QApplication>
#include <QScrollBar>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {
struct Figures {
    double median, p95;
};

template <typename F> Figures measure(int runs, F f) {
    std::vector<double> ms;
    for (int i = 0; i < runs; ++i) {
        const auto t0 = std::chrono::steady_clock::now();
        f();
        ms.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0)
                .count());
    }
    std::sort(ms.begin(), ms.end());
    return {ms[ms.size() / 2], ms[ms.size() * 95 / 100]};
}
} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ObjectContext context(ManagedObjectModel::gigmoraTwo());
    for (int i = 0; i < 10000; ++i) {
        ManagedObject* s = context.insertNewObject("Song");
        s->setValue("title", QString("Song number %1 with a longer title").arg(i));
        s->setValue("path", QString("/music/Song %1.logicx").arg(i));
        s->setValue("midiIn", i + 1);
    }
    ArrayController songs;
    songs.setManagedObjectContext(&context);
    songs.setEntityName("Song");
    songs.setSortDescriptors(LibraryStack::allSongsSortDescriptor());
    songs.fetch();

    AllSongsTableView table;
    table.addTableColumn("midiIn", "#");
    table.addTableColumn(TableColumn{"title", "Title", true});
    table.bind("content", &songs, "arrangedObjects");
    table.bind("selectionIndexes", &songs, "selectionIndexes");
    table.resize(486, 660);
    table.show();
    table.selectRowIndexes({3}, false);
    QApplication::processEvents();

    const Figures repaint = measure(200, [&] { table.viewport()->repaint(); });
    QScrollBar* bar = table.verticalScrollBar();
    const Figures page = measure(200, [&] {
        bar->setValue(
            bar->value() + bar->pageStep() > bar->maximum() ? 0 : bar->value() + bar->pageStep());
        table.viewport()->repaint();
    });
    int resets = 0;
    QObject::connect(table.model(), &QAbstractItemModel::modelReset, [&] { ++resets; });
    const Figures burst = measure(50, [&] {
        for (int i = 0; i < 100; ++i)
            table.reloadData();
        QApplication::processEvents();
    });
    std::printf("table of %lld songs, %dx%d view\n", static_cast<long long>(table.numberOfRows()),
                table.viewport()->width(), table.viewport()->height());
    std::printf("full repaint:             median %.2f ms, p95 %.2f ms (target median < 4 ms)\n",
                repaint.median, repaint.p95);
    std::printf("scroll one page + repaint: median %.2f ms, p95 %.2f ms (target median < 4 ms)\n",
                page.median, page.p95);
    std::printf("100 reloads in one turn:  median %.2f ms, p95 %.2f ms, %.2f model resets each\n",
                burst.median, burst.p95, resets / 50.0);
    return 0;
}
