// Trigger latency and main-thread cost with a library of 10,000 songs and a setlist of 40.
// Needs a running JACK server (scripts/bench starts one with the dummy driver).
//
// 1. Periods from a program change 127 written by a JACK client to the close command read
//    back, against a bare client that echoes each event in the next period (the floor).
// 2. Main-thread time of the trigger handler, from the read procedure's job to the close
//    command handed to the MIDI system.
#include "app/AppDelegate.h"
#include "app/EditView.h"
#include "app/MainWindow.h"
#include "app/PerformanceView.h"
#include "app/SongDetailsView.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "midi/MainMidi.h"
#include "midi/MidiCapture.h"
#include "midi/MidiPacketList.h"
#include "midi/ReadProcedure.h"
#include "midi/backends/jack/JackMidiServices.h"
#include "platform/MainQueue.h"
#include "platform/TableView.h"
#include "settings/Prefs.h"
#include <QElapsedTimer>
#include <sys/resource.h>
#include <thread>

#include <QApplication>
#include <QDeadlineTimer>
#include <QTemporaryDir>
#include <QThread>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <jack/jack.h>
#include <jack/metadata.h>
#include <jack/midiport.h>
#include <jack/ringbuffer.h>
#include <map>
#include <vector>

namespace {
constexpr int kTriggers = 1000;

bool pump(const std::function<bool()>& done, int timeoutMs = 2000) {
    QDeadlineTimer deadline(timeoutMs);
    while (!done()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    }
    return true;
}

// The controller and the DAW at once: sends in one period, notes the period of each reply.
struct Prober {
    jack_client_t* client = nullptr;
    jack_port_t *out = nullptr, *in = nullptr;
    std::atomic<uint64_t> cycle{0};
    std::atomic<int> pending{0};
    std::atomic<uint64_t> sentCycle{0}, gotCycle{0};
    std::atomic<int> replies{0};
    std::vector<uint8_t> message;
    std::vector<uint8_t> expect;

    explicit Prober(const char* name) {
        jack_status_t status;
        client = jack_client_open(name, JackNoStartServer, &status);
        out = jack_port_register(client, "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
        in = jack_port_register(client, "in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
        jack_set_process_callback(client, &Prober::process, this);
        jack_activate(client);
    }
    ~Prober() { jack_client_close(client); }
    static int process(jack_nframes_t n, void* arg) {
        auto* self = static_cast<Prober*>(arg);
        const uint64_t c = self->cycle.fetch_add(1) + 1;
        void* ob = jack_port_get_buffer(self->out, n);
        jack_midi_clear_buffer(ob);
        if (self->pending.exchange(0)) {
            jack_midi_event_write(ob, 0, self->message.data(), self->message.size());
            self->sentCycle = c;
        }
        void* ib = jack_port_get_buffer(self->in, n);
        for (uint32_t k = 0; k < jack_midi_get_event_count(ib); ++k) {
            jack_midi_event_t ev;
            jack_midi_event_get(&ev, ib, k);
            if (ev.size == self->expect.size() &&
                std::memcmp(ev.buffer, self->expect.data(), ev.size) == 0) {
                self->gotCycle = c;
                self->replies.fetch_add(1);
            }
        }
        return 0;
    }
    // Returns the periods between sending and the reply, or -1.
    int roundTrip() {
        const int before = replies.load();
        pending = 1;
        if (!pump([&] { return replies.load() > before; })) return -1;
        return static_cast<int>(gotCycle.load() - sentCycle.load());
    }
};

// A bare client that writes every event it reads out again in the next period.
struct Echo {
    jack_client_t* client = nullptr;
    jack_port_t *in = nullptr, *out = nullptr;
    uint8_t held[64];
    size_t heldSize = 0;
    Echo() {
        jack_status_t status;
        client = jack_client_open("bench-echo", JackNoStartServer, &status);
        in = jack_port_register(client, "in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
        out = jack_port_register(client, "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
        jack_set_process_callback(client, &Echo::process, this);
        jack_activate(client);
    }
    ~Echo() { jack_client_close(client); }
    static int process(jack_nframes_t n, void* arg) {
        auto* self = static_cast<Echo*>(arg);
        void* ob = jack_port_get_buffer(self->out, n);
        jack_midi_clear_buffer(ob);
        if (self->heldSize) {
            jack_midi_event_write(ob, 0, self->held, self->heldSize);
            self->heldSize = 0;
        }
        void* ib = jack_port_get_buffer(self->in, n);
        if (jack_midi_get_event_count(ib) > 0) {
            jack_midi_event_t ev;
            jack_midi_event_get(&ev, ib, 0);
            self->heldSize = std::min<size_t>(ev.size, sizeof self->held);
            std::memcpy(self->held, ev.buffer, self->heldSize);
        }
        return 0;
    }
};

QString portWithUniqueID(jack_client_t* c, int id) {
    const char** ports = jack_get_ports(c, nullptr, JACK_DEFAULT_MIDI_TYPE, 0);
    QString found;
    for (const char** p = ports; p && *p; ++p) {
        char *value = nullptr, *type = nullptr;
        if (jack_get_property(jack_port_uuid(jack_port_by_name(c, *p)),
                              JackMidiServices::kUniqueIDKey, &value, &type) == 0) {
            if (QByteArray(value).toInt() == id) found = *p;
            jack_free(value);
            jack_free(type);
        }
    }
    jack_free(ports);
    return found;
}

void report(const char* what, std::vector<int> periods) {
    std::map<int, int> histogram;
    for (int p : periods)
        ++histogram[p];
    std::sort(periods.begin(), periods.end());
    std::printf("%-28s n=%zu median=%d p99=%d max=%d  distribution:", what, periods.size(),
                periods[periods.size() / 2], periods[periods.size() * 99 / 100], periods.back());
    for (auto [p, n] : histogram)
        std::printf(" %d:%d", p, n);
    std::printf("\n");
}
} // namespace

int main(int argc, char** argv) {
    QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_DATA_HOME", (home.path() + "/share").toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication qapp(argc, argv);
    MainQueue::install();
    if (!JackMidiServices::serverIsRunning()) {
        std::fprintf(stderr, "No JACK server: run scripts/bench.\n");
        return 1;
    }
    AppDelegate app(std::make_unique<JackMidiServices>());
    app.sharedPrefs()->prefsSelectedDAW = 2; // close commands only: nothing is launched
    ObjectContext& c = *app.managedObjectContext();
    std::vector<ManagedObject*> library;
    for (int i = 0; i < 10000; ++i) {
        auto* s = c.insertNewObject("Song");
        s->setValue("title", QString("Song %1").arg(i));
        s->setValue("path", QString("/music/Song %1.logicx").arg(i));
        s->setValue("midiIn", i + 1);
        library.push_back(s);
    }
    auto* setlist = c.insertNewObject("Setlist");
    setlist->setValue("name", "Gig");
    for (int k = 0; k < 40; ++k) {
        auto* copy = c.insertNewObject("Song");
        copy->setValue("title", library[k * 250]->value("title"));
        copy->setValue("path", library[k * 250]->value("path"));
        copy->setValue("midiIn", library[k * 250]->value("midiIn"));
        setlist->mutableOrderedSetValueForKey("song").addObject(copy);
    }
    app.applicationDidFinishLaunching();
    pump([] { return false; }, 200);
    TableView* setlistTable = app.window()->editView()->setlistTableView();
    auto restart = [&] {
        if (setlistTable->selectedRow() >= 38) {
            setlistTable->selectRowIndexes({0}, false);
            pump([] { return false; }, 5);
        }
    };

    Prober prober("bench-prober");
    prober.message = {0xC0, 0x7F};
    prober.expect = {0xF0, 0x00, 0x22, 0x11, 0x01, 0xF7};
    jack_connect(prober.client, jack_port_name(prober.out),
                 portWithUniqueID(prober.client, 19711971).toUtf8().constData());
    jack_connect(prober.client, portWithUniqueID(prober.client, 19731973).toUtf8().constData(),
                 jack_port_name(prober.in));
    std::vector<int> gigmora;
    for (int i = 0; i < kTriggers; ++i) {
        restart();
        const int p = prober.roundTrip();
        if (p >= 0) gigmora.push_back(p);
        pump([] { return false; }, 2);
    }
    jack_disconnect(prober.client, jack_port_name(prober.out),
                    portWithUniqueID(prober.client, 19711971).toUtf8().constData());

    Echo echo;
    Prober floorProber("bench-floor");
    floorProber.message = {0xC0, 0x7F};
    floorProber.expect = {0xC0, 0x7F};
    jack_connect(echo.client, jack_port_name(floorProber.out), jack_port_name(echo.in));
    jack_connect(echo.client, jack_port_name(echo.out), jack_port_name(floorProber.in));
    std::vector<int> floor;
    for (int i = 0; i < kTriggers; ++i) {
        const int p = floorProber.roundTrip();
        if (p >= 0) floor.push_back(p);
        pump([] { return false; }, 2);
    }

    // Main-thread cost of one trigger, the MIDI system's threads left out.
    std::vector<double> micros;
    for (int i = 0; i < kTriggers; ++i) {
        restart();
        app.mainMidiObject()->capture().status = 0xC0;
        app.mainMidiObject()->capture().data1 = 127;
        const auto t0 = std::chrono::steady_clock::now();
        app.checkMidi();
        const auto t1 = std::chrono::steady_clock::now();
        micros.push_back(std::chrono::duration<double, std::micro>(t1 - t0).count());
        pump([] { return false; }, 1);
    }
    std::sort(micros.begin(), micros.end());

    // A flood of 20,000 program changes from the MIDI side, in bursts of 500 over about two
    // seconds: the longest the main thread went without a turn, and what resident memory grew.
    struct rusage before {};
    getrusage(RUSAGE_SELF, &before);
    std::atomic<bool> flooded{false};
    std::thread flood([&] {
        MidiPacketList list;
        for (int i = 0; i < 20000; ++i) {
            list.clear();
            list.addPacket(0, {uint8_t(0xC0 | (i % 16)), uint8_t(i % 100)});
            ReadProcedure::midiReadProc(list.data(), list.size(), app.mainMidiObject(), nullptr);
            if (i % 500 == 499) std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        flooded = true;
    });
    QElapsedTimer turn;
    turn.start();
    qint64 longestGap = 0;
    while (!flooded.load()) {
        QCoreApplication::processEvents();
        longestGap = std::max(longestGap, turn.restart());
    }
    flood.join();
    pump([] { return false; }, 500);
    struct rusage after {};
    getrusage(RUSAGE_SELF, &after);

    jack_client_t* info = prober.client;
    std::printf("JACK: %u Hz, %u frames per period\n", jack_get_sample_rate(info),
                jack_get_buffer_size(info));
    if (gigmora.empty() || floor.empty()) {
        std::printf("no replies measured\n");
        return 1;
    }
    report("Gigmora trigger -> close", gigmora);
    report("bare echo client (floor)", floor);
    std::printf(
        "main thread per trigger: median %.1f us, p99 %.1f us, max %.1f us (target p99 < 200 us)\n",
        micros[micros.size() / 2], micros[micros.size() * 99 / 100], micros.back());
    std::printf("flood of 20,000 program changes: longest main-thread turn %lld ms, resident "
                "memory grew %ld KiB\n",
                static_cast<long long>(longestGap), after.ru_maxrss - before.ru_maxrss);
    return 0;
}
