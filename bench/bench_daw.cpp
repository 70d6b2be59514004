// The session manager's share of a song switch, with a stand-in DAW that answers at once
// (tests/tools/fake_nsm_daw): the main thread's time from the recall's opening request to the
// open message sent, and the round trip to the DAW's answer. 500 switches between two
// sessions; the DAW's own share with Ardour is the real-DAW test's (see the README).
#include "daw/SessionManager.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {
void print(const char* name, std::vector<double> us) {
    std::sort(us.begin(), us.end());
    std::printf("%-44s median %8.1f us, p99 %8.1f us, max %8.1f us\n", name, us[us.size() / 2],
                us[us.size() * 99 / 100], us.back());
}
} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_daw PATH-TO-fake_nsm_daw\n");
        return 64;
    }
    QTemporaryDir home;
    const QString a = home.filePath("SongA"), b = home.filePath("SongB");
    QDir().mkpath(a);
    QDir().mkpath(b);
    SessionManager manager({{QString::fromLocal8Bit(argv[1]), "--delay", "0"}, false, 10000});
    int loads = 0;
    QObject::connect(&manager, &SessionManager::loaded, [&] { ++loads; });
    manager.start();
    QElapsedTimer wait;
    wait.start();
    while (!manager.stateText().endsWith("is ready") && wait.elapsed() < 10000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    std::vector<double> sendUs, roundTripUs;
    for (int i = 0; i < 500; ++i) {
        const auto t0 = std::chrono::steady_clock::now();
        manager.open(i % 2 ? b : a);
        const auto t1 = std::chrono::steady_clock::now();
        while (loads <= i && wait.elapsed() < 60000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        const auto t2 = std::chrono::steady_clock::now();
        sendUs.push_back(std::chrono::duration<double, std::micro>(t1 - t0).count());
        roundTripUs.push_back(std::chrono::duration<double, std::micro>(t2 - t0).count());
    }
    print("open request -> /nsm/client/open sent", sendUs);
    print("open request -> the DAW's answer handled", roundTripUs);
    manager.shutdown(2000);
    return 0;
}
