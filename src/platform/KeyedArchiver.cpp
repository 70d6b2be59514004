#include "platform/KeyedArchiver.h"

#include "platform/IndexSet.h"
#include "platform/KeyedCoding.h"
#include "platform/PlistNode.h"
#include "platform/ReferenceDate.h"

#include <QDateTime>
#include <QHash>
#include <QUrl>
#include <vector>

namespace {

plist_t integerNode(qint64 v) {
    return plist_new_uint(static_cast<uint64_t>(v));
}
} // namespace

struct KeyedArchiver::State {
    std::vector<PlistNode> objects;
    PlistNode top{plist_new_dict()};
    plist_t current = nullptr; // dictionary being filled: top or a record
    QHash<const void*, uint64_t> records;
    QHash<const void*, uint64_t> lists; // by their shared data: one list, one object
    QHash<QString, uint64_t> strings;
    QHash<QString, uint64_t> classes;

    State() {
        objects.emplace_back(plist_new_string("$null"));
        current = top.get();
    }
    uint64_t add(plist_t node) {
        objects.emplace_back(node);
        return objects.size() - 1;
    }
    uint64_t classUid(const QStringList& names) {
        const QString key = names.join(',');
        if (auto it = classes.constFind(key); it != classes.constEnd()) return *it;
        plist_t dict = plist_new_dict();
        plist_t list = plist_new_array();
        for (const auto& n : names)
            plist_array_append_item(list, plist_new_string(n.toUtf8().constData()));
        plist_dict_set_item(dict, "$classes", list);
        plist_dict_set_item(dict, "$classname",
                            plist_new_string(names.first().toUtf8().constData()));
        return classes[key] = add(dict);
    }
    plist_t classedDict(const QStringList& names) {
        plist_t dict = plist_new_dict();
        plist_dict_set_item(dict, "$class", plist_new_uid(classUid(names)));
        return dict;
    }
    uint64_t encodeValue(const QVariant& v);
    uint64_t encodeRecord(const KeyedCoding* record, KeyedArchiver& coder);
    void set(const QString& key, plist_t node) {
        plist_dict_set_item(current, key.toUtf8().constData(), node);
    }
};

uint64_t KeyedArchiver::State::encodeValue(const QVariant& v) {
    if (!v.isValid() || v.isNull()) return 0;
    switch (v.typeId()) {
    case QMetaType::Bool:
        return add(plist_new_bool(v.toBool()));
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Long:
    case QMetaType::ULong:
        return add(integerNode(v.toLongLong()));
    case QMetaType::Float:
    case QMetaType::Double:
        return add(plist_new_real(v.toDouble()));
    case QMetaType::QString: {
        const QString s = v.toString();
        if (auto it = strings.constFind(s); it != strings.constEnd()) return *it;
        return strings[s] = add(plist_new_string(s.toUtf8().constData()));
    }
    case QMetaType::QDateTime: {
        plist_t dict = classedDict({"NSDate", "NSObject"});
        const double secs = referenceDate().msecsTo(v.toDateTime()) / 1000.0;
        plist_dict_set_item(dict, "NS.time", plist_new_real(secs));
        return add(dict);
    }
    case QMetaType::QUrl: {
        plist_t dict = classedDict({"NSURL", "NSObject"});
        const uint64_t uid = add(dict);
        plist_dict_set_item(dict, "NS.base", plist_new_uid(0));
        const uint64_t rel = encodeValue(v.toUrl().toString());
        plist_dict_set_item(dict, "NS.relative", plist_new_uid(rel));
        return uid;
    }
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        // A list held in many places is archived once and referred to, as the platform
        // archives an object once: re-expanding shared lists can grow without bound.
        const void* identity =
            v.typeId() == QMetaType::QVariantList
                ? static_cast<const void*>(
                      static_cast<const QVariantList*>(v.constData())->constData())
                : static_cast<const void*>(
                      static_cast<const QStringList*>(v.constData())->constData());
        if (identity)
            if (auto it = lists.constFind(identity); it != lists.constEnd()) return *it;
        plist_t dict = classedDict({"NSArray", "NSObject"});
        const uint64_t uid = add(dict);
        if (identity) lists.insert(identity, uid);
        plist_t list = plist_new_array();
        const QVariantList elements = v.toList();
        for (const auto& e : elements)
            plist_array_append_item(list, plist_new_uid(encodeValue(e)));
        plist_dict_set_item(dict, "NS.objects", list);
        return uid;
    }
    default:
        break;
    }
    if (v.canConvert<IndexSet>()) {
        const auto set = v.value<IndexSet>();
        plist_t dict = classedDict({"NSIndexSet", "NSObject"});
        plist_dict_set_item(dict, "NSRangeCount", integerNode(set.count()));
        plist_t list = plist_new_array();
        for (auto i : set.indexes())
            plist_array_append_item(list, integerNode(i));
        plist_dict_set_item(dict, "NSIndexes", list);
        return add(dict);
    }
    // Anything else has no archived form; write it as absent rather than guess.
    return 0;
}

uint64_t KeyedArchiver::State::encodeRecord(const KeyedCoding* record, KeyedArchiver& coder) {
    if (!record) return 0;
    if (auto it = records.constFind(record); it != records.constEnd())
        return *it; // cycles and shared records are written once
    plist_t dict = classedDict(record->archiveClassNames());
    const uint64_t uid = add(dict);
    records.insert(record, uid);
    plist_t saved = current;
    current = dict;
    record->encodeWithCoder(coder);
    current = saved;
    return uid;
}

KeyedArchiver::KeyedArchiver() : d(std::make_unique<State>()) {}
KeyedArchiver::~KeyedArchiver() = default;

void KeyedArchiver::encodeObject(const QVariant& value, const QString& key) {
    d->set(key, plist_new_uid(d->encodeValue(value)));
}

void KeyedArchiver::encodeObject(const KeyedCoding* record, const QString& key) {
    d->set(key, plist_new_uid(d->encodeRecord(record, *this)));
}

void KeyedArchiver::encodeOrderedSet(const QList<const KeyedCoding*>& records, const QString& key) {
    plist_t dict = d->classedDict({"NSOrderedSet", "NSObject"});
    const uint64_t uid = d->add(dict);
    plist_t list = plist_new_array();
    plist_dict_set_item(dict, "NS.objects", list);
    for (const auto* r : records)
        plist_array_append_item(list, plist_new_uid(d->encodeRecord(r, *this)));
    d->set(key, plist_new_uid(uid));
}

void KeyedArchiver::encodeFloat(float value, const QString& key) {
    d->set(key, plist_new_real(value));
}
void KeyedArchiver::encodeInt32(qint32 value, const QString& key) {
    d->set(key, integerNode(value));
}
void KeyedArchiver::encodeBool(bool value, const QString& key) {
    d->set(key, plist_new_bool(value));
}

QByteArray KeyedArchiver::encodedData() {
    PlistNode root(plist_new_dict());
    plist_dict_set_item(root.get(), "$archiver", plist_new_string("NSKeyedArchiver"));
    plist_dict_set_item(root.get(), "$version", plist_new_uint(100000));
    plist_dict_set_item(root.get(), "$top", plist_copy(d->top.get()));
    plist_t objects = plist_new_array();
    for (const auto& o : d->objects)
        plist_array_append_item(objects, plist_copy(o.get()));
    plist_dict_set_item(root.get(), "$objects", objects);
    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(root.get(), &bytes, &length);
    QByteArray out(bytes, static_cast<qsizetype>(length));
    plist_to_bin_free(bytes);
    return out;
}

QByteArray KeyedArchiver::archivedDataWithRootObject(const QVariant& root) {
    KeyedArchiver a;
    a.encodeObject(root, "root");
    return a.encodedData();
}

QByteArray KeyedArchiver::archivedDataWithRootObject(const KeyedCoding* root) {
    KeyedArchiver a;
    a.encodeObject(root, "root");
    return a.encodedData();
}
