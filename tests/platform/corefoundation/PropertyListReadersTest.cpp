// The XML and binary readers against hostile files: every string kept
// exactly, nesting bounded at the same depth in both formats and by the
// writers, and every broken offset, count, reference, cycle and malformed
// document refused with a reason instead of a crash.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "support/BinaryPlist.h"

namespace {

const std::string kHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

std::string XMLFile(const std::string& body) { return kHeader + body + "</plist>\n"; }

CFRef<CFMutableDictionaryRef> Read(const std::string& bytes, std::string* fault,
                                   PropertyListFormat* format = nullptr) {
    PropertyListFormat ignored;
    return CFRef<CFMutableDictionaryRef>(PropertyListCreateFromFileBytes(bytes, format ? format : &ignored, fault));
}

// Nested containers: `levels` of them, the outermost a dictionary.
std::string NestedXML(int levels, const char* inner) {
    std::string open = "<dict><key>k</key>", close = "</dict>";
    for (int i = 1; i < levels; ++i) {
        open += inner[0] == 'd' ? "<dict><key>k</key>" : "<array>";
        close = (inner[0] == 'd' ? "</dict>" : "</array>") + close;
    }
    return XMLFile(open + "<string>x</string>" + close);
}

std::string NestedBinary(int levels) {
    BinaryPlist plist;
    int inner = plist.ascii("x");
    for (int i = 1; i < levels; ++i) inner = plist.array({inner});
    int key = plist.ascii("k");
    return plist.file(plist.dict({key}, {inner}), 4);
}

CFRef<CFStringRef> Units(const std::u16string& text) {
    return CFRef<CFStringRef>(CFStringCreateWithCharacters(
        nullptr, reinterpret_cast<const UniChar*>(text.data()), static_cast<CFIndex>(text.size())));
}

}  // namespace

TEST(PropertyListReaders, StringsKeepEveryCharacterInBinaryAndXMLRefusesWhatItCannotCarry) {
    BinaryPlist plist;
    int asciiKey = plist.ascii(std::string("k\0ey", 4));
    int utf16Key = plist.ascii("wide");
    int ascii = plist.ascii(std::string("keep\0this", 9));
    int utf16 = plist.utf16(std::u16string(u"A\0", 2));
    std::string bytes = plist.file(plist.dict({asciiKey, utf16Key}, {ascii, utf16}));

    std::string fault;
    PropertyListFormat format;
    auto tree = Read(bytes, &fault, &format);
    ASSERT_TRUE(tree) << fault;
    EXPECT_EQ(CFDictionaryGetCount(tree.get()), 2);
    CFTypeRef kept = CFDictionaryGetValue(tree.get(), Units(std::u16string(u"k\0ey", 4)).get());
    ASSERT_NE(kept, nullptr);
    EXPECT_TRUE(CFEqual(kept, Units(std::u16string(u"keep\0this", 9)).get()));
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(tree.get(), CFSTR("wide")), Units(std::u16string(u"A\0", 2)).get()));

    std::string written;
    ASSERT_TRUE(PropertyListEncodeFileBytes(tree.get(), PropertyListFormat::Binary, &written, &fault)) << fault;
    auto again = Read(written, &fault);
    ASSERT_TRUE(again) << fault;
    EXPECT_TRUE(CFEqual(tree.get(), again.get()));

    // XML 1.0 has no way to write U+0000 (nor most control characters).
    for (const std::u16string& text : {std::u16string(u"A\0", 2), std::u16string(u"a\x1b"), std::u16string(u"\xD800")}) {
        auto dict = Read(XMLFile("<dict/>\n"), &fault);
        CFDictionarySetValue(dict.get(), CFSTR("k"), Units(text).get());
        EXPECT_FALSE(PropertyListEncodeFileBytes(dict.get(), PropertyListFormat::XML, &written, &fault));
        EXPECT_NE(fault.find("which an XML property list cannot carry"), std::string::npos) << fault;
    }
}

TEST(PropertyListReaders, NestingIsBoundedAlikeInBothFormatsAndByTheWriters) {
    std::string fault;
    for (int levels : {int(kPropertyListMaxDepth), kPropertyListMaxDepth + 1, 50000}) {
        bool fits = levels <= kPropertyListMaxDepth;
        for (const std::string& bytes : {NestedXML(levels, "dict"), NestedXML(levels, "array"), NestedBinary(levels)}) {
            SCOPED_TRACE(std::to_string(levels) + " levels, " + bytes.substr(0, 8));
            fault.clear();
            auto tree = Read(bytes, &fault);
            EXPECT_EQ(static_cast<bool>(tree), fits) << fault;
            if (!fits) {
                EXPECT_NE(fault.find("nested deeper than 512 levels"), std::string::npos) << fault;
            }
        }
    }
    // A tree one level too deep for the readers is not written either.
    auto tree = Read(NestedXML(kPropertyListMaxDepth, "array"), &fault);
    ASSERT_TRUE(tree);
    std::string written;
    for (auto format : {PropertyListFormat::XML, PropertyListFormat::Binary})
        EXPECT_TRUE(PropertyListEncodeFileBytes(tree.get(), format, &written, &fault)) << fault;
    CFRef<CFMutableDictionaryRef> deeper(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                   &kCFTypeDictionaryValueCallBacks));
    CFDictionarySetValue(deeper.get(), CFSTR("k"), tree.get());
    for (auto format : {PropertyListFormat::XML, PropertyListFormat::Binary})
        EXPECT_FALSE(PropertyListEncodeFileBytes(deeper.get(), format, &written, &fault));
}

TEST(PropertyListReaders, HostileBinaryFilesAreRefusedWithAReason) {
    struct Case {
        const char* what;
        std::string bytes;
        const char* fault;
    };
    std::vector<Case> cases;
    {
        BinaryPlist p;
        int self = p.array({});
        p.makeArray(self, {self});
        int key = p.ascii("k");
        cases.push_back({"an array holding itself", p.file(p.dict({key}, {self})), "contains itself"});
    }
    {
        BinaryPlist p;
        int key = p.ascii("k");
        cases.push_back({"a reference past the last object", p.file(p.dict({key}, {7})), "past the last object"});
    }
    {
        BinaryPlist p;
        int key = p.ascii("k");
        int longer = p.raw("\x5F\x12\x00\x01\x00\x00xyz");  // claims 65,536 characters
        cases.push_back({"a string longer than the file", p.file(p.dict({key}, {longer})), "past the objects"});
    }
    {
        BinaryPlist p;
        int key = p.raw("\x10\x01");
        int value = p.ascii("v");
        cases.push_back({"a key that is a number", p.file(p.dict({key}, {value})), "key is not a string"});
    }
    {
        BinaryPlist p;
        int key = p.ascii("k");
        int date = p.raw(std::string("\x33\0\0\0\0\0\0\0\0", 9));
        cases.push_back({"a date", p.file(p.dict({key}, {date})), "unsupported value of type date"});
        int uid = p.raw("\x80\x01");
        cases.push_back({"a UID", p.file(p.dict({key}, {uid})), "unsupported value of type uid"});
    }
    {
        // Forty arrays, each holding the next twice: 2^40 values when
        // expanded into a tree.
        BinaryPlist p;
        int inner = p.ascii("x");
        for (int i = 0; i < 40; ++i) inner = p.array({inner, inner});
        int key = p.ascii("k");
        cases.push_back({"shared containers that expand", p.file(p.dict({key}, {inner})), "expand to more values"});
    }
    BinaryPlist good;
    int key = good.ascii("k");
    std::string valid = good.file(good.dict({key}, {key}));
    {
        std::string bytes = valid;
        bytes[bytes.size() - 25] = 0;  // reference size 0
        cases.push_back({"a reference size of 0", bytes, "trailer does not fit"});
        bytes = valid;
        bytes[bytes.size() - 1] = static_cast<char>(0xF0);  // the offset table past the end
        cases.push_back({"an offset table past the end", bytes, "trailer does not fit"});
        bytes = valid;
        bytes[bytes.size() - 32 - 8 + 3] = static_cast<char>(0xF0);  // the first object's offset
        cases.push_back({"an object offset past the objects", bytes, "offset outside the file"});
        cases.push_back({"the magic alone", "bplist00", "too short"});
    }
    for (const Case& c : cases) {
        std::string fault;
        auto tree = Read(c.bytes, &fault);
        EXPECT_FALSE(tree) << c.what;
        EXPECT_NE(fault.find(c.fault), std::string::npos) << c.what << ": " << fault;
    }
    std::string fault;
    EXPECT_TRUE(Read(valid, &fault)) << fault;
}

TEST(PropertyListReaders, MalformedXMLIsRefusedWithAReason) {
    const std::vector<std::pair<std::string, const char*>> cases = {
        {XMLFile(std::string("<dict><key>k</key><string>a\0b</string></dict>\n", 46)), "malformed"},
        {XMLFile("<dict><key>k</key><string>a&#0;b</string></dict>\n"), "malformed"},
        {"<?xml version=\"1.0\"?>\n<!DOCTYPE plist [<!ENTITY a \"aaaa\">]>\n<plist><dict/></plist>\n",
         "entity declarations are not allowed"},
        {XMLFile("<dict><key>k</key><thing/></dict>\n"), "unknown element <thing>"},
        {XMLFile("<dict>loose<key>k</key><true/></dict>\n"), "text outside a value"},
        {XMLFile("<dict><string>v</string></dict>\n"), "a dictionary value without a key"},
        {XMLFile("<dict><key>k</key></dict>\n"), "a key without a value"},
        {XMLFile("<dict/><dict/>\n"), "more than one value"},
        {XMLFile("<dict><key>k</key><string>a<key>x</key></string></dict>\n"), "inside a value"},
        {"<dict/>\n", "root element is not <plist>"},
        {XMLFile("<dict><key>k</key><integer>18446744073709551616</integer></dict>\n"), "at most 64 bits"},
        {XMLFile("<dict><key>k</key><integer>12abc</integer></dict>\n"), "not an integer"},
        {XMLFile("<dict><key>k</key><real>1.5x</real></dict>\n"), "not a number"},
        {XMLFile("<dict><key>k</key><data>AB!=</data></dict>\n"), "not base64"},
        {XMLFile("<dict><key>k</key><date>2020-01-01T00:00:00Z</date></dict>\n"), "unsupported value of type date"},
    };
    for (const auto& [bytes, expected] : cases) {
        std::string fault;
        EXPECT_FALSE(Read(bytes, &fault)) << bytes;
        EXPECT_NE(fault.find(expected), std::string::npos) << bytes << ": " << fault;
    }
}

TEST(PropertyListReaders, XMLValuesKeepTheirSpellingAndComeBackEqual) {
    // Each value as the writer spells it; read back, it is the same value.
    const std::vector<std::pair<std::string, std::string>> spellings = {
        {"<real>0.0</real>", "<real>-0.0</real>"},
        {"<real>0.10000000000000001</real>", "<real>0.1</real>"},
        {"<real>-3</real>", "<real>-3.0</real>"},
        {"<real>+infinity</real>", "<real>inf</real>"},
        {"<real>-infinity</real>", "<real>-infinity</real>"},
        {"<real>1e+21</real>", "<real>1E21</real>"},
        {"<integer>-1</integer>", "<integer>18446744073709551615</integer>"},
        {"<integer>255</integer>", "<integer>0xff</integer>"},
        {"<string>a&amp;b&lt;c&gt;\"'&#13;\n\t\xC3\xA9</string>",
         "<string>a&amp;b&lt;c>\"'&#13;\n\t\xC3\xA9</string>"},
        {"<string></string>", "<string/>"},
        {"<data>\n\tAAEC/w==\n\t</data>", "<data>AAEC\n/w==</data>"},
    };
    for (const auto& [written, read] : spellings) {
        std::string fault, bytes;
        auto tree = Read(XMLFile("<dict>\n\t<key>k</key>\n\t" + read + "\n</dict>\n"), &fault);
        ASSERT_TRUE(tree) << read << ": " << fault;
        ASSERT_TRUE(PropertyListEncodeFileBytes(tree.get(), PropertyListFormat::XML, &bytes, &fault)) << fault;
        EXPECT_EQ(bytes, XMLFile("<dict>\n\t<key>k</key>\n\t" + written + "\n</dict>\n"));
        auto again = Read(bytes, &fault);
        ASSERT_TRUE(again) << fault;
        EXPECT_TRUE(CFEqual(tree.get(), again.get())) << written;
    }
}

TEST(PropertyListReaders, DataLinesNarrowWithTheirIndentationDownToEightTabs) {
    std::vector<UInt8> bytes(60, 0xA5);
    CFRef<CFDataRef> data(CFDataCreate(nullptr, bytes.data(), static_cast<CFIndex>(bytes.size())));
    CFRef<CFTypeRef> value = CFRef<CFTypeRef>::Retain(data.get());
    for (int depth = 1; depth < 10; ++depth) {
        CFRef<CFMutableArrayRef> wrap(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
        CFArrayAppendValue(wrap.get(), value.get());
        if (depth == 9) break;
        value.reset(wrap.release());
    }
    CFRef<CFMutableDictionaryRef> root(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                 &kCFTypeDictionaryValueCallBacks));
    CFDictionarySetValue(root.get(), CFSTR("shallow"), data.get());
    CFDictionarySetValue(root.get(), CFSTR("t"), value.get());
    std::string xml, fault;
    ASSERT_TRUE(PropertyListEncodeFileBytes(root.get(), PropertyListFormat::XML, &xml, &fault));
    // 80 characters of base64: 68 a line one tab deep, 12 a line at eight
    // tabs and deeper (the data sits nine deep here).
    const std::string line = "paWlpaWlpaWlpaWlpaWlpaWlpaWlpaWlpaWlpaWlpaWlpaWlpaWlpaWlpaWlpaWlpaWl";
    EXPECT_NE(xml.find("<key>shallow</key>\n\t<data>\n\t" + line + "\n\tpaWlpaWlpaWl\n\t</data>\n"), std::string::npos)
        << xml;
    std::string tabs(8, '\t');
    EXPECT_NE(xml.find(std::string(9, '\t') + "<data>\n" + tabs + "paWlpaWlpaWl\n"), std::string::npos) << xml;
    EXPECT_NE(xml.find(tabs + "paWlpaWl\n" + std::string(9, '\t') + "</data>\n"), std::string::npos) << xml;
    auto again = Read(xml, &fault);
    ASSERT_TRUE(again) << fault;
    EXPECT_TRUE(CFEqual(again.get(), root.get()));
}
