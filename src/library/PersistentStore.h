#pragma once

#include <QString>
#include <memory>
#include <vector>

class ManagedObjectModel;
class ObjectContext;
struct Error;
struct StoredObject;

// The library's XML store file: read whole when opened, written whole and atomically on save.
// A file that cannot be read is never written over: open() fails and leaves it as it is.
class PersistentStore {
public:
    ~PersistentStore();
    // A missing file opens as an empty store (the file appears with the first save).
    static std::unique_ptr<PersistentStore> open(const ManagedObjectModel& model,
                                                 const QString& path, Error* error);

    const QString& path() const { return path_; }
    const QString& uuid() const { return uuid_; }
    quint64 nextObjectNumber() { return ++lastObjectNumber_; }
    quint64 lastObjectNumber() const { return lastObjectNumber_; }

    // Fills a fresh context with the objects read at open; they are not kept here after.
    void loadInto(ObjectContext& context);
    bool save(const ObjectContext& context, Error* error);

private:
    friend class XmlStoreReader;
    friend class XmlStoreWriter;
    PersistentStore(const ManagedObjectModel& model, QString path);

    const ManagedObjectModel& model_;
    QString path_;
    QString uuid_;
    quint64 lastObjectNumber_ = 0;
    std::vector<StoredObject> loaded_;
};
