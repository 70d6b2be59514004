#pragma once

#include <QByteArray>
#include <QString>
#include <functional>

class ManagedObject;
class ObjectContext;

namespace helpers {
QString storeFolder();
QString storePath();
QByteArray readFile(const QString& path);
void writeFile(const QString& path, const QByteArray& bytes);
ManagedObject* addSong(ObjectContext& c, const QString& title, const QString& path, int number);
ManagedObject* addSetlist(ObjectContext& c, const QString& name);
// Runs the event loop until `done` or the timeout; true when done.
bool waitUntil(const std::function<bool()>& done, int timeoutMs = 5000);
void processEvents();
} // namespace helpers
