#include "platform/KeyedUnarchiver.h"

#include "platform/IndexSet.h"
#include "platform/KeyedCoding.h"
#include "platform/PlistNode.h"
#include "platform/ReferenceDate.h"

#include <QDateTime>
#include <QSet>
#include <QUrl>
#include <cmath>
#include <vector>

namespace {
constexpr int kMaxDepth = 64;
constexpr qsizetype kMaxIndexes = 1 << 20;
// Elements read from the archive, over the whole decoding; far above any real settings file
// or drag payload, far below what would stall the start-up.
constexpr qint64 kMaxWork = qint64(1) << 21;

// The items of an array in one walk: libplist looks an index up by walking the list, so
// reading item by item would be quadratic.
std::vector<plist_t> arrayItems(plist_t array, size_t limit) {
    std::vector<plist_t> items;
    if (!array || plist_get_node_type(array) != PLIST_ARRAY) return items;
    items.reserve(std::min<size_t>(plist_array_get_size(array), limit));
    plist_array_iter it = nullptr;
    plist_array_new_iter(array, &it);
    plist_t item = nullptr;
    while (items.size() < limit && (plist_array_next_item(array, it, &item), item))
        items.push_back(item);
    free(it);
    return items;
}

plist_t dictItem(plist_t dict, const char* key) {
    if (!dict || plist_get_node_type(dict) != PLIST_DICT) return nullptr;
    return plist_dict_get_item(dict, key);
}

bool readUid(plist_t node, uint64_t* out) {
    if (!node || plist_get_node_type(node) != PLIST_UID) return false;
    plist_get_uid_val(node, out);
    return true;
}

QString readString(plist_t node) {
    if (!node || plist_get_node_type(node) != PLIST_STRING) return {};
    // Read with its length: libplist's copying reader aborts on a string with a NUL inside.
    uint64_t length = 0;
    const char* s = plist_get_string_ptr(node, &length);
    return s ? QString::fromUtf8(s, qsizetype(length)) : QString();
}

bool readNumber(plist_t node, double* real, qint64* integer, bool* isInteger) {
    if (!node) return false;
    switch (plist_get_node_type(node)) {
    case PLIST_UINT: {
        uint64_t v = 0;
        plist_get_uint_val(node, &v);
        *integer = static_cast<qint64>(v);
        *real = static_cast<double>(*integer);
        *isInteger = true;
        return true;
    }
    case PLIST_REAL:
        plist_get_real_val(node, real);
        *integer = std::isfinite(*real) && std::fabs(*real) < 9e18 ? qint64(*real) : 0;
        *isInteger = false;
        return true;
    case PLIST_BOOLEAN: {
        uint8_t b = 0;
        plist_get_bool_val(node, &b);
        *integer = b ? 1 : 0;
        *real = *integer;
        *isInteger = true;
        return true;
    }
    default:
        return false;
    }
}
} // namespace

struct KeyedUnarchiver::State {
    PlistNode root;
    bool valid = false;
    std::vector<plist_t> objects;
    plist_t current = nullptr;
    QHash<QString, Factory> factories;
    std::vector<std::unique_ptr<KeyedCoding>> owned;
    // Every object decodes once: a shared array referenced from many places costs one walk.
    QHash<uint64_t, QVariant> decoded;
    QSet<uint64_t> inProgress;
    int depth = 0;
    qint64 work = 0;

    // Counts `elements` of work; false once the archive has cost more than any real one does.
    bool spend(qint64 elements) {
        work += elements;
        return work <= kMaxWork;
    }

    plist_t object(uint64_t uid) const { return uid < objects.size() ? objects[uid] : nullptr; }
    QString className(plist_t dict) const {
        uint64_t cls = 0;
        if (!readUid(dictItem(dict, "$class"), &cls)) return {};
        return readString(dictItem(object(cls), "$classname"));
    }
    QVariant decodeUid(uint64_t uid, KeyedUnarchiver& self);
    QVariant decodeDict(uint64_t uid, plist_t node, KeyedUnarchiver& self);
    QVariant decodeList(plist_t dict, KeyedUnarchiver& self) {
        plist_t list = dictItem(dict, "NS.objects");
        if (!list || plist_get_node_type(list) != PLIST_ARRAY) return {};
        if (!spend(plist_array_get_size(list))) return {};
        const std::vector<plist_t> items = arrayItems(list, SIZE_MAX);
        QVariantList out;
        out.reserve(qsizetype(items.size()));
        for (plist_t item : items) {
            uint64_t uid = 0;
            if (readUid(item, &uid)) out.append(decodeUid(uid, self));
        }
        return out;
    }
};

QVariant KeyedUnarchiver::State::decodeUid(uint64_t uid, KeyedUnarchiver& self) {
    if (uid == 0) return {};
    plist_t node = object(uid);
    if (!node) return {};
    switch (plist_get_node_type(node)) {
    case PLIST_STRING:
        return readString(node);
    case PLIST_BOOLEAN: {
        uint8_t b = 0;
        plist_get_bool_val(node, &b);
        return bool(b);
    }
    case PLIST_UINT:
    case PLIST_REAL: {
        double r;
        qint64 i;
        bool isInt;
        readNumber(node, &r, &i, &isInt);
        return isInt ? QVariant(i) : QVariant(r);
    }
    case PLIST_DICT:
        break;
    default:
        return {};
    }
    if (auto it = decoded.constFind(uid); it != decoded.constEnd()) return *it;
    if (depth >= kMaxDepth || inProgress.contains(uid) || !spend(1))
        return {}; // a cycle, a hostile nesting or an archive too costly: treat as absent
    QVariant value = decodeDict(uid, node, self);
    decoded.insert(uid, value);
    return value;
}

QVariant KeyedUnarchiver::State::decodeDict(uint64_t uid, plist_t node, KeyedUnarchiver& self) {
    const QString cls = className(node);
    struct Scope {
        State& s;
        uint64_t uid;
        Scope(State& st, uint64_t u) : s(st), uid(u) {
            ++s.depth;
            s.inProgress.insert(uid);
        }
        ~Scope() {
            --s.depth;
            s.inProgress.remove(uid);
        }
    } scope(*this, uid);

    if (cls == "NSString" || cls == "NSMutableString")
        return readString(dictItem(node, "NS.string"));
    if (cls == "NSDate") {
        double r;
        qint64 i;
        bool isInt;
        if (!readNumber(dictItem(node, "NS.time"), &r, &i, &isInt) || !std::isfinite(r) ||
            std::fabs(r) > 1e14)
            return {};
        return referenceDate().addMSecs(static_cast<qint64>(std::llround(r * 1000.0)));
    }
    if (cls == "NSURL" || cls == "NSMutableURL") {
        uint64_t rel = 0;
        if (!readUid(dictItem(node, "NS.relative"), &rel)) return {};
        const QVariant s = decodeUid(rel, self);
        return s.typeId() == QMetaType::QString ? QVariant(QUrl(s.toString())) : QVariant();
    }
    if (cls == "NSArray" || cls == "NSMutableArray" || cls == "NSOrderedSet" ||
        cls == "NSMutableOrderedSet" || cls == "NSSet" || cls == "NSMutableSet")
        return decodeList(node, self);
    if (cls == "NSIndexSet" || cls == "NSMutableIndexSet") {
        std::vector<qsizetype> indexes;
        plist_t list = dictItem(node, "NSIndexes");
        if (list && plist_get_node_type(list) == PLIST_ARRAY) {
            if (!spend(std::min<qsizetype>(plist_array_get_size(list), kMaxIndexes))) return {};
            const std::vector<plist_t> items = arrayItems(list, kMaxIndexes);
            indexes.reserve(items.size());
            for (plist_t item : items) {
                double r;
                qint64 v;
                bool isInt;
                if (readNumber(item, &r, &v, &isInt) && v >= 0) indexes.push_back(v);
            }
        }
        return QVariant::fromValue(IndexSet::fromIndexes(std::move(indexes)));
    }
    auto f = factories.constFind(cls);
    if (f == factories.constEnd()) return {};
    plist_t saved = current;
    current = node;
    auto record = (*f)(self);
    current = saved;
    if (!record) return {};
    KeyedCoding* raw = record.get();
    owned.push_back(std::move(record));
    return QVariant::fromValue(raw);
}

KeyedUnarchiver::KeyedUnarchiver(const QByteArray& data) : d(std::make_unique<State>()) {
    if (data.size() < 8 || data.size() > (1 << 28) || !data.startsWith("bplist00")) return;
    plist_t root = nullptr;
    plist_from_bin(data.constData(), static_cast<uint32_t>(data.size()), &root);
    d->root.reset(root);
    if (!root || plist_get_node_type(root) != PLIST_DICT) return;
    if (readString(dictItem(root, "$archiver")) != "NSKeyedArchiver") return;
    plist_t objects = dictItem(root, "$objects");
    plist_t top = dictItem(root, "$top");
    if (!objects || plist_get_node_type(objects) != PLIST_ARRAY || !top ||
        plist_get_node_type(top) != PLIST_DICT)
        return;
    d->objects = arrayItems(objects, SIZE_MAX);
    d->valid = true;
    d->current = top;
}

KeyedUnarchiver::~KeyedUnarchiver() = default;

bool KeyedUnarchiver::isValid() const {
    return d->valid;
}

void KeyedUnarchiver::registerClass(const QString& className, Factory factory) {
    d->factories.insert(className, std::move(factory));
}

bool KeyedUnarchiver::containsValue(const QString& key) const {
    return dictItem(d->current, key.toUtf8().constData()) != nullptr;
}

QVariant KeyedUnarchiver::decodeObject(const QString& key) {
    uint64_t uid = 0;
    if (!readUid(dictItem(d->current, key.toUtf8().constData()), &uid)) return {};
    return d->decodeUid(uid, *this);
}

float KeyedUnarchiver::decodeFloat(const QString& key) const {
    double r = 0;
    qint64 i;
    bool isInt;
    if (!readNumber(dictItem(d->current, key.toUtf8().constData()), &r, &i, &isInt)) return 0.0f;
    return static_cast<float>(r);
}

qint32 KeyedUnarchiver::decodeInt32(const QString& key) const {
    double r;
    qint64 i = 0;
    bool isInt;
    if (!readNumber(dictItem(d->current, key.toUtf8().constData()), &r, &i, &isInt)) return 0;
    return static_cast<qint32>(i);
}

bool KeyedUnarchiver::decodeBool(const QString& key) const {
    double r;
    qint64 i = 0;
    bool isInt;
    if (!readNumber(dictItem(d->current, key.toUtf8().constData()), &r, &i, &isInt)) return false;
    return i != 0;
}

void KeyedUnarchiver::finishDecoding() {
    d->current = nullptr;
}

QVariant KeyedUnarchiver::unarchiveObjectWithData(const QByteArray& data) {
    KeyedUnarchiver u(data);
    return u.decodeObject("root");
}
