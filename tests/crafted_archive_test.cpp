#include "platform/IndexSet.h"
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
    Archive a;
    const std::vector<uint64_t> many(1 << 20, 0);
    std::vector<uint64_t> lists;
    for (int i = 0; i < 3; ++i)
        lists.push_back(a.add(a.array(many)));
    const QVariantList capped =
        KeyedUnarchiver::unarchiveObjectWithData(a.data(a.add(a.array(lists)))).toList();
    ASSERT_EQ(capped.size(), 3);
    EXPECT_EQ(capped.first().toList().size(), 1 << 20) << "the first list is read";
    EXPECT_FALSE(capped.last().isValid()) << "the rest is past the cap";
}

// A keyed archive whose root is an index set of `indexes`, written byte by byte: libplist's
// own writer takes longer over a million numbers than the decoding under test.
QByteArray indexSetArchive(const std::vector<uint32_t>& indexes) {
    QByteArray out("bplist00");
    std::vector<uint32_t> offsets;
    auto be = [&](uint64_t v, int bytes) {
        for (int i = bytes - 1; i >= 0; --i)
            out.append(char((v >> (8 * i)) & 0xFF));
    };
    auto object = [&] { offsets.push_back(uint32_t(out.size())); };
    auto string = [&](const char* s) {
        object();
        const uint len = qstrlen(s);
        if (len < 15) {
            out.append(char(0x50 | len));
        } else {
            out.append(char(0x5F)).append(char(0x12));
            be(len, 4);
        }
        out.append(s);
    };
    auto refs = [&](std::initializer_list<uint32_t> list) {
        for (uint32_t r : list)
            be(r, 4);
    };
    object(); // 0: the root dictionary
    out.append(char(0xD4));
    refs({1, 2, 3, 4, 5, 6, 7, 8});
    for (const char* s : {"$archiver", "$version", "$top", "$objects", "NSKeyedArchiver"})
        string(s); // 1 to 5
    object();      // 6: $version
    out.append(char(0x12));
    be(100000, 4);
    object(); // 7: $top
    out.append(char(0xD1));
    refs({9, 10});
    object(); // 8: $objects
    out.append(char(0xA3));
    refs({11, 12, 13});
    string("root"); // 9
    object();       // 10: UID 1
    out.append(char(0x80)).append(char(1));
    string("$null"); // 11
    object();        // 12: the index set
    out.append(char(0xD2));
    refs({14, 16, 15, 17});
    object(); // 13: its class
    out.append(char(0xD1));
    refs({18, 19});
    string("$class"); // 14
    object();         // 15: UID 2
    out.append(char(0x80)).append(char(2));
    string("NSIndexes"); // 16
    object();            // 17: the list
    out.append(char(0xAF)).append(char(0x12));
    be(indexes.size(), 4);
    for (size_t i = 0; i < indexes.size(); ++i)
        be(20 + i, 4);
    string("$classname");        // 18
    string("NSMutableIndexSet"); // 19
    for (uint32_t v : indexes) {
        object();
        out.append(char(0x12));
        be(v, 4);
    }
    const uint64_t table = uint64_t(out.size());
    for (uint32_t o : offsets)
        be(o, 4);
    out.append(QByteArray(6, 0)).append(char(4)).append(char(4));
    be(offsets.size(), 8);
    be(0, 8);
    be(table, 8);
    return out;
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
