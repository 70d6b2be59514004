#include "library/ObjectContext.h"

#include "platform/EditingRegistry.h"

#include "library/EntityDescription.h"
#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/MidiMessage.h"
#include "library/OrderedRelation.h"
#include "library/PersistentStore.h"
#include "library/Setlist.h"
#include "library/Song.h"
#include "platform/Error.h"
#include "platform/MainQueue.h"
#include "platform/UnknownKeyError.h"

#include <QPointer>

ObjectContext::ObjectContext(const ManagedObjectModel& model, PersistentStore* store,
                             QObject* parent)
    : QObject(parent), model_(model), store_(store) {
    if (store_) store_->loadInto(*this);
}

ObjectContext::~ObjectContext() = default;

std::unique_ptr<ManagedObject> ObjectContext::makeObject(const EntityDescription* entity,
                                                         ObjectContext* context) {
    if (entity->name() == QLatin1String("Song")) return std::make_unique<Song>(entity, context);
    if (entity->name() == QLatin1String("Setlist"))
        return std::make_unique<Setlist>(entity, context);
    if (entity->name() == QLatin1String("MidiMessage"))
        return std::make_unique<MidiMessage>(entity, context);
    return std::make_unique<ManagedObject>(entity, context);
}

ManagedObject* ObjectContext::adopt(std::unique_ptr<ManagedObject> object, quint64 number) {
    object->number_ = number;
    ManagedObject* raw = object.get();
    arena_.push_back(std::move(object));
    byNumber_.insert(number, raw);
    return raw;
}

void ObjectContext::registerObject(ManagedObject* object) {
    registered_[&object->entity()].append(object);
}

void ObjectContext::unregisterObject(ManagedObject* object) {
    registered_[&object->entity()].removeOne(object);
}

void ObjectContext::setDeleted(ManagedObject* object, bool deleted) {
    if (object->deleted_ == deleted) return;
    object->deleted_ = deleted;
    // Records that point at it leave it out of the store while it is deleted.
    object->invalidateStoreRendering();
    for (const auto& relation : object->relations_) {
        if (relation.one) relation.one->invalidateStoreRendering();
        for (const ManagedObject* other : relation.many)
            other->invalidateStoreRendering();
    }
    if (deleted)
        unregisterObject(object);
    else
        registerObject(object);
    noteChange([this, object, deleted] { setDeleted(object, !deleted); });
}

ManagedObject* ObjectContext::insertNewObject(const QString& entityName) {
    const EntityDescription* entity = model_.entity(entityName);
    if (!entity)
        throw UnknownKeyError(
            ("+entityForName: could not locate an entity named '" + entityName + "' in this model.")
                .toStdString());
    const quint64 number = store_ ? store_->nextObjectNumber() : ++localNumbers_;
    ManagedObject* object = adopt(makeObject(entity, this), number);
    object->deleted_ = true; // so that setDeleted registers it and records the undo
    setDeleted(object, false);
    object->awakeFromInsert();
    return object;
}

void ObjectContext::deleteObject(ManagedObject* object) {
    if (!object || object->deleted_ || object->context_ != this) return;
    const auto& rels = object->entity().relationships();
    for (size_t r = 0; r < rels.size(); ++r) {
        const int ri = static_cast<int>(r);
        if (rels[r].toMany) {
            auto relation = object->mutableOrderedSetValueForKey(rels[r].name);
            while (relation.count() > 0) {
                ManagedObject* target = relation.objectAtIndex(relation.count() - 1);
                relation.removeObjectAtIndex(relation.count() - 1);
                if (rels[r].deleteRule == DeleteRule::Cascade) deleteObject(target);
            }
        } else if (ManagedObject* target = object->toOneAt(ri)) {
            object->setToOne(ri, nullptr);
            if (rels[r].deleteRule == DeleteRule::Cascade) deleteObject(target);
        }
    }
    setDeleted(object, true);
}

const QList<ManagedObject*>& ObjectContext::registeredObjects(const EntityDescription* e) const {
    static const QList<ManagedObject*> none;
    auto it = registered_.constFind(e);
    return it == registered_.constEnd() ? none : *it;
}

QList<ManagedObject*> ObjectContext::executeFetchRequest(const FetchRequest& request) const {
    const EntityDescription* entity = model_.entity(request.entityName);
    if (!entity) return {};
    const auto& all = registeredObjects(entity);
    QList<ManagedObject*> out;
    if (request.predicate.isNull()) {
        out = all;
    } else {
        for (auto* o : all)
            if (request.predicate.evaluate(*o)) out.append(o);
    }
    if (request.fetchLimit == 1 && !request.sortDescriptors.isEmpty() && out.size() > 1) {
        // The first in sorted order is one pass away; the sort is stable, so ties keep the
        // earliest record.
        ManagedObject* best = out.first();
        for (ManagedObject* o : out)
            if (compareBySortDescriptors(*o, *best, request.sortDescriptors) < 0) best = o;
        return {best};
    }
    sortBySortDescriptors(out, request.sortDescriptors);
    if (request.fetchLimit > 0 && out.size() > request.fetchLimit) out.resize(request.fetchLimit);
    return out;
}

void ObjectContext::noteChange(UndoManager::Action inverse) {
    ++generation_;
    hasChanges_ = true;
    undo_.registerUndo(std::move(inverse));
    if (!notifyQueued_) {
        notifyQueued_ = true;
        MainQueue::async([self = QPointer<ObjectContext>(this)] {
            if (!self) return;
            self->notifyQueued_ = false;
            emit self->objectsDidChange();
        });
    }
}

bool ObjectContext::commitEditing() {
    return EditingRegistry::commitAll();
}

bool ObjectContext::save(Error* error) {
    if (!store_) {
        if (error)
            *error = Error{"NSCocoaErrorDomain", 134060, "The library has no store to save to.",
                           "The store could not be opened.", nullptr};
        return false;
    }
    if (!hasChanges_) return true; // nothing to write, as the platform's save does
    if (!store_->save(*this, error)) return false;
    hasChanges_ = false;
    return true;
}

QUrl ObjectContext::URIRepresentation(const ManagedObject* object) const {
    const QString uuid = store_ ? store_->uuid() : QStringLiteral("memory");
    return QUrl(QStringLiteral("x-coredata://%1/%2/p%3")
                    .arg(uuid, object->entity().name())
                    .arg(object->objectNumber()));
}

ManagedObject* ObjectContext::objectWithURI(const QUrl& uri) const {
    const QString uuid = store_ ? store_->uuid() : QStringLiteral("memory");
    if (uri.scheme() != QLatin1String("x-coredata") ||
        uri.host(QUrl::FullyDecoded).compare(uuid, Qt::CaseInsensitive) != 0)
        return nullptr;
    const QStringList parts = uri.path().split('/', Qt::SkipEmptyParts);
    if (parts.size() != 2 || !parts[1].startsWith('p')) return nullptr;
    bool ok = false;
    const quint64 number = parts[1].mid(1).toULongLong(&ok);
    if (!ok) return nullptr;
    ManagedObject* o = byNumber_.value(number);
    if (!o || o->entity().name() != parts[0]) return nullptr;
    return o;
}
