// Property-list files: real stores survive a read and a write unchanged,
// every value type keeps its value and XML spelling, and broken files are
// refused with a reason instead of half a tree.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "support/TempRoot.h"

namespace {

std::string StoreBytes(const std::string& name) {
    return TempRoot::ReadFile(std::string(TARNWICK_STORES_DIR) + "/" + name);
}

CFRef<CFMutableDictionaryRef> Decode(const std::string& bytes, PropertyListFormat* format, std::string* fault) {
    return CFRef<CFMutableDictionaryRef>(PropertyListCreateFromFileBytes(bytes, format, fault));
}

std::string Encode(CFPropertyListRef tree, PropertyListFormat format) {
    std::string bytes, fault;
    EXPECT_TRUE(PropertyListEncodeFileBytes(tree, format, &bytes, &fault)) << fault;
    return bytes;
}

CFRef<CFStringRef> Str(const char* utf8) {
    return CFRef<CFStringRef>(CFStringCreateWithCString(kCFAllocatorDefault, utf8, kCFStringEncodingUTF8));
}

CFRef<CFMutableDictionaryRef> NewDict() {
    return CFRef<CFMutableDictionaryRef>(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

TEST(PropertyListFile, RealXMLStoresKeepTheirBytes) {
    for (const char* name : {"imac-ethernet-pac.plist", "macbook-air-http-proxy-ppp.plist"}) {
        std::string original = StoreBytes(name);
        PropertyListFormat format = PropertyListFormat::Binary;
        std::string fault;
        auto tree = Decode(original, &format, &fault);
        ASSERT_TRUE(tree) << name << ": " << fault;
        EXPECT_EQ(format, PropertyListFormat::XML);
        EXPECT_EQ(Encode(tree.get(), PropertyListFormat::XML), original) << name;
    }
}

TEST(PropertyListFile, BinaryStoreStaysBinaryAndReloadsEqual) {
    PropertyListFormat format = PropertyListFormat::XML;
    std::string fault;
    auto tree = Decode(StoreBytes("ios-binary.plist"), &format, &fault);
    ASSERT_TRUE(tree) << fault;
    EXPECT_EQ(format, PropertyListFormat::Binary);
    EXPECT_TRUE(CFDictionaryContainsKey(tree.get(), CFSTR("NetworkServices")));

    std::string written = Encode(tree.get(), PropertyListFormat::Binary);
    EXPECT_EQ(written.rfind("bplist00", 0), 0u);
    auto again = Decode(written, &format, &fault);
    ASSERT_TRUE(again) << fault;
    EXPECT_EQ(format, PropertyListFormat::Binary);
    EXPECT_TRUE(CFEqual(tree.get(), again.get()));
}

TEST(PropertyListFile, ValuesKeepTypeAndSpellingAndKeysSortByUTF16) {
    auto tree = NewDict();
    SInt64 negative = -5, big = 0x7fffffffffffffffLL;
    double real = 1.5;
    const UInt8 bytes[] = {0, 1, 2, 0xff};
    CFRef<CFNumberRef> negativeNumber(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &negative));
    CFRef<CFNumberRef> bigNumber(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &big));
    CFRef<CFNumberRef> realNumber(CFNumberCreate(kCFAllocatorDefault, kCFNumberFloat64Type, &real));
    CFRef<CFDataRef> data(CFDataCreate(kCFAllocatorDefault, bytes, sizeof bytes));
    CFRef<CFMutableArrayRef> array(CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
    CFArrayAppendValue(array.get(), CFSTR("x & <y>"));
    CFArrayAppendValue(array.get(), NewDict().get());
    // U+FF21 sorts after the surrogate pair of U+1F600 in UTF-16, though its
    // code point is smaller; "B" sorts before "a".
    CFDictionarySetValue(tree.get(), Str("\xEF\xBC\xA1").get(), CFSTR("fullwidth"));
    CFDictionarySetValue(tree.get(), Str("\xF0\x9F\x98\x80").get(), CFSTR("emoji"));
    CFDictionarySetValue(tree.get(), CFSTR("a"), negativeNumber.get());
    CFDictionarySetValue(tree.get(), CFSTR("B"), bigNumber.get());
    CFDictionarySetValue(tree.get(), CFSTR("real"), realNumber.get());
    CFDictionarySetValue(tree.get(), CFSTR("on"), kCFBooleanTrue);
    CFDictionarySetValue(tree.get(), CFSTR("off"), kCFBooleanFalse);
    CFDictionarySetValue(tree.get(), CFSTR("data"), data.get());
    CFDictionarySetValue(tree.get(), CFSTR("list"), array.get());

    std::string xml = Encode(tree.get(), PropertyListFormat::XML);
    EXPECT_NE(xml.find("<integer>-5</integer>"), std::string::npos) << xml;
    EXPECT_NE(xml.find("<integer>9223372036854775807</integer>"), std::string::npos) << xml;
    EXPECT_NE(xml.find("<key>on</key>\n\t<true/>"), std::string::npos) << xml;
    EXPECT_NE(xml.find("<key>off</key>\n\t<false/>"), std::string::npos) << xml;
    EXPECT_NE(xml.find("<string>x &amp; &lt;y&gt;</string>"), std::string::npos) << xml;
    EXPECT_NE(xml.find("\t\t<dict/>\n"), std::string::npos) << xml;
    std::size_t order[] = {xml.find("<key>B</key>"), xml.find("<key>a</key>"), xml.find("<key>data</key>"),
                           xml.find("<key>\xF0\x9F\x98\x80</key>"), xml.find("<key>\xEF\xBC\xA1</key>")};
    for (std::size_t i = 1; i < std::size(order); ++i) EXPECT_LT(order[i - 1], order[i]) << xml;

    for (PropertyListFormat format : {PropertyListFormat::XML, PropertyListFormat::Binary}) {
        PropertyListFormat read = format;
        std::string fault;
        auto back = Decode(Encode(tree.get(), format), &read, &fault);
        ASSERT_TRUE(back) << fault;
        EXPECT_TRUE(CFEqual(tree.get(), back.get()));
        CFTypeRef list = CFDictionaryGetValue(back.get(), CFSTR("list"));
        // Containers come back mutable: the store changes them in place.
        CFArrayAppendValue(static_cast<CFMutableArrayRef>(const_cast<void*>(list)), CFSTR("more"));
        EXPECT_EQ(CFArrayGetCount(static_cast<CFArrayRef>(list)), 3);
    }
}

TEST(PropertyListFile, LargeBinaryTreesReadBackEqual) {
    // Past 255 and 65,535 objects the references widen; counts of 15 and
    // more, and long strings and data, take an extended length.
    auto tree = NewDict();
    CFRef<CFMutableArrayRef> many(CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
    for (int i = 0; i < 70000; ++i) {
        CFRef<CFStringRef> text(CFStringCreateWithFormat(kCFAllocatorDefault, nil, CFSTR("item %d"), i));
        CFArrayAppendValue(many.get(), text.get());
        if (i % 1000 == 0) CFArrayAppendValue(many.get(), CFSTR("repeated"));
    }
    CFDictionarySetValue(tree.get(), CFSTR("many"), many.get());
    auto wide = NewDict();
    for (int i = 0; i < 300; ++i) {
        CFRef<CFStringRef> key(CFStringCreateWithFormat(kCFAllocatorDefault, nil, CFSTR("k\xC3\xA9y %d"), i));
        SInt64 value = static_cast<SInt64>(i) * 1000003 - 150000000;
        CFRef<CFNumberRef> number(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value));
        CFDictionarySetValue(wide.get(), key.get(), number.get());
    }
    CFDictionarySetValue(tree.get(), CFSTR("a longer key than fifteen characters"), wide.get());
    std::vector<UInt8> blob(70000, 0xA5);
    CFRef<CFDataRef> data(CFDataCreate(kCFAllocatorDefault, blob.data(), static_cast<CFIndex>(blob.size())));
    CFDictionarySetValue(tree.get(), CFSTR("blob"), data.get());

    PropertyListFormat format = PropertyListFormat::XML;
    std::string fault;
    auto back = Decode(Encode(tree.get(), PropertyListFormat::Binary), &format, &fault);
    ASSERT_TRUE(back) << fault;
    EXPECT_EQ(format, PropertyListFormat::Binary);
    EXPECT_TRUE(CFEqual(tree.get(), back.get()));
}

TEST(PropertyListFile, BrokenFilesAreRefusedWithAReason) {
    std::string xml = StoreBytes("imac-ethernet-pac.plist");
    std::string binary = StoreBytes("ios-binary.plist");
    const std::string header =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";
    struct Case {
        const char* what;
        std::string bytes;
        const char* fault;
    } cases[] = {
        {"empty", "", "empty file"},
        {"garbage", "this is not a property list\n", "malformed"},
        {"XML cut in half", xml.substr(0, xml.size() / 2), "malformed"},
        {"XML without its closing tag", xml.substr(0, xml.rfind("</plist>")), "malformed"},
        {"binary cut short", binary.substr(0, binary.size() - 10), "malformed"},
        {"binary header only", "bplist00", "malformed"},
        {"root an array", header + "<array><string>x</string></array>\n</plist>\n", "root is not a dictionary"},
        {"a date inside", header + "<dict><key>d</key><date>2020-01-01T00:00:00Z</date></dict>\n</plist>\n",
         "unsupported value of type date"},
    };
    for (const Case& c : cases) {
        PropertyListFormat format = PropertyListFormat::XML;
        std::string fault;
        auto tree = Decode(c.bytes, &format, &fault);
        EXPECT_FALSE(tree) << c.what;
        EXPECT_NE(fault.find(c.fault), std::string::npos) << c.what << ": " << fault;
    }
}

}  // namespace
