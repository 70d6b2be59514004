#include "library/ManagedObject.h"

#include "library/EntityDescription.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "platform/Guard.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"
#include "platform/UnknownKeyError.h"

#include <QDateTime>

ManagedObject::ManagedObject(const EntityDescription* entity, ObjectContext* context)
    : entity_(entity), context_(context), values_(entity->attributes().size()),
      relations_(entity->relationships().size()) {}

namespace {
UnknownKeyError unknownKeyError(const EntityDescription& e, const QString& key) {
    return UnknownKeyError(QStringLiteral("[<%1> setValue:forUndefinedKey:]: this class is not key "
                                          "value coding-compliant for the key %2.")
                               .arg(e.name(), key)
                               .toStdString());
}
[[noreturn]] void unknownKey(const EntityDescription& e, const QString& key) {
    throw unknownKeyError(e, key);
}
} // namespace

QVariant ManagedObject::value(const QString& key) const {
    if (int a = entity_->attributeIndex(key); a >= 0) return values_[a];
    int r = entity_->relationshipIndex(key);
    if (r < 0) unknownKey(*entity_, key);
    if (!entity_->relationships()[r].toMany)
        return relations_[r].one ? QVariant::fromValue(relations_[r].one) : QVariant();
    QVariantList list;
    list.reserve(relations_[r].many.size());
    for (auto* o : relations_[r].many)
        list.append(QVariant::fromValue(o));
    return list;
}

qint64 ManagedObject::integerValue(const QString& key) const {
    return value(key).toLongLong();
}
QString ManagedObject::stringValue(const QString& key) const {
    return value(key).toString();
}

QVariant ManagedObject::coerce(int index, const QVariant& v) const {
    if (!v.isValid() || v.isNull()) return {};
    switch (entity_->attributes()[index].type) {
    case AttributeType::Integer16:
    case AttributeType::Integer32:
    case AttributeType::Integer64:
        return v.typeId() == QMetaType::QString ? QVariant(v.toString().toLongLong())
                                                : QVariant(v.toLongLong());
    case AttributeType::Boolean:
        return QVariant(v.typeId() == QMetaType::Bool ? v.toBool() : v.toLongLong() != 0);
    case AttributeType::Float:
    case AttributeType::Double:
        return QVariant(v.toDouble());
    case AttributeType::String:
        return QVariant(v.toString());
    case AttributeType::Date:
        return v.typeId() == QMetaType::QDateTime ? v : QVariant();
    }
    return {};
}

bool ManagedObject::setValueIfKey(const QString& key, const QVariant& v) {
    if (entity_->attributeIndex(key) < 0 && entity_->relationshipIndex(key) < 0) {
        endOperation(unknownKeyError(*entity_, key));
        return false;
    }
    setValue(key, v);
    return true;
}

void ManagedObject::setValue(const QString& key, const QVariant& v) {
    if (int a = entity_->attributeIndex(key); a >= 0) {
        changeAttribute(a, coerce(a, v));
        return;
    }
    int r = entity_->relationshipIndex(key);
    if (r < 0) unknownKey(*entity_, key);
    if (entity_->relationships()[r].toMany) {
        // Replacing a whole to-many: empty it, then add the new elements in order.
        auto rel = mutableOrderedSetValueForKey(key);
        while (rel.count() > 0)
            rel.removeObjectAtIndex(rel.count() - 1);
        for (const auto& e : v.toList())
            if (auto* o = e.value<ManagedObject*>()) rel.addObject(o);
        return;
    }
    setToOne(r, v.value<ManagedObject*>());
}

ManagedObject* ManagedObject::relatedObject(const QString& key) const {
    int r = entity_->relationshipIndex(key);
    if (r < 0 || entity_->relationships()[r].toMany) unknownKey(*entity_, key);
    return relations_[r].one;
}

const QList<ManagedObject*>& ManagedObject::orderedObjects(const QString& key) const {
    int r = entity_->relationshipIndex(key);
    if (r < 0 || !entity_->relationships()[r].toMany) unknownKey(*entity_, key);
    return relations_[r].many;
}

OrderedRelation ManagedObject::mutableOrderedSetValueForKey(const QString& key) {
    int r = entity_->relationshipIndex(key);
    if (r < 0 || !entity_->relationships()[r].toMany) unknownKey(*entity_, key);
    return OrderedRelation(this, r);
}

void ManagedObject::setPrimitiveAttribute(int index, QVariant value) {
    values_[index] = coerce(index, value);
    rendered_.clear();
}

void ManagedObject::changeAttribute(int index, QVariant value) {
    if (values_[index] == value && values_[index].isValid() == value.isValid()) return;
    QVariant old = std::exchange(values_[index], std::move(value));
    rendered_.clear();
    if (context_) context_->noteChange([this, index, old] { changeAttribute(index, old); });
}

void ManagedObject::changeToOne(int rel, ManagedObject* target) {
    ManagedObject* old = std::exchange(relations_[rel].one, target);
    rendered_.clear();
    if (context_ && old != target)
        context_->noteChange([this, rel, old] { changeToOne(rel, old); });
}

void ManagedObject::insertToMany(int rel, ManagedObject* target, qsizetype index) {
    relations_[rel].many.insert(index, target);
    rendered_.clear();
    if (context_) context_->noteChange([this, rel, index] { removeToManyAt(rel, index); });
}

void ManagedObject::removeToManyAt(int rel, qsizetype index) {
    ManagedObject* old = relations_[rel].many.takeAt(index);
    rendered_.clear();
    if (context_) context_->noteChange([this, rel, old, index] { insertToMany(rel, old, index); });
}

void ManagedObject::detachFromInverse(int rel, ManagedObject* target) {
    const auto& d = entity_->relationships()[rel];
    int inv = target->entity_->relationshipIndex(d.inverse);
    if (inv < 0) return;
    if (target->entity_->relationships()[inv].toMany) {
        qsizetype i = target->relations_[inv].many.indexOf(this);
        if (i >= 0) target->removeToManyAt(inv, i);
    } else if (target->relations_[inv].one == this) {
        target->changeToOne(inv, nullptr);
    }
}

void ManagedObject::attachToInverse(int rel, ManagedObject* target) {
    const auto& d = entity_->relationships()[rel];
    int inv = target->entity_->relationshipIndex(d.inverse);
    if (inv < 0) return;
    if (target->entity_->relationships()[inv].toMany) {
        if (!target->relations_[inv].many.contains(this))
            target->insertToMany(inv, this, target->relations_[inv].many.size());
    } else {
        if (ManagedObject* prev = target->relations_[inv].one; prev && prev != this)
            prev->changeToOne(rel, nullptr);
        target->changeToOne(inv, this);
    }
}

void ManagedObject::setToOne(int rel, ManagedObject* target) {
    ManagedObject* old = relations_[rel].one;
    if (old == target) return;
    // Detached records keep what they are given; the graph rules apply inside a context.
    if (!context_) {
        relations_[rel].one = target;
        rendered_.clear();
        return;
    }
    if (old) detachFromInverse(rel, old);
    changeToOne(rel, target);
    if (target) attachToInverse(rel, target);
}

QStringList ManagedObject::archiveClassNames() const {
    return {entity_->name(), QStringLiteral("NSManagedObject"), QStringLiteral("NSObject")};
}

void ManagedObject::encodeWithCoder(KeyedArchiver& coder) const {
    const auto& attrs = entity_->attributes();
    for (size_t i = 0; i < attrs.size(); ++i)
        coder.encodeObject(values_[i], attrs[i].name);
}

void ManagedObject::decodeAttributes(KeyedUnarchiver& coder) {
    const auto& attrs = entity_->attributes();
    for (size_t i = 0; i < attrs.size(); ++i)
        setValue(attrs[i].name, coder.decodeObject(attrs[i].name));
}

void ManagedObject::encodeOrderedRelation(KeyedArchiver& coder, const QString& key) const {
    const QList<ManagedObject*>& related = orderedObjects(key);
    coder.encodeOrderedSet(QList<const KeyedCoding*>(related.begin(), related.end()), key);
}
