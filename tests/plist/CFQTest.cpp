// Key paths through nested dictionaries, conversions between arrays and
// dictionaries, and walks over property lists.
#include <gtest/gtest.h>

#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "plist/MoreCFQ.h"
#include "support/StderrCapture.h"

namespace {

using Path = std::vector<const void*>;

CFRef<CFArrayRef> MakeArray(Path values) {
    return CFRef<CFArrayRef>(CFArrayCreate(nil, values.data(), CFIndex(values.size()), &kCFTypeArrayCallBacks));
}

// Looks up path; the result is nil whenever the status is not noErr.
OSStatus Get(CFDictionaryRef root, Path path, const void** found) {
    *found = nil;
    return CFQDictionaryGetValueAtPath(root, path.data(), CFIndex(path.size()), found);
}

// The value at path, or nil.
const void* At(CFDictionaryRef root, Path path) {
    const void* found = nil;
    return Get(root, path, &found) == noErr ? found : nil;
}

// { "A": { "B": { "C": "leaf" }, "S": "string" } }, with immutable inner
// dictionaries, as a store hands them out.
CFRef<CFMutableDictionaryRef> MakeTree() {
    PropertyListFormat format;
    std::string fault;
    CFRef<CFDictionaryRef> parsed(PropertyListCreateFromFileBytes(
        "<plist><dict><key>A</key><dict><key>B</key><dict><key>C</key><string>leaf</string></dict>"
        "<key>S</key><string>string</string></dict></dict></plist>", &format, &fault));
    CFRef<CFPropertyListRef> frozen(CFPropertyListCreateDeepCopy(nil, parsed.get(), kCFPropertyListImmutable));
    return CFRef<CFMutableDictionaryRef>(CFDictionaryCreateMutableCopy(nil, 0, static_cast<CFDictionaryRef>(frozen.get())));
}

TEST(CFQKeyPaths, GetFindsValuesAndNamesTheFirstBadStep) {
    CFRef<CFMutableDictionaryRef> root = MakeTree();
    const std::pair<Path, OSStatus> rows[] = {
        {{CFSTR("A"), CFSTR("B"), CFSTR("C")}, noErr},
        {{CFSTR("A"), CFSTR("S"), CFSTR("C")}, kCFQDataErr},        // through a string
        {{CFSTR("A"), CFSTR("X"), CFSTR("C")}, kCFQKeyNotFoundErr},  // missing intermediate
        {{CFSTR("A"), CFSTR("B"), CFSTR("X")}, kCFQKeyNotFoundErr},  // missing last key
    };
    for (const auto& [path, status] : rows) {
        const void* found = nil;
        EXPECT_EQ(Get(root.get(), path, &found), status);
        EXPECT_EQ(found != nil && CFEqual(found, CFSTR("leaf")), status == noErr);
        // The array form walks the same way.
        found = nil;
        EXPECT_EQ(CFQDictionaryGetValueAtPathArray(root.get(), MakeArray(path).get(), &found), status);
        EXPECT_EQ(found != nil, status == noErr);
    }
}

// Set and remove work at the end of an existing path only, inside the
// immutable dictionaries too; missing steps are never made up.
TEST(CFQKeyPaths, SetAndRemoveWorkAtTheEndOfAnExistingPathOnly) {
    CFRef<CFMutableDictionaryRef> root = MakeTree();
    auto set = [&](Path path, CFStringRef value) {
        return CFQDictionarySetValueAtPath(root.get(), path.data(), CFIndex(path.size()), value);
    };
    auto remove = [&](Path path) { return CFQDictionaryRemoveValueAtPath(root.get(), path.data(), CFIndex(path.size())); };
    const Path leaf = {CFSTR("A"), CFSTR("B"), CFSTR("C")}, added = {CFSTR("A"), CFSTR("B"), CFSTR("D")};
    EXPECT_EQ(CFQDictionarySetValueAtPathArray(root.get(), MakeArray(leaf).get(), CFSTR("changed")), noErr);
    EXPECT_EQ(set(added, CFSTR("added")), noErr);
    EXPECT_TRUE(CFEqual(At(root.get(), leaf), CFSTR("changed")));
    EXPECT_TRUE(CFEqual(At(root.get(), added), CFSTR("added")));

    CFRef<CFPropertyListRef> before(CFPropertyListCreateDeepCopy(nil, root.get(), kCFPropertyListImmutable));
    EXPECT_EQ(set({CFSTR("A"), CFSTR("X"), CFSTR("Y")}, CFSTR("lost")), kCFQKeyNotFoundErr);
    EXPECT_EQ(set({CFSTR("A"), CFSTR("S"), CFSTR("Y")}, CFSTR("lost")), kCFQDataErr);
    EXPECT_EQ(remove({CFSTR("A"), CFSTR("B"), CFSTR("X")}), kCFQKeyNotFoundErr);
    EXPECT_EQ(remove({CFSTR("A"), CFSTR("X"), CFSTR("Y")}), kCFQKeyNotFoundErr);
    EXPECT_TRUE(CFEqual(root.get(), before.get()));
    EXPECT_EQ(CFQDictionaryRemoveValueAtPathArray(root.get(), MakeArray(leaf).get()), noErr);
    EXPECT_EQ(At(root.get(), leaf), nil);
}

TEST(CFQKeyPaths, ParentWalkCopiesEveryLevelAndLeavesOldChildrenAlone) {
    // Even an already mutable child is replaced by a copy, so that whoever
    // else holds the old child never sees the edit.
    CFRef<CFMutableDictionaryRef> inner, root;
    ASSERT_EQ(CFQDictionaryCreateMutable(inner.out()), noErr);
    ASSERT_EQ(CFQDictionaryCreateMutable(root.out()), noErr);
    CFDictionarySetValue(inner.get(), CFSTR("K"), CFSTR("old"));
    CFDictionarySetValue(root.get(), CFSTR("Inner"), inner.get());

    CFMutableDictionaryRef parent = nil;
    const void* path[] = {CFSTR("Inner"), CFSTR("K")};
    EXPECT_EQ(CFQMutableDictionaryGetParentForPath(root.get(), path, 2, &parent), noErr);
    EXPECT_NE(parent, inner.get());
    EXPECT_EQ(parent, CFDictionaryGetValue(root.get(), CFSTR("Inner")));
    EXPECT_EQ(CFQDictionarySetValueAtPath(root.get(), path, 2, CFSTR("new")), noErr);
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(inner.get(), CFSTR("K")), CFSTR("old")));
}

TEST(CFQContainers, ArraysAndDictionariesConvertBothWays) {
    CFRef<CFMutableDictionaryRef> dict;
    ASSERT_EQ(CFQDictionaryCreateMutable(dict.out()), noErr);
    EXPECT_EQ(CFQDictionarySetNumber(dict.get(), CFSTR("one"), 1), noErr);
    EXPECT_EQ(CFQDictionarySetNumber(dict.get(), CFSTR("two"), -2), noErr);
    EXPECT_EQ(CFQDictionarySetNumber(dict.get(), CFSTR("one"), 3), noErr);  // replaced
    EXPECT_EQ(CFGetRetainCount(CFDictionaryGetValue(dict.get(), CFSTR("two"))), 1);  // the dictionary's alone
    long three = 3;
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(dict.get(), CFSTR("one")),
                        CFRef<CFNumberRef>(CFNumberCreate(nil, kCFNumberLongType, &three)).get()));

    // Keys and values come out in the same order, pair by pair.
    CFRef<CFArrayRef> keys, values;
    CFRef<CFDictionaryRef> rebuilt;
    EXPECT_EQ(CFQArrayCreateWithDictionaryKeys(dict.get(), keys.out()), noErr);
    EXPECT_EQ(CFQArrayCreateWithDictionaryValues(dict.get(), values.out()), noErr);
    EXPECT_EQ(CFQDictionaryCreateWithArrayOfKeysAndValues(keys.get(), values.get(), rebuilt.out()), noErr);
    EXPECT_TRUE(CFEqual(rebuilt.get(), dict.get()));

    // Mismatched lengths: refused, and no dictionary.
    CFDictionaryRef result = nil;
    StderrCapture reports;
    EXPECT_EQ(CFQDictionaryCreateWithArrayOfKeysAndValues(keys.get(), MakeArray({CFSTR("1")}).get(), &result), paramErr);
    EXPECT_EQ(result, nullptr);
}

using Visits = std::vector<std::pair<long, CFTypeRef>>;  // key (an array index, or -1) and node
// The keys a walk hands out, kept after it.
std::vector<CFRef<CFTypeRef>> gKeys;

TEST(CFQApply, DeepWalkGoesParentFirstAndShallowWalkOneLevel) {
    CFRef<CFArrayRef> pair = MakeArray({CFSTR("first"), CFSTR("second")});
    CFRef<CFMutableDictionaryRef> dict;
    ASSERT_EQ(CFQDictionaryCreateMutable(dict.out()), noErr);
    CFDictionarySetValue(dict.get(), CFSTR("List"), pair.get());
    Visits visits;
    CFQPropertyListDeepApplyFunction(
        dict.get(), [](CFTypeRef node, void* context) { static_cast<Visits*>(context)->push_back({-1, node}); }, &visits);
    EXPECT_EQ(visits, (Visits{{-1, dict.get()}, {-1, pair.get()}, {-1, CFSTR("first")}, {-1, CFSTR("second")}}));

    // An array's keys are its indices.
    auto record = [](CFTypeRef key, CFTypeRef node, void* context) {
        long index = -1;
        if (CFGetTypeID(key) == CFNumberGetTypeID()) CFNumberGetValue(static_cast<CFNumberRef>(key), kCFNumberLongType, &index);
        static_cast<Visits*>(context)->push_back({index, node});
        gKeys.push_back(CFRef<CFTypeRef>::Retain(key));
    };
    visits.clear();
    CFQPropertyListShallowApplyFunction(pair.get(), record, &visits);
    EXPECT_EQ(visits, (Visits{{0, CFSTR("first")}, {1, CFSTR("second")}}));
    // The walk let go of the index numbers it made.
    for (const auto& key : gKeys) EXPECT_EQ(CFGetRetainCount(key.get()), 1);
    gKeys.clear();

    // A leaf has no level to walk.
    visits.clear();
    StderrCapture reports;
    CFQPropertyListShallowApplyFunction(CFSTR("leaf"), record, &visits);
    EXPECT_TRUE(visits.empty());
}

}  // namespace
