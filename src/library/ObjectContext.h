#pragma once

#include "library/FetchRequest.h"
#include "platform/UndoManager.h"

#include <QHash>
#include <QObject>
#include <QUrl>
#include <deque>
#include <memory>

class ManagedObject;
class ManagedObjectModel;
class EntityDescription;
class PersistentStore;
struct Error;

// The one main-thread context of the library: inserts, deletes, fetches, saves, and undo of
// every change grouped per event-loop turn. Records live as long as the context, so a pointer
// to a deleted record stays valid (it reports isDeleted()).
class ObjectContext : public QObject {
    Q_OBJECT
public:
    explicit ObjectContext(const ManagedObjectModel& model, PersistentStore* store = nullptr,
                           QObject* parent = nullptr);
    ~ObjectContext() override;

    const ManagedObjectModel& model() const { return model_; }
    PersistentStore* persistentStoreCoordinator() const { return store_; }

    // Unknown entity names throw UnknownKeyError.
    ManagedObject* insertNewObject(const QString& entityName);
    // Cascades along the model's delete rules and nullifies the inverses.
    void deleteObject(ManagedObject* object);
    QList<ManagedObject*> executeFetchRequest(const FetchRequest& request) const;
    // Live records of one entity in store order.
    const QList<ManagedObject*>& registeredObjects(const EntityDescription* entity) const;

    bool hasChanges() const { return hasChanges_; }
    // Commits the open edits of every view (a title typed and not confirmed yet), so that a
    // save or a quit keeps them.
    bool commitEditing();
    bool save(Error* error = nullptr);
    UndoManager* undoManager() { return &undo_; }
    // Grows with every change; views use it to know their arranged objects are stale.
    quint64 generation() const { return generation_; }

    QUrl URIRepresentation(const ManagedObject* object) const;
    ManagedObject* objectWithURI(const QUrl& uri) const; // nullptr when it does not resolve

    // A new record for one of the model's entities, with the class that belongs to it.
    static std::unique_ptr<ManagedObject> makeObject(const EntityDescription* entity,
                                                     ObjectContext* context);

signals:
    // Once per event-loop turn in which something changed.
    void objectsDidChange();

private:
    friend class ManagedObject;
    friend class PersistentStore;
    void noteChange(UndoManager::Action inverse);
    ManagedObject* adopt(std::unique_ptr<ManagedObject> object, quint64 number);
    void registerObject(ManagedObject* object);
    void unregisterObject(ManagedObject* object);
    void setDeleted(ManagedObject* object, bool deleted);

    const ManagedObjectModel& model_;
    PersistentStore* store_;
    std::deque<std::unique_ptr<ManagedObject>> arena_;
    QHash<const EntityDescription*, QList<ManagedObject*>> registered_;
    QHash<quint64, ManagedObject*> byNumber_;
    quint64 localNumbers_ = 0; // without a store
    UndoManager undo_;
    quint64 generation_ = 0;
    bool hasChanges_ = false;
    bool notifyQueued_ = false;
};
