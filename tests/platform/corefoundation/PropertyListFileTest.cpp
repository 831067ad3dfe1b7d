// Property-list files: real stores survive a read and a write unchanged,
// every value type keeps its value and XML spelling, and broken files are
// refused with a reason instead of half a tree.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/PropertyListFile.h"

namespace {

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

// Files that are no store are refused with the reason, not half a tree.
TEST(PropertyListFile, BrokenFilesAreRefusedWithAReason) {
    const std::string header = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";
    const std::pair<std::string, const char*> cases[] = {
        {"", "empty file"},
        {"bplist00", "malformed"},
        {header + "<dict><key>k</key><string>x</string></dict>\n", "malformed"},  // no closing tag
        {header + "<array><string>x</string></array>\n</plist>\n", "root is not a dictionary"},
        {header + "<dict><key>d</key><date>2020-01-01T00:00:00Z</date></dict>\n</plist>\n",
         "unsupported value of type date"},
    };
    for (const auto& [bytes, reason] : cases) {
        PropertyListFormat format = PropertyListFormat::XML;
        std::string fault;
        EXPECT_FALSE(Decode(bytes, &format, &fault)) << bytes;
        EXPECT_NE(fault.find(reason), std::string::npos) << bytes << ": " << fault;
    }
}

}  // namespace
