#include "platform/IndexSet.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"

#include <gtest/gtest.h>

// Hand-built archives of the kind an attacker (or a broken tool) could leave as a settings
// file or a drag payload.
namespace {
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
    uint32_t uid(uint32_t v) {
        const uint32_t ref = begin();
        const int bytes = v < 0x100 ? 1 : v < 0x10000 ? 2 : 4;
        out_.append(char(0x80 | (bytes - 1)));
        be(v, bytes);
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
    // A list of the archiver's, its class at $objects[2] (as listClass() makes it), holding the
    // objects of these UIDs; its keys shared by every list.
    uint32_t list(const std::vector<uint32_t>& uids) {
        std::vector<uint32_t> refs;
        for (uint32_t u : uids)
            refs.push_back(uid(u));
        if (!classKey_) {
            classKey_ = string("$class");
            objectsKey_ = string("NS.objects");
        }
        return dict({{classKey_, uid(2)}, {objectsKey_, array(refs)}});
    }
    uint32_t listClass() { return dict({{string("$classname"), string("NSArray")}}); }
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
    uint32_t classKey_ = 0, objectsKey_ = 0;
};

// Lists nested `levels` deep, each holding `fanout` references to the one below, the innermost
// the string "leaf".
QByteArray nested(int levels, int fanout) {
    Bplist b;
    std::vector<uint32_t> objects{b.string("$null"), 0, b.listClass(), b.string("leaf")};
    for (int level = 1; level <= levels; ++level) {
        const uint32_t below = uint32_t(objects.size() - 1);
        const uint32_t record = b.list(std::vector<uint32_t>(size_t(fanout), below));
        if (level == levels)
            objects[1] = record;
        else
            objects.push_back(record);
    }
    return b.keyedArchive(objects);
}

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

// Each level refers twice to the level below: 2^30 paths in 33 objects. Decoding every object
// once makes this instant (decoding per reference would never finish), and writing back what
// it decoded to takes as little room as the archive did.
TEST(CraftedArchive, SharedReferencesDecodeAndArchiveOnce) {
    const QByteArray crafted = nested(30, 2);
    const QVariant root = KeyedUnarchiver::unarchiveObjectWithData(crafted);
    ASSERT_EQ(depthOf(root), 30);
    QVariant leaf = root;
    while (leaf.typeId() == QMetaType::QVariantList)
        leaf = leaf.toList().last();
    EXPECT_EQ(leaf.toString(), "leaf");
    const QByteArray again = KeyedArchiver::archivedDataWithRootObject(root);
    EXPECT_LT(again.size(), 4 * crafted.size());
    EXPECT_EQ(depthOf(KeyedUnarchiver::unarchiveObjectWithData(again)), 30);
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
    const QVariant deep = KeyedUnarchiver::unarchiveObjectWithData(nested(5000, 1));
    ASSERT_EQ(deep.typeId(), QMetaType::QVariantList);
    EXPECT_LT(depthOf(deep), 100);

    Bplist b;
    const QByteArray cyclic = b.keyedArchive({b.string("$null"), b.list({1, 1}), b.listClass()});
    const QVariantList loop = KeyedUnarchiver::unarchiveObjectWithData(cyclic).toList();
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
