#include "support/LibraryHelpers.h"

#include "library/LibraryStack.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "platform/MainQueue.h"
#include "support/ScriptedAlerts.h"
#include "support/TempHome.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>
#include <QThread>
#include <memory>

namespace helpers {
QString storeFolder() {
    return LibraryStack::applicationDocumentsDirectory();
}
QString storePath() {
    return QDir(storeFolder()).filePath(LibraryStack::storeFileName());
}

QByteArray readFile(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile f(path);
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate)) f.write(bytes);
}

QString project(const QString& name, bool folder) {
    const QString path = TempHome::home() + "/music/" + name;
    if (folder)
        QDir().mkpath(path);
    else
        writeFile(path, "not a project");
    return path;
}

ManagedObject* addSong(ObjectContext& c, const QString& title, const QString& path, int number) {
    ManagedObject* s = c.insertNewObject("Song");
    s->setValue("title", title);
    if (!path.isNull()) s->setValue("path", path);
    if (number >= 0) s->setValue("midiIn", number);
    return s;
}

ManagedObject* addSetlist(ObjectContext& c, const QString& name) {
    ManagedObject* s = c.insertNewObject("Setlist");
    s->setValue("name", name);
    return s;
}

void saveSetlist(const QString& name, const QStringList& paths) {
    ScriptedAlerts alerts;
    LibraryStack stack(&alerts);
    ObjectContext& c = *stack.managedObjectContext();
    ManagedObject* setlist = addSetlist(c, name);
    for (const QString& path : paths)
        setlist->mutableOrderedSetValueForKey("song").addObject(
            addSong(c, QFileInfo(path).completeBaseName(), path, 1));
    stack.saveAction();
}

GigmoraConfig::Daw useSessionManager() {
    GigmoraConfig::Daw daw;
    daw.control = GigmoraConfig::Daw::Control::SessionManager;
    GigmoraConfig::setDaw(daw);
    return daw;
}

Printed runCommand(int (*command)(const QStringList&, QTextStream&, QTextStream&),
                   const QStringList& args) {
    Printed p{};
    QTextStream out(&p.out), err(&p.err);
    p.code = command(args, out, err);
    out.flush();
    err.flush();
    return p;
}

bool waitUntil(const std::function<bool()>& done, int timeoutMs) {
    QDeadlineTimer deadline(timeoutMs);
    while (!done()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return true;
}

bool waitForMainQueue(double delaySeconds, int timeoutMs) {
    auto ran = std::make_shared<bool>(false);
    MainQueue::after(delaySeconds, [ran] { *ran = true; });
    return waitUntil([&] { return *ran; }, timeoutMs + int(delaySeconds * 1000));
}

void processEvents() {
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
}
} // namespace helpers
