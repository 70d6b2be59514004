#include "support/EditFixture.h"

#include "app/MainWindow.h"
#include "library/ArrayController.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "midi/backends/none/NullMidiServices.h"
#include "platform/TableView.h"
#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QDropEvent>
#include <QFileInfo>
#include <QTest>

using namespace helpers;

void EditFixture::SetUp() {
    TempHome::clear();
    Alerts::setShared(&alerts);
    OpenPanel::setShared(&panel);
    app = std::make_unique<AppDelegate>(std::make_unique<NullMidiServices>());
}

void EditFixture::TearDown() {
    app.reset();
    OpenPanel::setShared(nullptr);
    Alerts::setShared(nullptr);
}

void EditFixture::launch() {
    app->applicationDidFinishLaunching();
    app->window()->show();
    processEvents();
}

QString EditFixture::session(const QString& name, int seconds) {
    const QString folder = TempHome::home() + "/sessions/" + name;
    QDir().mkpath(folder);
    // Ardour 7 writes times in superclocks, 282,240,000 a second.
    writeFile(folder + "/" + name + ".ardour",
              seconds ? QString("<Session sample-rate=\"48000\"><Locations><Location start=\"a0\" "
                                "end=\"a%1\" flags=\"IsSessionRange\"/></Locations></Session>")
                            .arg(qint64(seconds) * 282240000)
                            .toUtf8()
                      : "<Session sample-rate=\"48000\"/>");
    return folder;
}

QList<ManagedObject*> EditFixture::addSongs(const QStringList& names) {
    QList<ManagedObject*> songs;
    int n = 1;
    for (const QString& name : names)
        songs << addSong(context(), QFileInfo(name).completeBaseName(), project(name), n++);
    return songs;
}

ManagedObject* EditFixture::currentSetlist() {
    const auto selected = app->allSetlistsArrayController()->selectedObjects();
    return selected.isEmpty() ? nullptr : selected.first();
}

QList<ManagedObject*> EditFixture::setlistSongs() {
    ManagedObject* s = currentSetlist();
    return s ? s->orderedObjects("song") : QList<ManagedObject*>();
}

QPoint EditFixture::rowPoint(TableView* table, qsizetype row, double fraction) {
    if (row >= table->numberOfRows()) {
        const qsizetype last = table->numberOfRows() - 1;
        const int y = last >= 0 ? table->rectOfRow(last).bottom() + 20 : 20;
        return {30, y};
    }
    const QRect r = table->rectOfRow(row);
    return {30, r.top() + int(r.height() * fraction)};
}

bool EditFixture::dropFilesAt(TableView* table, const QStringList& files, QPoint at) {
    QMimeData data;
    QList<QUrl> urls;
    for (const QString& f : files)
        urls << QUrl::fromLocalFile(f);
    data.setUrls(urls);
    QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(table->viewport(), &enter);
    QDragMoveEvent move(at, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(table->viewport(), &move);
    if (!move.isAccepted()) return false;
    QDropEvent drop(at, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(table->viewport(), &drop);
    processEvents();
    return drop.isAccepted();
}

QList<ManagedObject*> EditFixture::gig(const QStringList& names, bool neighbours) {
    const auto songs = addSongs(names);
    if (neighbours) addSetlist(context(), "Fri");
    ManagedObject* setlist = addSetlist(context(), "Gig");
    if (neighbours) addSetlist(context(), "Sat");
    for (ManagedObject* s : songs)
        setlist->mutableOrderedSetValueForKey("song").addObject(s);
    launch();
    ArrayController* all = app->allSetlistsArrayController();
    all->setSelectionIndex(all->arrangedObjects().indexOf(setlist));
    processEvents();
    return songs;
}

void EditFixture::choose(int segment) {
    QTest::mouseClick(app->window()->topButtons()->segmentButton(segment), Qt::LeftButton);
    processEvents();
}

QAction* EditFixture::command(const QString& text) {
    for (QAction* a : app->window()->findChildren<QAction*>())
        if (a->text() == text) return a;
    return nullptr;
}
