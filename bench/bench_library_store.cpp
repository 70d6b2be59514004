// Load and save of a large library against the floor of merely parsing and writing its bytes.
// Each phase runs in a child process so that its peak memory is its own.
#include "library/EntityDescription.h"
#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "library/PersistentStore.h"
#include "library/XmlStoreWriter.h"
#include "platform/Error.h"

#include <QCoreApplication>
#include <QFile>
#include <QSaveFile>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {
const ManagedObjectModel& model() {
    return ManagedObjectModel::gigmoraTwo();
}

void generate(ObjectContext& c) {
    auto addMessages = [&](ManagedObject* song) {
        for (int m = 0; m < 3; ++m) {
            auto* msg = c.insertNewObject("MidiMessage");
            msg->setValue("mMmessageType", m % 2);
            msg->setValue("mMchannel", 1 + m);
            msg->setValue("mMprogOrCcNumber", m * 10);
            msg->setValue("mMinterfaceUniqueID", 19731973);
            song->mutableOrderedSetValueForKey("midiMessage").addObject(msg);
        }
    };
    std::vector<ManagedObject*> library;
    for (int i = 0; i < 10000; ++i) {
        auto* s = c.insertNewObject("Song");
        s->setValue("title", QString("Song number %1 (live & loud)").arg(i));
        s->setValue("path", QString("/Users/band/Music/Logic/Song %1.logicx").arg(i));
        s->setValue("midiIn", i + 1);
        s->setValue("midiOutEnabled", i % 2);
        addMessages(s);
        library.push_back(s);
    }
    for (int l = 0; l < 200; ++l) {
        auto* setlist = c.insertNewObject("Setlist");
        setlist->setValue("name", QString("Gig %1").arg(l));
        for (int k = 0; k < 40; ++k) {
            ManagedObject* src = library[(l * 40 + k * 37) % library.size()];
            auto* copy = c.insertNewObject("Song");
            for (const char* key : {"title", "path", "midiIn", "midiOutEnabled"})
                copy->setValue(key, src->value(key));
            addMessages(copy);
            setlist->mutableOrderedSetValueForKey("song").addObject(copy);
        }
    }
}

double seconds(const std::function<void()>& f) {
    auto t0 = std::chrono::steady_clock::now();
    f();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

struct Result {
    double medianMs;
    long peakKiB;
};

// Median of `runs` timings in a child process, and that child's peak resident memory.
Result measure(int runs, const std::function<void()>& f) {
    int fds[2];
    if (pipe(fds) != 0) return {0, 0};
    pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        std::vector<double> t;
        for (int i = 0; i < runs; ++i)
            t.push_back(seconds(f));
        std::sort(t.begin(), t.end());
        double median = t[t.size() / 2] * 1000.0;
        [[maybe_unused]] auto n = write(fds[1], &median, sizeof median);
        _exit(0);
    }
    close(fds[1]);
    double median = 0;
    [[maybe_unused]] auto n = read(fds[0], &median, sizeof median);
    close(fds[0]);
    int status = 0;
    struct rusage usage {};
    wait4(pid, &status, 0, &usage);
    return {median, usage.ru_maxrss};
}
} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QString path = dir.filePath("OSXCoreDataObjC.storedata");
    QByteArray bytes;
    {
        Error e;
        auto store = PersistentStore::open(model(), path, &e);
        ObjectContext c(model(), store.get());
        generate(c);
        c.save(&e);
        bytes = XmlStoreWriter::write(c, *store);
    }
    const int runs = 7;
    const Result baseline = measure(runs, [] {});
    const Result parse = measure(runs, [&] {
        QFile f(path);
        f.open(QIODevice::ReadOnly);
        QXmlStreamReader xml(f.readAll());
        long tokens = 0;
        while (!xml.atEnd()) {
            xml.readNext();
            ++tokens;
        }
        if (tokens == 0) std::puts("empty");
    });
    const Result load = measure(runs, [&] {
        Error e;
        auto store = PersistentStore::open(model(), path, &e);
        ObjectContext c(model(), store.get());
    });
    const Result writeBytes = measure(runs, [&] {
        QSaveFile f(dir.filePath("copy.xml"));
        f.open(QIODevice::WriteOnly);
        f.write(bytes);
        f.commit();
    });
    Error e;
    auto store = PersistentStore::open(model(), path, &e);
    ObjectContext c(model(), store.get());
    const Result save = measure(runs, [&] { store->save(c, &e); });
    // What the first save after opening costs: every record rendered anew.
    const Result coldSave = measure(runs, [&] {
        for (const auto& entity : c.model().entities())
            for (const ManagedObject* o : c.registeredObjects(entity.get()))
                o->invalidateStoreRendering();
        store->save(c, &e);
    });

    std::printf("library: 10000 songs, 200 setlists x 40, 3 messages per song; file %.1f MiB\n",
                bytes.size() / 1048576.0);
    std::printf("%-34s %10s %14s\n", "phase", "median ms", "peak RSS MiB");
    auto row = [&](const char* name, Result r) {
        std::printf("%-34s %10.1f %14.1f\n", name, r.medianMs, r.peakKiB / 1024.0);
    };
    row("process baseline", baseline);
    row("bare parse (QXmlStreamReader)", parse);
    row("load (open + context)", load);
    row("write same bytes (QSaveFile)", writeBytes);
    row("first save (render all + QSaveFile)", coldSave);
    row("save (kept renderings + QSaveFile)", save);
    store->save(c, &e);
    qsizetype kept = 0;
    for (const auto& entity : c.model().entities())
        for (const ManagedObject* o : c.registeredObjects(entity.get()))
            kept += o->storeRendering().size();
    std::printf("kept renderings: %.1f MiB of text\n", kept / 1048576.0);
    std::printf("load / parse = %.2fx (target <= 3x); save / write = %.2fx (target <= 3x)\n",
                load.medianMs / parse.medianMs, save.medianMs / writeBytes.medianMs);
    return 0;
}
