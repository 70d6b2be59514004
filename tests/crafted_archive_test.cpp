#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"
#include "platform/PlistNode.h"

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

plist_t dict(std::initializer_list<std::pair<const char*, plist_t>> items) {
    plist_t d = plist_new_dict();
    for (const auto& [key, value] : items)
        plist_dict_set_item(d, key, value);
    return d;
}

// A list of the archiver's, its class at $objects[2], holding the objects of these UIDs.
plist_t list(const std::vector<uint64_t>& uids) {
    plist_t refs = plist_new_array();
    for (uint64_t u : uids)
        plist_array_append_item(refs, plist_new_uid(u));
    return dict({{"$class", plist_new_uid(2)}, {"NS.objects", refs}});
}

// A keyed archive of these $objects, after $null and before the list class; its root is the
// first of them.
QByteArray archive(const std::vector<plist_t>& objects) {
    plist_t all = plist_new_array();
    plist_array_append_item(all, plist_new_string("$null"));
    plist_array_append_item(all, objects[0]);
    plist_array_append_item(all, dict({{"$classname", plist_new_string("NSArray")}}));
    for (size_t i = 1; i < objects.size(); ++i)
        plist_array_append_item(all, objects[i]);
    PlistNode root(dict({{"$archiver", plist_new_string("NSKeyedArchiver")},
                         {"$top", dict({{"root", plist_new_uid(1)}})},
                         {"$objects", all}}));
    char* out = nullptr;
    uint32_t size = 0;
    plist_to_bin(root.get(), &out, &size);
    const QByteArray bytes(out, size);
    free(out);
    return bytes;
}

// Lists nested `levels` deep, each holding `fanout` references to the one below, the innermost
// the string "leaf" ($objects[3]).
QByteArray nested(int levels, int fanout) {
    std::vector<plist_t> objects{nullptr, plist_new_string("leaf")};
    for (int level = 1; level < levels; ++level)
        objects.push_back(list(std::vector<uint64_t>(size_t(fanout), objects.size() + 1)));
    objects[0] = list(std::vector<uint64_t>(size_t(fanout), objects.size() + 1));
    return archive(objects);
}
} // namespace

// 2^30 paths in 33 objects: each object is decoded, and archived again, once.
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

// Deep nesting, a reference to itself and work past the cap all read as absent.
TEST(CraftedArchive, HostileShapesEndAsAbsent) {
    const QVariant deep = KeyedUnarchiver::unarchiveObjectWithData(nested(5000, 1));
    ASSERT_EQ(deep.typeId(), QMetaType::QVariantList);
    EXPECT_LT(depthOf(deep), 100);

    const QVariantList loop =
        KeyedUnarchiver::unarchiveObjectWithData(archive({list({1, 1})})).toList();
    ASSERT_EQ(loop.size(), 2);
    EXPECT_FALSE(loop[0].isValid());

    const QVariantList capped =
        KeyedUnarchiver::unarchiveObjectWithData(nested(2, 1 << 20)).toList();
    ASSERT_EQ(capped.size(), 1 << 20);
    EXPECT_FALSE(capped.first().isValid()) << "the inner list is past the cap";
}
