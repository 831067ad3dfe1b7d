// Key paths through nested dictionaries, conversions between arrays and
// dictionaries, and walks over property lists.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "plist/MoreCFQ.h"

namespace {

using Path = std::vector<const void*>;

CFRef<CFMutableDictionaryRef> MakeDictionary() {
    CFRef<CFMutableDictionaryRef> dict;
    EXPECT_EQ(CFQDictionaryCreateMutable(dict.out()), noErr);
    return dict;
}

CFRef<CFArrayRef> MakeArray(Path values) {
    return CFRef<CFArrayRef>(CFArrayCreate(nil, values.data(), CFIndex(values.size()), &kCFTypeArrayCallBacks));
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

// Looks up path; the result is nil whenever the status is not noErr.
OSStatus Get(CFDictionaryRef root, Path path, const void** found) {
    *found = nil;
    return CFQDictionaryGetValueAtPath(root, path.data(), CFIndex(path.size()), found);
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
    EXPECT_EQ(Get(root.get(), {CFSTR("A"), CFSTR("B"), CFSTR("C")}, &found), noErr);
    EXPECT_TRUE(CFEqual(found, CFSTR("leaf")));

    struct Case {
        Path path;
        OSStatus expected;
    } cases[] = {
        {{CFSTR("A"), CFSTR("S"), CFSTR("C")}, kCFQDataErr},        // through a string
        {{CFSTR("A"), CFSTR("X"), CFSTR("C")}, kCFQKeyNotFoundErr},  // missing intermediate
        {{CFSTR("A"), CFSTR("B"), CFSTR("X")}, kCFQKeyNotFoundErr},  // missing last key
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Get(root.get(), c.path, &found), c.expected);
        EXPECT_EQ(found, nullptr);
        // The array form walks the same way.
        found = nil;
        EXPECT_EQ(CFQDictionaryGetValueAtPathArray(root.get(), MakeArray(c.path).get(), &found), c.expected);
        EXPECT_EQ(found, nullptr);
    }
}

TEST(CFQKeyPaths, SetAndRemoveWorkAtTheEndOfAnExistingPathOnly) {
    CFRef<CFMutableDictionaryRef> root = MakeTree();
    const void* top[] = {CFSTR("New")};
    EXPECT_EQ(CFQDictionarySetValueAtPath(root.get(), top, 1, CFSTR("top")), noErr);
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(root.get(), CFSTR("New")), CFSTR("top")));

    // Deep inside immutable dictionaries: replaced and added.
    const void* found = nil;
    EXPECT_EQ(CFQDictionarySetValueAtPathArray(root.get(), MakeArray({CFSTR("A"), CFSTR("B"), CFSTR("C")}).get(),
                                               CFSTR("changed")),
              noErr);
    const void* add[] = {CFSTR("A"), CFSTR("B"), CFSTR("D")};
    EXPECT_EQ(CFQDictionarySetValueAtPath(root.get(), add, 3, CFSTR("added")), noErr);
    EXPECT_EQ(Get(root.get(), {CFSTR("A"), CFSTR("B"), CFSTR("C")}, &found), noErr);
    EXPECT_TRUE(CFEqual(found, CFSTR("changed")));
    EXPECT_EQ(Get(root.get(), {CFSTR("A"), CFSTR("B"), CFSTR("D")}, &found), noErr);
    EXPECT_TRUE(CFEqual(found, CFSTR("added")));

    // Missing intermediates are never made up, and absent keys not removed.
    CFRef<CFDictionaryRef> before = DeepCopy(root.get());
    const void* missing[] = {CFSTR("A"), CFSTR("X"), CFSTR("Y")};
    EXPECT_EQ(CFQDictionarySetValueAtPath(root.get(), missing, 3, CFSTR("lost")), kCFQKeyNotFoundErr);
    const void* throughString[] = {CFSTR("A"), CFSTR("S"), CFSTR("Y")};
    EXPECT_EQ(CFQDictionarySetValueAtPath(root.get(), throughString, 3, CFSTR("lost")), kCFQDataErr);
    const void* absent[] = {CFSTR("A"), CFSTR("B"), CFSTR("X")};
    EXPECT_EQ(CFQDictionaryRemoveValueAtPath(root.get(), absent, 3), kCFQKeyNotFoundErr);
    EXPECT_EQ(CFQDictionaryRemoveValueAtPath(root.get(), missing, 3), kCFQKeyNotFoundErr);
    EXPECT_TRUE(CFEqual(root.get(), before.get()));

    EXPECT_EQ(CFQDictionaryRemoveValueAtPathArray(root.get(), MakeArray({CFSTR("A"), CFSTR("B"), CFSTR("C")}).get()),
              noErr);
    EXPECT_EQ(Get(root.get(), {CFSTR("A"), CFSTR("B"), CFSTR("C")}, &found), kCFQKeyNotFoundErr);
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
}

TEST(CFQContainers, ArraysAndDictionariesConvertBothWays) {
    CFRef<CFMutableDictionaryRef> dict = MakeDictionary();
    for (const char* key : {"one", "two", "three"}) {
        CFRef<CFStringRef> name(CFStringCreateWithCString(nil, key, kCFStringEncodingUTF8));
        CFDictionarySetValue(dict.get(), name.get(), CFSTR("value"));
        EXPECT_EQ(CFQDictionarySetNumber(dict.get(), name.get(), CFDictionaryGetCount(dict.get())), noErr);
    }
    CFRef<CFArrayRef> keys, values;
    EXPECT_EQ(CFQArrayCreateWithDictionaryKeys(dict.get(), keys.out()), noErr);
    EXPECT_EQ(CFQArrayCreateWithDictionaryValues(dict.get(), values.out()), noErr);
    ASSERT_EQ(CFArrayGetCount(values.get()), 3);
    // SetNumber replaced the strings by numbers the dictionary alone holds.
    EXPECT_EQ(LongValue(CFDictionaryGetValue(dict.get(), CFSTR("three"))), 3);
    // Keys and values come out in the same order, pair by pair.
    CFRef<CFDictionaryRef> rebuilt;
    EXPECT_EQ(CFQDictionaryCreateWithArrayOfKeysAndValues(keys.get(), values.get(), rebuilt.out()), noErr);
    EXPECT_TRUE(CFEqual(rebuilt.get(), dict.get()));
    values.reset();
    rebuilt.reset();
    EXPECT_EQ(CFGetRetainCount(CFDictionaryGetValue(dict.get(), CFSTR("one"))), 1);

    // Mismatched lengths: reported, and no dictionary.
    CFDictionaryRef result = nil;
    testing::internal::CaptureStderr();
    EXPECT_EQ(CFQDictionaryCreateWithArrayOfKeysAndValues(keys.get(), MakeArray({CFSTR("1")}).get(), &result),
              paramErr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "MoreAssertQ failure: CFArrayGetCount(keys) == CFArrayGetCount(values)\n");
    EXPECT_EQ(result, nullptr);
}

struct Visit {
    CFTypeRef key;
    CFTypeRef node;
};

void RecordDeep(CFTypeRef node, void* context) { static_cast<std::vector<Visit>*>(context)->push_back({nil, node}); }

void RecordShallow(CFTypeRef key, CFTypeRef node, void* context) {
    static_cast<std::vector<Visit>*>(context)->push_back({CFRetain(key), node});
}

TEST(CFQApply, DeepWalkGoesParentFirstAndShallowWalkOneLevel) {
    CFRef<CFArrayRef> pair = MakeArray({CFSTR("first"), CFSTR("second")});
    CFRef<CFMutableDictionaryRef> dict = MakeDictionary();
    CFDictionarySetValue(dict.get(), CFSTR("List"), pair.get());
    std::vector<Visit> visits;
    CFQPropertyListDeepApplyFunction(dict.get(), RecordDeep, &visits);
    ASSERT_EQ(visits.size(), 4u);
    EXPECT_EQ(visits[0].node, dict.get());
    EXPECT_EQ(visits[1].node, pair.get());
    EXPECT_TRUE(CFEqual(visits[3].node, CFSTR("second")));

    // An array's keys are its indices, released by the walk after each call.
    visits.clear();
    CFQPropertyListShallowApplyFunction(pair.get(), RecordShallow, &visits);
    ASSERT_EQ(visits.size(), 2u);
    for (long i = 0; i < 2; i++) {
        EXPECT_EQ(LongValue(visits[i].key), i);
        EXPECT_EQ(visits[i].node, CFArrayGetValueAtIndex(pair.get(), i));
        EXPECT_EQ(CFGetRetainCount(visits[i].key), 1);
        CFRelease(visits[i].key);
    }

    // A leaf has no level to walk.
    visits.clear();
    testing::internal::CaptureStderr();
    CFQPropertyListShallowApplyFunction(CFSTR("leaf"), RecordShallow, &visits);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "MoreAssertQ failure: false\n");
    EXPECT_TRUE(visits.empty());
}

}  // namespace
