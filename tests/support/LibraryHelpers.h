#pragma once

#include "settings/GigmoraConfig.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <functional>

class ManagedObject;
class ObjectContext;
class QTextStream;

namespace helpers {
QString storeFolder();
QString storePath();
QByteArray readFile(const QString& path);
void writeFile(const QString& path, const QByteArray& bytes);
// A project folder (or, with `folder` false, a plain file) under the temporary home.
QString project(const QString& name, bool folder = true);
ManagedObject* addSong(ObjectContext& c, const QString& title, const QString& path, int number);
ManagedObject* addSetlist(ObjectContext& c, const QString& name);
// Saves a library in the temporary home with one setlist of songs at `paths`, each titled
// after its file ("Opener" for ".../Opener.logicx" or a session folder "Opener").
void saveSetlist(const QString& name, const QStringList& paths);
// Gigmora.conf chooses the session manager with its default DAW; what it wrote.
GigmoraConfig::Daw useSessionManager();
// What a command of the command line (ExportCommand::run, CheckCommand::run) printed.
struct Printed {
    int code;
    QString out, err;
};
Printed runCommand(int (*command)(const QStringList&, QTextStream&, QTextStream&),
                   const QStringList& args);
// Runs the event loop until `done` or the timeout; true when done.
bool waitUntil(const std::function<bool()>& done, int timeoutMs = 5000);
// Runs the event loop until a job queued on the main queue now (after `delaySeconds`, as
// MainQueue::after counts it) has run: every job queued, or timed to join the queue no later,
// has run by then. True when it ran within the timeout.
bool waitForMainQueue(double delaySeconds = 0, int timeoutMs = 5000);
void processEvents();
} // namespace helpers
