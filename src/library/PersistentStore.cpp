#include "library/PersistentStore.h"

#include "library/EntityDescription.h"
#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/StoredObject.h"
#include "library/XmlStoreReader.h"
#include "library/XmlStoreWriter.h"
#include "platform/Error.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSaveFile>
#include <QUuid>

PersistentStore::PersistentStore(const ManagedObjectModel& model, QString path)
    : model_(model), path_(std::move(path)) {}

PersistentStore::~PersistentStore() = default;

namespace {
Error fileError(const QString& path, const QString& reason, int code) {
    return Error{
        "NSCocoaErrorDomain", code,
        QStringLiteral("The file \"%1\" couldn't be opened.").arg(QFileInfo(path).fileName()),
        reason, nullptr};
}
} // namespace

std::unique_ptr<PersistentStore> PersistentStore::open(const ManagedObjectModel& model,
                                                       const QString& path, Error* error) {
    std::unique_ptr<PersistentStore> store(new PersistentStore(model, path));
    QFileInfo info(path);
    if (!info.exists()) {
        store->uuid_ = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
        return store;
    }
    QFile file(path);
    if (info.isDir() || !file.open(QIODevice::ReadOnly)) {
        if (error) *error = fileError(path, file.errorString(), 256);
        return nullptr;
    }
    const QByteArray bytes = file.readAll();
    if (!XmlStoreReader::read(bytes, *store, error)) return nullptr;
    return store;
}

void PersistentStore::loadInto(ObjectContext& context) {
    QHash<quint64, ManagedObject*> byNumber;
    byNumber.reserve(static_cast<qsizetype>(loaded_.size()));
    for (auto& s : loaded_) {
        ManagedObject* o = context.adopt(ObjectContext::makeObject(s.entity, &context), s.number);
        for (auto& [index, value] : s.attributes)
            o->setPrimitiveAttribute(index, std::move(value));
        context.registerObject(o);
        byNumber.insert(s.number, o);
    }
    // The to-many side gives the order; to-one sides follow it, and a to-one the owner's list
    // forgot is appended there, so the graph in memory is always consistent.
    for (const auto& s : loaded_) {
        ManagedObject* o = byNumber.value(s.number);
        for (const auto& [rel, refs] : s.relationships) {
            const auto& d = s.entity->relationships()[rel];
            if (!d.toMany) continue;
            auto& many = o->relations_[rel].many;
            for (quint64 ref : refs) {
                ManagedObject* t = byNumber.value(ref);
                if (!t || many.contains(t)) continue;
                int inv = t->entity().relationshipIndex(d.inverse);
                if (inv >= 0 && !t->entity().relationships()[inv].toMany) {
                    if (t->relations_[inv].one) continue; // already claimed by an earlier owner
                    t->relations_[inv].one = o;
                }
                many.append(t);
            }
        }
    }
    for (const auto& s : loaded_) {
        ManagedObject* o = byNumber.value(s.number);
        for (const auto& [rel, refs] : s.relationships) {
            const auto& d = s.entity->relationships()[rel];
            if (d.toMany || refs.empty() || o->relations_[rel].one) continue;
            ManagedObject* owner = byNumber.value(refs.front());
            int inv = owner ? owner->entity().relationshipIndex(d.inverse) : -1;
            if (inv < 0 || owner->entity().relationships()[inv].toMany == false) continue;
            o->relations_[rel].one = owner;
            owner->relations_[inv].many.append(o);
        }
    }
    loaded_.clear();
    loaded_.shrink_to_fit();
}

bool PersistentStore::save(const ObjectContext& context, Error* error) {
    QSaveFile file(path_);
    if (!file.open(QIODevice::WriteOnly) || !XmlStoreWriter::write(context, *this, file) ||
        !file.commit()) {
        if (error)
            *error = Error{"NSCocoaErrorDomain", 512,
                           QStringLiteral("The file \"%1\" couldn't be saved.")
                               .arg(QFileInfo(path_).fileName()),
                           file.errorString(), nullptr};
        return false;
    }
    return true;
}
