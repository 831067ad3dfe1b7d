// Arrays, dictionaries and deep copies: exact reference counts through
// every kind of change, lookups by value, insertion order, callbacks kept
// by copies, nested descriptions and the misuse that halts the process.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CFRuntime.h"
#include "platform/corefoundation/CoreFoundation.h"

namespace {

CFRef<CFStringRef> Str(const char* utf8) {
    return CFRef<CFStringRef>(CFStringCreateWithCString(nullptr, utf8, kCFStringEncodingUTF8));
}

CFRef<CFNumberRef> Int(int value) { return CFRef<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberIntType, &value)); }

std::string Text(CFStringRef s) {
    std::vector<char> buf(static_cast<std::size_t>(CFStringGetLength(s)) * 3 + 1);
    EXPECT_TRUE(CFStringGetCString(s, buf.data(), static_cast<CFIndex>(buf.size()), kCFStringEncodingUTF8));
    return buf.data();
}

std::string Describe(CFTypeRef cf) {
    CFRef<CFStringRef> d(CFCopyDescription(cf));
    return Text(d.get());
}

CFRef<CFMutableDictionaryRef> NewDict() {
    return CFRef<CFMutableDictionaryRef>(
        CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

CFRef<CFMutableArrayRef> NewArray() {
    return CFRef<CFMutableArrayRef>(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
}

// The keys of a dictionary as texts, in enumeration order.
std::vector<std::string> Keys(CFDictionaryRef dict) {
    std::vector<const void*> keys(static_cast<std::size_t>(CFDictionaryGetCount(dict)));
    CFDictionaryGetKeysAndValues(dict, keys.data(), nullptr);
    std::vector<std::string> out;
    for (const void* k : keys) out.push_back(Text(static_cast<CFStringRef>(k)));
    return out;
}

CFComparisonResult CompareInts(const void* a, const void* b, void*) {
    return CFNumberCompare(static_cast<CFNumberRef>(a), static_cast<CFNumberRef>(b), nullptr);
}

}  // namespace

TEST(CFRuntime, RetainReleaseAndConstants) {
    auto s = Str("x");
    EXPECT_EQ(CFGetRetainCount(s.get()), 1);
    CFRetain(s.get());
    EXPECT_EQ(CFGetRetainCount(s.get()), 2);
    CFRelease(s.get());
    EXPECT_EQ(CFGetRetainCount(s.get()), 1);

    // Booleans are constants: retain and release leave them unchanged.
    CFIndex before = CFGetRetainCount(kCFBooleanTrue);
    CFRetain(kCFBooleanTrue);
    CFRelease(kCFBooleanTrue);
    CFRelease(kCFBooleanTrue);
    EXPECT_EQ(CFGetRetainCount(kCFBooleanTrue), before);

    EXPECT_DEATH(CFRetain(nullptr), "CoreFoundation: CFRetain");
}

namespace {
struct Widget : __CFRuntimeBase {
    static CFTypeID TypeID() {
        static CFTypeID id = _CFRuntimeRegisterClass("Widget");
        return id;
    }
    Widget() : __CFRuntimeBase(TypeID()) {}
};
}  // namespace

TEST(CFRuntime, RegisteredTypesGetTheirOwnIDAndDefaultDescription) {
    CFRef<CFTypeRef> w(new Widget);
    EXPECT_EQ(CFGetTypeID(w.get()), Widget::TypeID());
    EXPECT_NE(Widget::TypeID(), CFDictionaryGetTypeID());
    EXPECT_EQ(Describe(w.get()).rfind("<Widget 0x", 0), 0u);
    // Not a property-list value: a deep copy of a tree holding it fails.
    auto dict = NewDict();
    CFDictionarySetValue(dict.get(), CFSTR("w"), w.get());
    EXPECT_EQ(CFPropertyListCreateDeepCopy(nullptr, dict.get(), kCFPropertyListImmutable), nullptr);
}

TEST(CFArray, RetainCountsThroughChanges) {
    auto a = Int(1), b = Int(2);
    const void* values[] = {a.get(), b.get(), a.get()};
    {
        CFRef<CFArrayRef> fixed(CFArrayCreate(nullptr, values, 3, &kCFTypeArrayCallBacks));
        EXPECT_EQ(CFGetRetainCount(a.get()), 3);
        auto list = NewArray();
        CFArrayAppendArray(list.get(), fixed.get(), CFRangeMake(0, 3));
        EXPECT_EQ(CFGetRetainCount(a.get()), 5);
        CFArraySetValueAtIndex(list.get(), 0, b.get());  // replaces: old released
        EXPECT_EQ(CFGetRetainCount(a.get()), 4);
        CFArraySetValueAtIndex(list.get(), 1, b.get());  // the same value again
        EXPECT_EQ(CFGetRetainCount(b.get()), 4);
        CFArrayRemoveValueAtIndex(list.get(), 2);
        EXPECT_EQ(CFGetRetainCount(a.get()), 3);
        CFArrayAppendArray(list.get(), list.get(), CFRangeMake(0, 2));  // onto itself
        EXPECT_EQ(CFArrayGetCount(list.get()), 4);
        EXPECT_EQ(CFGetRetainCount(b.get()), 6);
    }
    EXPECT_EQ(CFGetRetainCount(a.get()), 1);
    EXPECT_EQ(CFGetRetainCount(b.get()), 1);

    // Without callbacks nothing is retained and lookups compare addresses.
    CFRef<CFArrayRef> plain(CFArrayCreate(nullptr, values, 3, nullptr));
    EXPECT_EQ(CFGetRetainCount(a.get()), 1);
    auto sameValue = Int(1);
    EXPECT_FALSE(CFArrayContainsValue(plain.get(), CFRangeMake(0, 3), sameValue.get()));
    CFRef<CFMutableArrayRef> plainCopy(CFArrayCreateMutableCopy(nullptr, 0, plain.get()));
    EXPECT_EQ(CFGetRetainCount(a.get()), 1);
}

TEST(CFArray, SearchSortAndValueLookup) {
    auto list = NewArray();
    for (int v : {5, 1, 4, 1, 3}) CFArrayAppendValue(list.get(), Int(v).get());
    auto firstOne = CFArrayGetValueAtIndex(list.get(), 1);
    auto secondOne = CFArrayGetValueAtIndex(list.get(), 3);
    CFArraySortValues(list.get(), CFRangeMake(0, 5), CompareInts, nullptr);
    // Stable: the two equal values keep their relative order.
    EXPECT_EQ(CFArrayGetValueAtIndex(list.get(), 0), firstOne);
    EXPECT_EQ(CFArrayGetValueAtIndex(list.get(), 1), secondOne);

    CFRange all = CFRangeMake(0, 5);  // 1 1 3 4 5
    EXPECT_EQ(CFArrayBSearchValues(list.get(), all, Int(2).get(), CompareInts, nullptr), 2);
    EXPECT_EQ(CFArrayBSearchValues(list.get(), all, Int(9).get(), CompareInts, nullptr), 5);
    EXPECT_EQ(CFArrayBSearchValues(list.get(), CFRangeMake(2, 2), Int(0).get(), CompareInts, nullptr), 2);

    // Lookups compare by value: a mutable string finds a constant.
    auto names = NewArray();
    CFArrayAppendValue(names.get(), CFSTR("Ethernet"));
    CFArrayInsertValueAtIndex(names.get(), 0, CFSTR("AirPort"));
    CFRef<CFMutableStringRef> probe(CFStringCreateMutable(nullptr, 0));
    CFStringAppendCString(probe.get(), "Ether", kCFStringEncodingUTF8);
    CFStringAppendCString(probe.get(), "net", kCFStringEncodingUTF8);
    EXPECT_EQ(CFArrayGetFirstIndexOfValue(names.get(), CFRangeMake(0, 2), probe.get()), 1);
    EXPECT_EQ(CFArrayGetFirstIndexOfValue(names.get(), CFRangeMake(0, 1), probe.get()), kCFNotFound);
}

TEST(CFDictionary, RetainCountsThroughChanges) {
    auto key = Str("key");
    auto v1 = Int(1), v2 = Int(2);
    {
        auto dict = NewDict();
        CFDictionarySetValue(dict.get(), key.get(), v1.get());
        EXPECT_EQ(CFGetRetainCount(key.get()), 2);
        EXPECT_EQ(CFGetRetainCount(v1.get()), 2);
        CFDictionaryAddValue(dict.get(), key.get(), v2.get());  // present: no change
        EXPECT_EQ(CFGetRetainCount(v2.get()), 1);
        CFDictionarySetValue(dict.get(), key.get(), v2.get());  // replace
        EXPECT_EQ(CFGetRetainCount(v1.get()), 1);
        EXPECT_EQ(CFGetRetainCount(v2.get()), 2);
        CFDictionarySetValue(dict.get(), key.get(), v2.get());  // the same value again
        EXPECT_EQ(CFGetRetainCount(v2.get()), 2);
        CFDictionaryRemoveValue(dict.get(), key.get());
        EXPECT_EQ(CFGetRetainCount(key.get()), 1);
        EXPECT_EQ(CFGetRetainCount(v2.get()), 1);
        CFDictionaryReplaceValue(dict.get(), key.get(), v1.get());  // absent: no change
        EXPECT_EQ(CFDictionaryGetCount(dict.get()), 0);
        CFDictionarySetValue(dict.get(), key.get(), v1.get());
        CFDictionarySetValue(dict.get(), CFSTR("other"), v1.get());
        EXPECT_EQ(CFGetRetainCount(v1.get()), 3);
    }
    EXPECT_EQ(CFGetRetainCount(key.get()), 1);
    EXPECT_EQ(CFGetRetainCount(v1.get()), 1);

    // Without callbacks: no retain, and keys compare by address.
    CFRef<CFMutableDictionaryRef> plain(CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr));
    auto twin = Str("key");
    CFDictionarySetValue(plain.get(), key.get(), v1.get());
    CFDictionarySetValue(plain.get(), twin.get(), v2.get());
    EXPECT_EQ(CFDictionaryGetCount(plain.get()), 2);
    EXPECT_EQ(CFGetRetainCount(key.get()), 1);
    CFRef<CFDictionaryRef> plainCopy(CFDictionaryCreateCopy(nullptr, plain.get()));
    EXPECT_EQ(CFGetRetainCount(v1.get()), 1);
    EXPECT_EQ(CFDictionaryGetValue(plainCopy.get(), twin.get()), v2.get());
}

TEST(CFDictionary, KeysMatchByValueAndCopyStringKeysAreCopied) {
    auto dict = NewDict();
    CFRef<CFMutableStringRef> mutableKey(CFStringCreateMutable(nullptr, 0));
    CFStringAppendCString(mutableKey.get(), "Proxies", kCFStringEncodingUTF8);
    CFDictionarySetValue(dict.get(), mutableKey.get(), kCFBooleanTrue);
    EXPECT_EQ(CFDictionaryGetValue(dict.get(), CFSTR("Proxies")), kCFBooleanTrue);

    // With copy-string keys, changing the caller's string afterwards does not
    // move the entry.
    CFRef<CFMutableStringRef> name(CFStringCreateMutableCopy(nullptr, 0, CFSTR("Proxies")));
    CFRef<CFMutableDictionaryRef> copying(CFDictionaryCreateMutable(
        nullptr, 0, &kCFCopyStringDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    CFDictionarySetValue(copying.get(), name.get(), kCFBooleanFalse);
    EXPECT_EQ(CFGetRetainCount(name.get()), 1);
    CFStringAppendCString(name.get(), "X", kCFStringEncodingUTF8);
    EXPECT_EQ(CFDictionaryGetValue(copying.get(), CFSTR("Proxies")), kCFBooleanFalse);
    EXPECT_EQ(CFDictionaryGetValue(copying.get(), name.get()), nullptr);
}

TEST(CFDictionary, EnumerationKeepsInsertionOrder) {
    auto dict = NewDict();
    for (const char* k : {"c", "a", "d", "b"}) CFDictionarySetValue(dict.get(), Str(k).get(), Int(0).get());
    CFDictionarySetValue(dict.get(), CFSTR("a"), Int(9).get());  // replaced value keeps its place
    CFDictionaryRemoveValue(dict.get(), CFSTR("d"));
    CFDictionarySetValue(dict.get(), CFSTR("d"), Int(1).get());  // re-added goes last
    EXPECT_EQ(Keys(dict.get()), (std::vector<std::string>{"c", "a", "b", "d"}));
    CFRef<CFDictionaryRef> copy(CFDictionaryCreateCopy(nullptr, dict.get()));
    EXPECT_EQ(Keys(copy.get()), Keys(dict.get()));

    // Many removals (enough to squeeze the storage several times) keep the
    // order of the rest and every lookup.
    auto big = NewDict();
    const int total = 3000;
    for (int i = 0; i < total; ++i) CFDictionarySetValue(big.get(), Str(std::to_string(i).c_str()).get(), Int(i).get());
    for (int i = 0; i < total; ++i)
        if (i % 3 != 0) CFDictionaryRemoveValue(big.get(), Str(std::to_string(i).c_str()).get());
    std::vector<std::string> expected;
    for (int i = 0; i < total; i += 3) expected.push_back(std::to_string(i));
    EXPECT_EQ(Keys(big.get()), expected);
    for (int i = 0; i < total; i += 3)
        EXPECT_TRUE(CFEqual(CFDictionaryGetValue(big.get(), Str(std::to_string(i).c_str()).get()), Int(i).get()));
}

TEST(CFDictionary, EqualityIgnoresOrder) {
    auto a = NewDict(), b = NewDict();
    CFDictionarySetValue(a.get(), CFSTR("x"), Int(1).get());
    CFDictionarySetValue(a.get(), CFSTR("y"), Int(2).get());
    CFDictionarySetValue(b.get(), CFSTR("y"), Int(2).get());
    CFDictionarySetValue(b.get(), CFSTR("x"), Int(1).get());
    EXPECT_TRUE(CFEqual(a.get(), b.get()));
    EXPECT_EQ(CFHash(a.get()), CFHash(b.get()));
    CFDictionarySetValue(b.get(), CFSTR("x"), Int(3).get());
    EXPECT_FALSE(CFEqual(a.get(), b.get()));
}

TEST(CFContainers, NestedDescription) {
    auto inner = NewArray();
    CFArrayAppendValue(inner.get(), CFSTR("PPP"));
    CFArrayAppendValue(inner.get(), Int(2).get());
    auto dict = NewDict();
    CFDictionarySetValue(dict.get(), CFSTR("HTTPEnable"), Int(1).get());
    CFDictionarySetValue(dict.get(), CFSTR("Order"), inner.get());
    CFDictionarySetValue(dict.get(), CFSTR("Empty"), NewDict().get());
    const UInt8 bytes[] = {0x0a, 0xff};
    CFRef<CFDataRef> data(CFDataCreate(nullptr, bytes, 2));
    CFDictionarySetValue(dict.get(), CFSTR("Data"), data.get());
    EXPECT_EQ(Describe(dict.get()),
              "{\n"
              "    HTTPEnable = 1;\n"
              "    Order = (\n"
              "        PPP,\n"
              "        2\n"
              "    );\n"
              "    Empty = {};\n"
              "    Data = <0aff>;\n"
              "}");
}

TEST(CFContainers, MutatingAnImmutableContainerHalts) {
    CFRef<CFArrayRef> array(CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks));
    EXPECT_DEATH(CFArrayAppendValue(const_cast<CFMutableArrayRef>(array.get()), CFSTR("x")),
                 "CoreFoundation: attempt to mutate an immutable CFArray");
    CFRef<CFDictionaryRef> dict(CFDictionaryCreate(nullptr, nullptr, nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                   &kCFTypeDictionaryValueCallBacks));
    EXPECT_DEATH(CFDictionarySetValue(const_cast<CFMutableDictionaryRef>(dict.get()), CFSTR("k"), CFSTR("v")),
                 "CoreFoundation: attempt to mutate an immutable CFDictionary");
}

TEST(CFPropertyList, DeepCopyMutabilityAndIndependence) {
    auto leafString = Str("http://proxy/pac");
    auto number = Int(7);
    auto proxies = NewDict();
    CFDictionarySetValue(proxies.get(), CFSTR("URL"), leafString.get());
    CFDictionarySetValue(proxies.get(), CFSTR("Enable"), number.get());
    auto root = NewDict();
    CFDictionarySetValue(root.get(), CFSTR("Proxies"), proxies.get());

    CFRef<CFMutableDictionaryRef> copy(static_cast<CFMutableDictionaryRef>(
        const_cast<void*>(CFPropertyListCreateDeepCopy(nullptr, root.get(), kCFPropertyListMutableContainersAndLeaves))));
    ASSERT_TRUE(copy);
    EXPECT_TRUE(CFEqual(copy.get(), root.get()));
    auto copiedProxies = static_cast<CFMutableDictionaryRef>(
        const_cast<void*>(CFDictionaryGetValue(copy.get(), CFSTR("Proxies"))));
    EXPECT_NE(copiedProxies, proxies.get());
    // Numbers are shared; strings are new mutable objects.
    EXPECT_EQ(CFDictionaryGetValue(copiedProxies, CFSTR("Enable")), number.get());
    auto copiedURL = static_cast<CFMutableStringRef>(const_cast<void*>(CFDictionaryGetValue(copiedProxies, CFSTR("URL"))));
    EXPECT_NE(copiedURL, leafString.get());
    CFStringAppendCString(copiedURL, "?v=2", kCFStringEncodingUTF8);
    CFDictionarySetValue(copiedProxies, CFSTR("New"), kCFBooleanTrue);
    EXPECT_EQ(Text(leafString.get()), "http://proxy/pac");
    EXPECT_EQ(CFDictionaryGetCount(proxies.get()), 2);
    EXPECT_FALSE(CFEqual(copy.get(), root.get()));

    // Mutable containers only: containers change, leaves do not.
    CFRef<CFTypeRef> containers(CFPropertyListCreateDeepCopy(nullptr, root.get(), kCFPropertyListMutableContainers));
    auto inner = static_cast<CFMutableDictionaryRef>(
        const_cast<void*>(CFDictionaryGetValue(static_cast<CFDictionaryRef>(containers.get()), CFSTR("Proxies"))));
    CFDictionaryRemoveValue(inner, CFSTR("Enable"));
    auto url = static_cast<CFMutableStringRef>(const_cast<void*>(CFDictionaryGetValue(inner, CFSTR("URL"))));
    EXPECT_DEATH(CFStringAppendCString(url, "x", kCFStringEncodingUTF8), "immutable");

    // Immutable: the copied containers refuse changes.
    CFRef<CFTypeRef> frozen(CFPropertyListCreateDeepCopy(nullptr, root.get(), kCFPropertyListImmutable));
    EXPECT_TRUE(CFEqual(frozen.get(), root.get()));
    EXPECT_DEATH(CFDictionaryRemoveValue(static_cast<CFMutableDictionaryRef>(const_cast<void*>(frozen.get())),
                                         CFSTR("Proxies")),
                 "immutable CFDictionary");
    // Ours, the source's, and one for each copy still holding it.
    EXPECT_EQ(CFGetRetainCount(number.get()), 4);
}
