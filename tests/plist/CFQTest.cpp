#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/CFRef.h"
#include "plist/MoreCFQ.h"

namespace {

CFRef<CFMutableDictionaryRef> MakeDictionary() {
    CFRef<CFMutableDictionaryRef> dict;
    EXPECT_EQ(CFQDictionaryCreateMutable(dict.out()), noErr);
    return dict;
}

CFRef<CFArrayRef> MakeArray(std::initializer_list<CFTypeRef> values) {
    std::vector<const void*> items(values);
    return CFRef<CFArrayRef>(CFArrayCreate(nil, items.data(), CFIndex(items.size()), &kCFTypeArrayCallBacks));
}

CFRef<CFDictionaryRef> DeepCopy(CFDictionaryRef dict) {
    return CFRef<CFDictionaryRef>(
        static_cast<CFDictionaryRef>(CFPropertyListCreateDeepCopy(nil, dict, kCFPropertyListImmutable)));
}

long LongValue(CFTypeRef number) {
    long value = 0;
    EXPECT_EQ(CFGetTypeID(number), CFNumberGetTypeID());
    CFNumberGetValue(static_cast<CFNumberRef>(number), kCFNumberLongType, &value);
    return value;
}

// { "A": { "B": { "C": "leaf" }, "S": "string" } }, with immutable inner
// dictionaries, as a store hands them out.
CFRef<CFMutableDictionaryRef> MakeTree() {
    const void* cKey = CFSTR("C");
    const void* cValue = CFSTR("leaf");
    CFRef<CFDictionaryRef> b(
        CFDictionaryCreate(nil, &cKey, &cValue, 1, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    const void* aKeys[] = {CFSTR("B"), CFSTR("S")};
    const void* aValues[] = {b.get(), CFSTR("string")};
    CFRef<CFDictionaryRef> a(
        CFDictionaryCreate(nil, aKeys, aValues, 2, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    CFRef<CFMutableDictionaryRef> root = MakeDictionary();
    CFDictionarySetValue(root.get(), CFSTR("A"), a.get());
    return root;
}

TEST(CFQKeyPaths, GetFindsValuesAndNamesTheFirstBadStep) {
    CFRef<CFMutableDictionaryRef> root = MakeTree();

    const void* found = nil;
    const void* leafPath[] = {CFSTR("A"), CFSTR("B"), CFSTR("C")};
    EXPECT_EQ(CFQDictionaryGetValueAtPath(root.get(), leafPath, 3, &found), noErr);
    EXPECT_TRUE(CFEqual(found, CFSTR("leaf")));

    // A dictionary is as good a last value as a leaf.
    found = nil;
    EXPECT_EQ(CFQDictionaryGetValueAtPath(root.get(), leafPath, 2, &found), noErr);
    EXPECT_EQ(CFGetTypeID(found), CFDictionaryGetTypeID());

    struct Case {
        std::vector<const void*> path;
        OSStatus expected;
    } cases[] = {
        {{CFSTR("A"), CFSTR("S"), CFSTR("C")}, kCFQDataErr},        // through a string
        {{CFSTR("A"), CFSTR("X"), CFSTR("C")}, kCFQKeyNotFoundErr},  // missing intermediate
        {{CFSTR("A"), CFSTR("B"), CFSTR("X")}, kCFQKeyNotFoundErr},  // missing last key
        {{CFSTR("X")}, kCFQKeyNotFoundErr},
    };
    for (const Case& c : cases) {
        found = nil;
        EXPECT_EQ(CFQDictionaryGetValueAtPath(root.get(), const_cast<const void**>(c.path.data()),
                                              CFIndex(c.path.size()), &found),
                  c.expected);
        EXPECT_EQ(found, nullptr);
    }

    // The array form walks the same way.
    CFRef<CFArrayRef> badArray = MakeArray({CFSTR("A"), CFSTR("S"), CFSTR("C")});
    found = nil;
    EXPECT_EQ(CFQDictionaryGetValueAtPathArray(root.get(), badArray.get(), &found), kCFQDataErr);
    EXPECT_EQ(found, nullptr);
}

TEST(CFQKeyPaths, SetStoresAtTheEndOfAnExistingPathOnly) {
    // A one-element path stores straight into the given dictionary.
    CFRef<CFMutableDictionaryRef> root = MakeTree();
    const void* topPath[] = {CFSTR("New")};
    EXPECT_EQ(CFQDictionarySetValueAtPath(root.get(), topPath, 1, CFSTR("top")), noErr);
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(root.get(), CFSTR("New")), CFSTR("top")));

    // Deep inside immutable dictionaries: replaced and added.
    CFRef<CFArrayRef> leafPath = MakeArray({CFSTR("A"), CFSTR("B"), CFSTR("C")});
    EXPECT_EQ(CFQDictionarySetValueAtPathArray(root.get(), leafPath.get(), CFSTR("changed")), noErr);
    const void* addPath[] = {CFSTR("A"), CFSTR("B"), CFSTR("D")};
    EXPECT_EQ(CFQDictionarySetValueAtPath(root.get(), addPath, 3, CFSTR("added")), noErr);
    const void* found = nil;
    EXPECT_EQ(CFQDictionaryGetValueAtPathArray(root.get(), leafPath.get(), &found), noErr);
    EXPECT_TRUE(CFEqual(found, CFSTR("changed")));
    found = nil;
    EXPECT_EQ(CFQDictionaryGetValueAtPath(root.get(), addPath, 3, &found), noErr);
    EXPECT_TRUE(CFEqual(found, CFSTR("added")));

    // Missing intermediates are never made up.
    CFRef<CFDictionaryRef> before = DeepCopy(root.get());
    const void* missing[] = {CFSTR("A"), CFSTR("X"), CFSTR("Y")};
    EXPECT_EQ(CFQDictionarySetValueAtPath(root.get(), missing, 3, CFSTR("lost")), kCFQKeyNotFoundErr);
    const void* throughString[] = {CFSTR("A"), CFSTR("S"), CFSTR("Y")};
    EXPECT_EQ(CFQDictionarySetValueAtPath(root.get(), throughString, 3, CFSTR("lost")), kCFQDataErr);
    EXPECT_TRUE(CFEqual(root.get(), before.get()));
}

TEST(CFQKeyPaths, RemoveTakesOutPresentKeysAndRefusesAbsentOnes) {
    CFRef<CFMutableDictionaryRef> root = MakeTree();
    CFRef<CFDictionaryRef> before = DeepCopy(root.get());

    const void* absent[] = {CFSTR("A"), CFSTR("B"), CFSTR("X")};
    EXPECT_EQ(CFQDictionaryRemoveValueAtPath(root.get(), absent, 3), kCFQKeyNotFoundErr);
    const void* missingParent[] = {CFSTR("A"), CFSTR("X"), CFSTR("C")};
    EXPECT_EQ(CFQDictionaryRemoveValueAtPath(root.get(), missingParent, 3), kCFQKeyNotFoundErr);
    EXPECT_TRUE(CFEqual(root.get(), before.get()));

    CFRef<CFArrayRef> present = MakeArray({CFSTR("A"), CFSTR("B"), CFSTR("C")});
    EXPECT_EQ(CFQDictionaryRemoveValueAtPathArray(root.get(), present.get()), noErr);
    const void* b = nil;
    const void* bPath[] = {CFSTR("A"), CFSTR("B")};
    EXPECT_EQ(CFQDictionaryGetValueAtPath(root.get(), bPath, 2, &b), noErr);
    EXPECT_EQ(CFDictionaryGetCount(static_cast<CFDictionaryRef>(b)), 0);
}

TEST(CFQKeyPaths, ParentWalkCopiesEveryLevelAndLeavesOldChildrenAlone) {
    // Even an already mutable child is replaced by a copy, so that whoever
    // else holds the old child never sees the edit.
    CFRef<CFMutableDictionaryRef> inner = MakeDictionary();
    CFDictionarySetValue(inner.get(), CFSTR("K"), CFSTR("old"));
    CFRef<CFMutableDictionaryRef> root = MakeDictionary();
    CFDictionarySetValue(root.get(), CFSTR("Inner"), inner.get());

    CFMutableDictionaryRef parent = nil;
    const void* path[] = {CFSTR("Inner"), CFSTR("K")};
    EXPECT_EQ(CFQMutableDictionaryGetParentForPath(root.get(), path, 2, &parent), noErr);
    EXPECT_NE(parent, inner.get());
    EXPECT_EQ(parent, CFDictionaryGetValue(root.get(), CFSTR("Inner")));
    EXPECT_EQ(CFGetRetainCount(parent), 1);  // the tree is its only owner

    EXPECT_EQ(CFQDictionarySetValueAtPath(root.get(), path, 2, CFSTR("new")), noErr);
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(inner.get(), CFSTR("K")), CFSTR("old")));

    // With one element the given dictionary is the parent.
    parent = nil;
    EXPECT_EQ(CFQMutableDictionaryGetParentForPath(root.get(), path, 1, &parent), noErr);
    EXPECT_EQ(parent, root.get());
}

TEST(CFQContainers, ArraysAndDictionariesConvertBothWays) {
    CFRef<CFMutableDictionaryRef> dict = MakeDictionary();
    CFDictionarySetValue(dict.get(), CFSTR("one"), CFSTR("1"));
    CFDictionarySetValue(dict.get(), CFSTR("two"), CFSTR("2"));
    CFDictionarySetValue(dict.get(), CFSTR("three"), CFSTR("3"));

    CFRef<CFArrayRef> keys;
    CFRef<CFArrayRef> values;
    EXPECT_EQ(CFQArrayCreateWithDictionaryKeys(dict.get(), keys.out()), noErr);
    EXPECT_EQ(CFQArrayCreateWithDictionaryValues(dict.get(), values.out()), noErr);
    ASSERT_EQ(CFArrayGetCount(keys.get()), 3);
    ASSERT_EQ(CFArrayGetCount(values.get()), 3);
    // Keys and values come out in the same order, pair by pair.
    for (CFIndex i = 0; i < 3; i++) {
        EXPECT_TRUE(CFEqual(CFDictionaryGetValue(dict.get(), CFArrayGetValueAtIndex(keys.get(), i)),
                            CFArrayGetValueAtIndex(values.get(), i)));
    }

    CFRef<CFDictionaryRef> rebuilt;
    EXPECT_EQ(CFQDictionaryCreateWithArrayOfKeysAndValues(keys.get(), values.get(), rebuilt.out()), noErr);
    EXPECT_TRUE(CFEqual(rebuilt.get(), dict.get()));

    // An empty dictionary gives an empty array, not a failure.
    CFRef<CFMutableDictionaryRef> empty = MakeDictionary();
    EXPECT_EQ(CFQArrayCreateWithDictionaryKeys(empty.get(), keys.out()), noErr);
    EXPECT_EQ(CFArrayGetCount(keys.get()), 0);
}

TEST(CFQContainers, MismatchedKeysAndValuesGiveNoDictionary) {
    CFRef<CFArrayRef> keys = MakeArray({CFSTR("a"), CFSTR("b")});
    CFRef<CFArrayRef> values = MakeArray({CFSTR("1")});
    CFDictionaryRef result = nil;
    testing::internal::CaptureStderr();
    EXPECT_EQ(CFQDictionaryCreateWithArrayOfKeysAndValues(keys.get(), values.get(), &result), paramErr);
    std::string report = testing::internal::GetCapturedStderr();
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(report, "MoreAssertQ failure: CFArrayGetCount(keys) == CFArrayGetCount(values)\n");
}

TEST(CFQContainers, SetNumberStoresALongAndReplaces) {
    CFRef<CFMutableDictionaryRef> dict = MakeDictionary();
    EXPECT_EQ(CFQDictionarySetNumber(dict.get(), CFSTR("Flag"), 1), noErr);
    EXPECT_EQ(CFQDictionarySetNumber(dict.get(), CFSTR("Flag"), -7), noErr);
    EXPECT_EQ(CFQDictionarySetNumber(dict.get(), CFSTR("Big"), 0x7fffffff), noErr);
    EXPECT_EQ(CFDictionaryGetCount(dict.get()), 2);

    CFNumberRef flag = static_cast<CFNumberRef>(CFDictionaryGetValue(dict.get(), CFSTR("Flag")));
    EXPECT_EQ(LongValue(flag), -7);
    EXPECT_EQ(LongValue(CFDictionaryGetValue(dict.get(), CFSTR("Big"))), 0x7fffffffL);
    EXPECT_EQ(CFGetRetainCount(flag), 1);  // the dictionary holds the only reference
}

struct Visit {
    CFTypeRef key;
    CFTypeRef node;
};

void RecordDeep(CFTypeRef node, void* context) {
    static_cast<std::vector<Visit>*>(context)->push_back({nil, node});
}

void RecordShallow(CFTypeRef key, CFTypeRef node, void* context) {
    static_cast<std::vector<Visit>*>(context)->push_back({CFRetain(key), node});
}

TEST(CFQApply, DeepWalkVisitsNodesBeforeTheirChildren) {
    CFRef<CFArrayRef> pair = MakeArray({CFSTR("first"), CFSTR("second")});
    CFRef<CFMutableDictionaryRef> dict = MakeDictionary();
    CFDictionarySetValue(dict.get(), CFSTR("List"), pair.get());

    std::vector<Visit> visits;
    CFQPropertyListDeepApplyFunction(dict.get(), RecordDeep, &visits);
    ASSERT_EQ(visits.size(), 4u);
    EXPECT_EQ(visits[0].node, dict.get());
    EXPECT_EQ(visits[1].node, pair.get());
    EXPECT_TRUE(CFEqual(visits[2].node, CFSTR("first")));
    EXPECT_TRUE(CFEqual(visits[3].node, CFSTR("second")));
}

TEST(CFQApply, ShallowWalkGivesKeysOrIndicesOfOneLevel) {
    CFRef<CFArrayRef> array = MakeArray({CFSTR("a"), CFSTR("b"), CFSTR("c")});
    std::vector<Visit> visits;
    CFQPropertyListShallowApplyFunction(array.get(), RecordShallow, &visits);
    ASSERT_EQ(visits.size(), 3u);
    for (long i = 0; i < 3; i++) {
        EXPECT_EQ(LongValue(visits[i].key), i);
        EXPECT_EQ(visits[i].node, CFArrayGetValueAtIndex(array.get(), i));
        // The walk dropped its own reference to the index after the call.
        EXPECT_EQ(CFGetRetainCount(visits[i].key), 1);
        CFRelease(visits[i].key);
    }

    // A dictionary's inner dictionaries are not entered.
    CFRef<CFMutableDictionaryRef> dict = MakeTree();
    visits.clear();
    CFQPropertyListShallowApplyFunction(dict.get(), RecordShallow, &visits);
    ASSERT_EQ(visits.size(), 1u);
    EXPECT_EQ(CFDictionaryGetValue(dict.get(), visits[0].key), visits[0].node);
    CFRelease(visits[0].key);

    // A leaf has no level to walk.
    visits.clear();
    testing::internal::CaptureStderr();
    CFQPropertyListShallowApplyFunction(CFSTR("leaf"), RecordShallow, &visits);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "MoreAssertQ failure: false\n");
    EXPECT_TRUE(visits.empty());
}

}  // namespace
