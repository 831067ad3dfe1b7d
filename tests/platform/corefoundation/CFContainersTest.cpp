// Arrays, dictionaries and deep copies: reference counts through every
// kind of change, insertion order through removals, and copies that are
// independent of their source.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/PlatformTestHelpers.h"
#include "support/CFText.h"

namespace {

CFRef<CFNumberRef> Int(int value) { return CFRef<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberIntType, &value)); }

}  // namespace

// A container holds one reference per place a value takes in it, and gives
// each back when the place is overwritten, removed or destroyed; without
// callbacks it holds none.
TEST(CFContainers, ReferenceCountsThroughChanges) {
    auto a = Int(1), b = Int(2);
    auto key = String("key"), twin = String("key");
    auto counts = [&] { return std::vector<CFIndex>{CFGetRetainCount(a.get()), CFGetRetainCount(b.get()), CFGetRetainCount(key.get())}; };
    const void* values[] = {a.get(), b.get(), a.get()};
    {
        CFRef<CFMutableArrayRef> list(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
        for (const void* value : {values[0], values[1], values[1]}) CFArrayAppendValue(list.get(), value);
        EXPECT_EQ(counts(), (std::vector<CFIndex>{2, 3, 1}));
        CFArrayRemoveValueAtIndex(list.get(), 0);
        EXPECT_EQ(CFGetRetainCount(a.get()), 1);

        auto dict = NewDict();
        CFDictionarySetValue(dict.get(), key.get(), a.get());
        CFDictionaryAddValue(dict.get(), key.get(), b.get());  // present: no change
        CFDictionarySetValue(dict.get(), key.get(), b.get());  // replaces a
        CFDictionarySetValue(dict.get(), key.get(), b.get());  // the same value again
        EXPECT_EQ(counts(), (std::vector<CFIndex>{1, 4, 2}));
        CFDictionaryRemoveValue(dict.get(), key.get());
        EXPECT_EQ(CFDictionaryGetCount(dict.get()), 0);
        EXPECT_EQ(CFGetRetainCount(key.get()), 1);
        CFDictionarySetValue(dict.get(), key.get(), a.get());
    }
    EXPECT_EQ(counts(), (std::vector<CFIndex>{1, 1, 1}));

    // Without callbacks nothing is retained and lookups compare addresses.
    CFRef<CFArrayRef> plain(CFArrayCreate(nullptr, values, 3, nullptr));
    CFRef<CFMutableDictionaryRef> plainDict(CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr));
    CFDictionarySetValue(plainDict.get(), key.get(), a.get());
    CFDictionarySetValue(plainDict.get(), twin.get(), b.get());
    EXPECT_EQ(CFGetRetainCount(a.get()), 1);
    EXPECT_FALSE(CFArrayContainsValue(plain.get(), CFRangeMake(0, 3), Int(1).get()));
    EXPECT_EQ(CFDictionaryGetCount(plainDict.get()), 2);
}

// Keys enumerate in insertion order: a replaced value keeps its place, a
// re-added key goes last, and many removals keep the rest in order.
TEST(CFContainers, DictionaryKeepsInsertionOrder) {
    auto dict = NewDict();
    for (const char* k : {"c", "a", "d", "b"}) CFDictionarySetValue(dict.get(), String(k).get(), Int(0).get());
    CFDictionarySetValue(dict.get(), CFSTR("a"), Int(9).get());
    CFDictionaryRemoveValue(dict.get(), CFSTR("d"));
    CFDictionarySetValue(dict.get(), CFSTR("d"), Int(1).get());
    EXPECT_EQ(Keys(dict.get()), (std::vector<std::string>{"c", "a", "b", "d"}));
    EXPECT_EQ(Keys(CFRef<CFDictionaryRef>(CFDictionaryCreateCopy(nullptr, dict.get())).get()), Keys(dict.get()));

    auto big = NewDict();
    std::vector<std::string> kept;
    for (int i = 0; i < 3000; ++i) CFDictionarySetValue(big.get(), String(std::to_string(i)).get(), Int(i).get());
    for (int i = 0; i < 3000; ++i) {
        if (i % 3 != 0) CFDictionaryRemoveValue(big.get(), String(std::to_string(i)).get());
        else kept.push_back(std::to_string(i));
    }
    EXPECT_EQ(Keys(big.get()), kept);
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(big.get(), CFSTR("2997")), Int(2997).get()));
}

TEST(CFContainers, DeepCopiesAreIndependentAndAsMutableAsAsked) {
    auto proxies = NewDict();
    CFDictionarySetValue(proxies.get(), CFSTR("URL"), CFSTR("http://proxy/pac"));
    auto root = NewDict();
    CFDictionarySetValue(root.get(), CFSTR("Proxies"), proxies.get());
    auto inner = [](CFTypeRef copy) {
        return static_cast<CFMutableDictionaryRef>(
            const_cast<void*>(CFDictionaryGetValue(static_cast<CFDictionaryRef>(copy), CFSTR("Proxies"))));
    };

    CFRef<CFTypeRef> all(CFPropertyListCreateDeepCopy(nullptr, root.get(), kCFPropertyListMutableContainersAndLeaves));
    ASSERT_TRUE(CFEqual(all.get(), root.get()));
    auto url = static_cast<CFMutableStringRef>(const_cast<void*>(CFDictionaryGetValue(inner(all.get()), CFSTR("URL"))));
    CFStringReplace(url, CFRangeMake(0, 0), CFSTR("v2:"));
    CFDictionarySetValue(inner(all.get()), CFSTR("New"), kCFBooleanTrue);
    EXPECT_EQ(CFDictionaryGetCount(proxies.get()), 1);
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(proxies.get(), CFSTR("URL")), CFSTR("http://proxy/pac")));

    // Mutable containers only: the leaves refuse changes; immutable: all do.
    CFRef<CFTypeRef> containers(CFPropertyListCreateDeepCopy(nullptr, root.get(), kCFPropertyListMutableContainers));
    CFDictionaryRemoveValue(inner(containers.get()), CFSTR("Missing"));
    auto leaf = static_cast<CFMutableStringRef>(
        const_cast<void*>(CFDictionaryGetValue(inner(containers.get()), CFSTR("URL"))));
    EXPECT_DEATH(CFStringReplace(leaf, CFRangeMake(0, 0), CFSTR("x")), "immutable");
    CFRef<CFTypeRef> frozen(CFPropertyListCreateDeepCopy(nullptr, root.get(), kCFPropertyListImmutable));
    EXPECT_DEATH(CFDictionaryRemoveValue(inner(frozen.get()), CFSTR("URL")), "immutable CFDictionary");
    EXPECT_DEATH(CFArrayAppendValue(const_cast<CFMutableArrayRef>(CFArrayCreate(nullptr, nullptr, 0, nullptr)), nullptr),
                 "immutable CFArray");
}
