#include "platform/IndexSet.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"
#include "platform/PlistNode.h"

#include <gtest/gtest.h>

// Hand-built archives of the kind an attacker (or a broken tool) could leave as a settings
// file or a drag payload.
namespace {
class Archive {
public:
    Archive() : objects_(plist_new_array()) {
        plist_array_append_item(objects_, plist_new_string("$null"));
    }
    ~Archive() {
        if (objects_) plist_free(objects_);
    }
    // Adds an object; its UID.
    uint64_t add(plist_t node) {
        plist_array_append_item(objects_, node);
        return plist_array_get_size(objects_) - 1;
    }
    void set(uint64_t uid, plist_t node) { plist_array_set_item(objects_, node, uint32_t(uid)); }
    uint64_t className(const char* name) {
        plist_t cls = plist_new_dict();
        plist_dict_set_item(cls, "$classname", plist_new_string(name));
        return add(cls);
    }
    static plist_t record(uint64_t cls) {
        plist_t d = plist_new_dict();
        plist_dict_set_item(d, "$class", plist_new_uid(cls));
        return d;
    }
    plist_t array(const std::vector<uint64_t>& uids) {
        if (!arrayClass_) arrayClass_ = className("NSArray");
        plist_t d = record(arrayClass_);
        plist_t list = plist_new_array();
        for (uint64_t u : uids)
            plist_array_append_item(list, plist_new_uid(u));
        plist_dict_set_item(d, "NS.objects", list);
        return d;
    }
    QByteArray data(uint64_t rootUid) {
        PlistNode root(plist_new_dict());
        plist_dict_set_item(root.get(), "$archiver", plist_new_string("NSKeyedArchiver"));
        plist_dict_set_item(root.get(), "$version", plist_new_uint(100000));
        plist_t top = plist_new_dict();
        plist_dict_set_item(top, "root", plist_new_uid(rootUid));
        plist_dict_set_item(root.get(), "$top", top);
        plist_dict_set_item(root.get(), "$objects", objects_);
        objects_ = nullptr; // now owned by root
        char* bin = nullptr;
        uint32_t size = 0;
        plist_to_bin(root.get(), &bin, &size);
        QByteArray out(bin, size);
        free(bin);
        return out;
    }

private:
    plist_t objects_;
    uint64_t arrayClass_ = 0;
};

int depthOf(const QVariant& v) {
    int depth = 0;
    for (QVariant cur = v; cur.typeId() == QMetaType::QVariantList && !cur.toList().isEmpty();
         cur = cur.toList().first())
        ++depth;
    return depth;
}
// Writes binary property lists byte by byte: libplist's own writer takes longer over a
// million entries than the decoding under test. Object references are four bytes wide, and
// many references may share one object.
class Bplist {
public:
    uint32_t string(const char* s) {
        const uint32_t ref = begin();
        const uint32_t len = qstrlen(s);
        marker(0x50, len);
        out_.append(s);
        return ref;
    }
    uint32_t integer(uint32_t v) {
        const uint32_t ref = begin();
        out_.append(char(0x12));
        be(v, 4);
        return ref;
    }
    uint32_t uid(uint8_t v) {
        const uint32_t ref = begin();
        out_.append(char(0x80)).append(char(v));
        return ref;
    }
    uint32_t utf16(const QString& s) {
        const uint32_t ref = begin();
        marker(0x60, uint32_t(s.size()));
        for (QChar c : s)
            be(c.unicode(), 2);
        return ref;
    }
    uint32_t array(const std::vector<uint32_t>& refs) {
        const uint32_t ref = begin();
        marker(0xA0, uint32_t(refs.size()));
        for (uint32_t r : refs)
            be(r, 4);
        return ref;
    }
    uint32_t dict(const std::vector<std::pair<uint32_t, uint32_t>>& entries) {
        const uint32_t ref = begin();
        marker(0xD0, uint32_t(entries.size()));
        for (const auto& e : entries)
            be(e.first, 4);
        for (const auto& e : entries)
            be(e.second, 4);
        return ref;
    }
    // A keyed archive: $objects are the given references, $top's root is $objects[1].
    QByteArray keyedArchive(const std::vector<uint32_t>& objects) {
        const uint32_t top = dict({{string("root"), uid(1)}});
        const uint32_t root = dict({{string("$archiver"), string("NSKeyedArchiver")},
                                    {string("$version"), integer(100000)},
                                    {string("$top"), top},
                                    {string("$objects"), array(objects)}});
        const uint64_t table = uint64_t(out_.size());
        for (uint32_t o : offsets_)
            be(o, 4);
        out_.append(QByteArray(6, 0)).append(char(4)).append(char(4));
        be(offsets_.size(), 8);
        be(root, 8);
        be(table, 8);
        return out_;
    }

private:
    uint32_t begin() {
        offsets_.push_back(uint32_t(out_.size()));
        return uint32_t(offsets_.size() - 1);
    }
    void marker(uint8_t kind, uint32_t count) {
        if (count < 15) {
            out_.append(char(kind | count));
        } else {
            out_.append(char(kind | 0x0F)).append(char(0x12));
            be(count, 4);
        }
    }
    void be(uint64_t v, int bytes) {
        for (int i = bytes - 1; i >= 0; --i)
            out_.append(char((v >> (8 * i)) & 0xFF));
    }
    QByteArray out_{"bplist00"};
    std::vector<uint32_t> offsets_;
};

QByteArray indexSetArchive(const std::vector<uint32_t>& indexes) {
    Bplist b;
    std::vector<uint32_t> numbers;
    numbers.reserve(indexes.size());
    for (uint32_t v : indexes)
        numbers.push_back(b.integer(v));
    const uint32_t cls = b.dict({{b.string("$classname"), b.string("NSMutableIndexSet")}});
    const uint32_t set =
        b.dict({{b.string("$class"), b.uid(2)}, {b.string("NSIndexes"), b.array(numbers)}});
    return b.keyedArchive({b.string("$null"), set, cls});
}

} // namespace

// Each level refers twice to the level below: 2^40 paths in 41 objects. Decoding every
// object once makes this instant; decoding per reference would never finish.
TEST(CraftedArchive, SharedReferencesDecodeOnce) {
    Archive a;
    uint64_t below = a.add(plist_new_string("leaf"));
    for (int level = 0; level < 40; ++level)
        below = a.add(a.array({below, below}));
    const QVariant root = KeyedUnarchiver::unarchiveObjectWithData(a.data(below));
    ASSERT_EQ(root.typeId(), QMetaType::QVariantList);
    EXPECT_EQ(depthOf(root), 40);
    QVariant leaf = root;
    while (leaf.typeId() == QMetaType::QVariantList)
        leaf = leaf.toList().last();
    EXPECT_EQ(leaf.toString(), "leaf");
}

// A string with a NUL inside (no archiver writes one; a hand-made file can) reads whole.
TEST(CraftedArchive, StringsWithANulInsideReadWhole) {
    Bplist b;
    const QString text = QStringLiteral("é") + QChar(u'\0') + QStringLiteral("x");
    const QByteArray archive = b.keyedArchive({b.string("$null"), b.utf16(text)});
    EXPECT_EQ(KeyedUnarchiver::unarchiveObjectWithData(archive).toString(), text);
}

// Nesting deeper than any real archive is cut off as absent, not followed down the stack;
// a reference to itself is absent too.
TEST(CraftedArchive, DeepNestingAndCyclesEndAsAbsent) {
    Archive a;
    uint64_t below = a.add(plist_new_string("bottom"));
    for (int level = 0; level < 5000; ++level)
        below = a.add(a.array({below}));
    const QVariant deep = KeyedUnarchiver::unarchiveObjectWithData(a.data(below));
    ASSERT_EQ(deep.typeId(), QMetaType::QVariantList);
    EXPECT_LT(depthOf(deep), 100);

    Archive cyclic;
    const uint64_t self = cyclic.add(plist_new_string("placeholder"));
    cyclic.set(self, cyclic.array({self, self}));
    const QVariantList loop = KeyedUnarchiver::unarchiveObjectWithData(cyclic.data(self)).toList();
    ASSERT_EQ(loop.size(), 2);
    EXPECT_FALSE(loop[0].isValid());
}

// An archive far larger than any real one: the total work is capped and what is past the cap
// reads as absent.
TEST(CraftedArchive, TotalWorkIsCapped) {
    Bplist b;
    const uint32_t null = b.string("$null");
    const uint32_t absent = b.uid(0);
    const std::vector<uint32_t> many(1 << 20, absent); // a million references to $null
    // $objects: $null, the outer list, its class, then three lists of a million each.
    const uint32_t cls = b.dict({{b.string("$classname"), b.string("NSArray")}});
    std::vector<uint32_t> lists, listUids;
    for (uint8_t i = 0; i < 3; ++i) {
        lists.push_back(
            b.dict({{b.string("$class"), b.uid(2)}, {b.string("NS.objects"), b.array(many)}}));
        listUids.push_back(b.uid(uint8_t(3 + i)));
    }
    const uint32_t outer =
        b.dict({{b.string("$class"), b.uid(2)}, {b.string("NS.objects"), b.array(listUids)}});
    const QVariantList capped =
        KeyedUnarchiver::unarchiveObjectWithData(
            b.keyedArchive({null, outer, cls, lists[0], lists[1], lists[2]}))
            .toList();
    ASSERT_EQ(capped.size(), 3);
    EXPECT_EQ(capped.first().toList().size(), 1 << 20) << "the first list is read";
    EXPECT_FALSE(capped.last().isValid()) << "the rest is past the cap";
}

// A million indexes in descending order: sorted once, not inserted one by one.
TEST(CraftedArchive, DescendingIndexListOfAMillion) {
    std::vector<uint32_t> indexes;
    for (uint32_t i = 1000000; i > 0; --i)
        indexes.push_back(i % 999983);
    const QVariant v = KeyedUnarchiver::unarchiveObjectWithData(indexSetArchive(indexes));
    ASSERT_TRUE(v.canConvert<IndexSet>());
    const IndexSet s = v.value<IndexSet>();
    EXPECT_EQ(s.count(), 999983);
    EXPECT_EQ(s.first(), 0);
    EXPECT_EQ(s.last(), 999982);
    EXPECT_EQ(
        KeyedUnarchiver::unarchiveObjectWithData(indexSetArchive({5, 3, 3, 9})).value<IndexSet>(),
        (IndexSet{3, 5, 9}));
}

// A value held in many places is archived once: writing back what such an archive decoded
// to takes as little room as the archive did, never the 2^30 paths through it.
TEST(CraftedArchive, SharedValuesArchiveOnce) {
    Archive a;
    uint64_t below = a.add(plist_new_string("leaf"));
    for (int level = 0; level < 30; ++level)
        below = a.add(a.array({below, below}));
    const QByteArray crafted = a.data(below);
    const QVariant root = KeyedUnarchiver::unarchiveObjectWithData(crafted);
    const QByteArray again = KeyedArchiver::archivedDataWithRootObject(root);
    EXPECT_LT(again.size(), 4 * crafted.size());
    EXPECT_EQ(depthOf(KeyedUnarchiver::unarchiveObjectWithData(again)), 30);
}
