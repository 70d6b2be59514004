#pragma once

#include "platform/KeyedCoding.h"

#include <QByteArray>
#include <QList>
#include <QMetaType>
#include <QVariant>
#include <vector>

class EntityDescription;
class ObjectContext;
class OrderedRelation;
class KeyedUnarchiver;

// A record of the library: attribute values by key, relationships kept consistent with their
// inverses, every change undoable through its context. A record without a context is a
// detached copy (as decoded from an archive) and changes without bookkeeping.
class ManagedObject : public KeyedCoding {
public:
    ManagedObject(const EntityDescription* entity, ObjectContext* context);
    ~ManagedObject() override = default;
    ManagedObject(const ManagedObject&) = delete;
    ManagedObject& operator=(const ManagedObject&) = delete;

    const EntityDescription& entity() const { return *entity_; }
    ObjectContext* managedObjectContext() const { return context_; }
    quint64 objectNumber() const { return number_; }
    bool isDeleted() const { return deleted_; }

    // Attributes give their value; a to-one gives ManagedObject*, a to-many a QVariantList of
    // them. An unknown key throws UnknownKeyError.
    QVariant value(const QString& key) const;
    // Attributes and to-one relationships; unknown keys throw UnknownKeyError.
    void setValue(const QString& key, const QVariant& value);
    // setValue for a write that may name a key the record lacks: that ends the caller's
    // operation (the unknown-key line is logged) and gives false.
    [[nodiscard]] bool setValueIfKey(const QString& key, const QVariant& value);
    // The integer reading of an attribute: absent reads as 0.
    qint64 integerValue(const QString& key) const;
    QString stringValue(const QString& key) const;

    ManagedObject* relatedObject(const QString& key) const;
    const QList<ManagedObject*>& orderedObjects(const QString& key) const;
    OrderedRelation mutableOrderedSetValueForKey(const QString& key);

    virtual void awakeFromInsert() {}

    QStringList archiveClassNames() const override;
    // All attributes in declared order; records with their own form override this.
    void encodeWithCoder(KeyedArchiver& coder) const override;
    // Sets every attribute of the entity from the archive under its own name.
    void decodeAttributes(KeyedUnarchiver& coder);
    // A to-many relationship into the archive as an ordered set under its own name.
    void encodeOrderedRelation(KeyedArchiver& coder, const QString& key) const;

    // Raw access for the store and the context; no bookkeeping.
    const QVariant& attributeAt(int index) const { return values_[index]; }
    void setPrimitiveAttribute(int index, QVariant value);
    ManagedObject* toOneAt(int rel) const { return relations_[rel].one; }
    const QList<ManagedObject*>& toManyAt(int rel) const { return relations_[rel].many; }

    // The store's rendering of this record, kept until any attribute or relationship changes,
    // so a save of a large library re-renders only what was edited. Empty when stale.
    QByteArray& storeRendering() const { return rendered_; }
    void invalidateStoreRendering() const { rendered_.clear(); }

private:
    friend class ObjectContext;
    friend class OrderedRelation;
    friend class PersistentStore;
    struct Relation {
        ManagedObject* one = nullptr;
        QList<ManagedObject*> many;
    };

    QVariant coerce(int index, const QVariant& value) const;
    // Primitive edits; each registers its inverse with the context's undo manager.
    void changeAttribute(int index, QVariant value);
    void changeToOne(int rel, ManagedObject* target);
    void insertToMany(int rel, ManagedObject* target, qsizetype index);
    void removeToManyAt(int rel, qsizetype index);
    // Relationship edits that keep the inverse side in step.
    void setToOne(int rel, ManagedObject* target);
    void detachFromInverse(int rel, ManagedObject* target);
    void attachToInverse(int rel, ManagedObject* target);

    const EntityDescription* entity_;
    ObjectContext* context_;
    quint64 number_ = 0;
    bool deleted_ = false;
    std::vector<QVariant> values_;
    std::vector<Relation> relations_;
    mutable QByteArray rendered_;
};
Q_DECLARE_METATYPE(ManagedObject*)
