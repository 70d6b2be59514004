// The web remote's push: from the recall a trigger runs (the MIDI share is bench_trigger's) to
// the update read by each open page, with 1 and with 50 pages. The pages are WebSockets in a
// second thread, as browsers are elsewhere; the time is the last page's. 300 steps each.
#include "app/AppDelegate.h"
#include "app/StageRemotes.h"
#include "library/ArrayController.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "performance/SongRecall.h"
#include "remote/WebRemote.h"
#include "settings/GigmoraConfig.h"
#include "support/LibraryHelpers.h"
#include "support/OffscreenApplication.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>
#include <QThread>
#include <QWebSocket>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <vector>

using namespace helpers;
using Clock = std::chrono::steady_clock;

namespace {
constexpr int kSteps = 300;

// The open pages, living in their own thread: each notes when it read the awaited row.
class Pages : public QObject {
public:
    void open(int count, quint16 port, const QByteArray& cookie) {
        for (int i = 0; i < count; ++i) {
            auto* page = new QWebSocket(QString("http://127.0.0.1:%1").arg(port),
                                        QWebSocketProtocol::VersionLatest, this);
            QNetworkRequest request(QUrl(QString("ws://127.0.0.1:%1/ws").arg(port)));
            request.setRawHeader("Cookie", cookie);
            connect(page, &QWebSocket::connected, this, [this] { ++connected; });
            connect(page, &QWebSocket::textMessageReceived, this, [this](const QString& text) {
                const int row = QJsonDocument::fromJson(text.toUtf8())["current"].toInt();
                if (row != awaited.load()) return;
                const Clock::time_point now = Clock::now();
                std::lock_guard lock(mutex);
                last = std::max(last, now);
                ++arrived;
            });
            page->open(request);
        }
    }
    std::atomic<int> connected{0}, arrived{0}, awaited{-1};
    std::mutex mutex;
    Clock::time_point last{};
};

QByteArray login(quint16 port, const QString& pin) {
    QTcpSocket s;
    s.connectToHost(QHostAddress::LocalHost, port);
    s.waitForConnected(2000);
    s.write("GET /?pin=" + pin.toLatin1() + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    QByteArray got;
    waitUntil([&] {
        got += s.readAll();
        return got.contains("\r\n\r\n");
    });
    const qsizetype at = got.indexOf("Set-Cookie: ");
    return got.mid(at + 12).split(';').first();
}

void run(AppDelegate& app, int pageCount) {
    const quint16 port = app.remotes()->webRemote()->port();
    QThread thread;
    Pages pages;
    pages.moveToThread(&thread);
    thread.start();
    const QByteArray cookie = login(port, "2468");
    // A few at a time, as browsers open them: a burst from one address beyond 16 connections
    // that are not pages yet is refused.
    for (int opened = 0; opened < pageCount; opened += 8) {
        const int batch = std::min(8, pageCount - opened);
        QMetaObject::invokeMethod(&pages, [&, batch] { pages.open(batch, port, cookie); });
        waitUntil([&] { return pages.connected.load() == opened + batch; }, 10000);
    }
    ArrayController* order = app.currentSetlistArrayController();
    std::vector<double> ms;
    for (int i = 0; i < kSteps; ++i) {
        const int from = int(order->selectionIndexes().first());
        if (from >= int(order->arrangedObjects().size()) - 1) {
            pages.awaited = 0;
            pages.arrived = 0;
            order->setSelectionIndex(0);
            waitUntil([&] { return pages.arrived.load() == pageCount; });
            continue;
        }
        pages.awaited = from + 1;
        pages.arrived = 0;
        const Clock::time_point t0 = Clock::now();
        app.recall()->runMyScriptInController();
        if (!waitUntil([&] { return pages.arrived.load() == pageCount; }, 5000)) {
            std::printf("an update reached %d of %d pages\n", pages.arrived.load(), pageCount);
            break;
        }
        std::lock_guard lock(pages.mutex);
        ms.push_back(std::chrono::duration<double, std::milli>(pages.last - t0).count());
        pages.last = {};
    }
    std::sort(ms.begin(), ms.end());
    if (!ms.empty())
        std::printf(
            "trigger -> page update, %2d page(s): median %6.2f ms, p99 %6.2f ms, max %6.2f ms\n",
            pageCount, ms[ms.size() / 2], ms[ms.size() * 99 / 100], ms.back());
    QMetaObject::invokeMethod(
        &pages,
        [&] {
            for (QWebSocket* page : pages.findChildren<QWebSocket*>())
                delete page;
        },
        Qt::BlockingQueuedConnection);
    thread.quit();
    thread.wait();
}
} // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    OffscreenApplication offscreen(argc, argv);
    AppDelegate& app = offscreen.app();
    ObjectContext& c = *app.managedObjectContext();
    ManagedObject* gig = addSetlist(c, "Gig");
    for (int i = 0; i < 40; ++i)
        gig->mutableOrderedSetValueForKey("song").addObject(
            addSong(c, QString("Song %1").arg(i), QString("/music/Song %1.logicx").arg(i), i + 1));
    ArrayController* setlists = app.allSetlistsArrayController();
    setlists->setSelectionIndex(setlists->arrangedObjects().indexOf(gig));
    app.currentSetlistArrayController()->setSelectionIndex(0);
    GigmoraConfig::setRemote({true, 0, "2468", "127.0.0.1"});
    app.remotes()->applyWebSettings();
    processEvents();
    run(app, 1);
    run(app, 50);
    return 0;
}
