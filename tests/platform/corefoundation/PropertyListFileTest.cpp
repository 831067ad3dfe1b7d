// Property-list files: every value type keeps its value and XML spelling,
// large and odd trees read back equal, nesting is bounded at the same depth
// in both formats and by the writers, and every broken offset, count,
// reference, cycle and malformed document is refused with a reason instead
// of a crash or half a tree.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/PlatformTestHelpers.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "support/BinaryPlist.h"
#include "support/CFText.h"

namespace {

const std::string kHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

std::string XMLFile(const std::string& body) { return kHeader + body + "</plist>\n"; }

std::string Repeat(const std::string& text, int times) {
    std::string out;
    while (times-- > 0) out += text;
    return out;
}

CFRef<CFMutableDictionaryRef> Read(const std::string& bytes, std::string* fault, PropertyListFormat* format = nullptr) {
    PropertyListFormat ignored;
    return CFRef<CFMutableDictionaryRef>(PropertyListCreateFromFileBytes(bytes, format ? format : &ignored, fault));
}

std::string Write(CFPropertyListRef tree, PropertyListFormat format) {
    std::string bytes, fault;
    EXPECT_TRUE(PropertyListEncodeFileBytes(tree, format, &bytes, &fault)) << fault;
    return bytes;
}

// The tree written in format and read back: equal to it, and read as that format.
CFRef<CFMutableDictionaryRef> RoundTrip(CFDictionaryRef tree, PropertyListFormat format) {
    std::string fault;
    PropertyListFormat read = format == PropertyListFormat::XML ? PropertyListFormat::Binary : PropertyListFormat::XML;
    auto back = Read(Write(tree, format), &fault, &read);
    EXPECT_TRUE(back && read == format && CFEqual(tree, back.get())) << fault;
    return back;
}

// A binary file of one dictionary { "k": value }, the value made by `make`.
std::string BinaryWithValue(const std::function<int(BinaryPlist&)>& make, int refSize = 1) {
    BinaryPlist plist;
    int key = plist.ascii("k");
    int value = make(plist);
    return plist.file(plist.dict({key}, {value}), refSize);
}

// Nested containers: `levels` of them, the outermost a dictionary.
std::string NestedXML(int levels, const std::string& open, const std::string& close) {
    return XMLFile("<dict><key>k</key>" + Repeat(open, levels - 1) + "<string>x</string>" + Repeat(close, levels - 1) +
                   "</dict>");
}

std::string NestedBinary(int levels) {
    return BinaryWithValue(
        [&](BinaryPlist& p) {
            int inner = p.ascii("x");
            for (int i = 1; i < levels; ++i) inner = p.array({inner});
            return inner;
        },
        4);
}

CFRef<CFStringRef> Units(const std::u16string& text) {
    return CFRef<CFStringRef>(CFStringCreateWithCharacters(
        nullptr, reinterpret_cast<const UniChar*>(text.data()), static_cast<CFIndex>(text.size())));
}

}  // namespace

// One dictionary of every value type, read in reverse key order: written as
// XML its keys come sorted by UTF-16 code units and each value in the
// writer's spelling; in both formats it reads back equal, with mutable
// containers (the store changes them in place).
TEST(PropertyListFile, ValuesKeepTypeAndSpellingAndKeysSortByUTF16) {
    // Each value as written, and read in another spelling of the same value.
    const struct { const char* key; std::string written, read; } rows[] = {
        {"B", "<integer>9223372036854775807</integer>", ""},  // "B" sorts before "a"
        {"a", "<integer>-1</integer>", "<integer>18446744073709551615</integer>"},
        {"b", "<integer>255</integer>", "<integer>0xff</integer>"},
        {"data", "<data>\n\tAAEC/w==\n\t</data>", "<data>AAEC\n/w==</data>"},
        {"empty", "<string></string>", "<string/>"},
        {"list", "<array>\n\t\t<string>x &amp; &lt;y&gt;</string>\n\t\t<dict/>\n\t</array>", ""},
        {"min", "<integer>-9223372036854775808</integer>", ""},
        {"off", "<false/>", ""},
        {"on", "<true/>", ""},
        {"r1", "<real>0.0</real>", "<real>-0.0</real>"},
        {"r2", "<real>0.10000000000000001</real>", "<real>0.1</real>"},
        {"r3", "<real>-3</real>", "<real>-3.0</real>"},
        {"r4", "<real>+infinity</real>", "<real>inf</real>"},
        {"r5", "<real>-infinity</real>", ""},
        {"r6", "<real>1e+21</real>", "<real>1E21</real>"},
        {"text", "<string>a&amp;b&lt;c&gt;\"'&#13;\n\t\xC3\xA9</string>", "<string>a&amp;b&lt;c>\"'&#13;\n\t\xC3\xA9</string>"},
        // U+1F600 (a surrogate pair) sorts before U+FF21, though its code
        // point is larger.
        {"\xF0\x9F\x98\x80", "<string>emoji</string>", ""},
        {"\xEF\xBC\xA1", "<string>fullwidth</string>", ""},
    };
    std::string input, expected;
    for (const auto& row : rows) {
        std::string entry = "\t<key>" + std::string(row.key) + "</key>\n\t";
        input = entry + (row.read.empty() ? row.written : row.read) + "\n" + input;
        expected += entry + row.written + "\n";
    }
    std::string fault;
    auto tree = Read(XMLFile("<dict>\n" + input + "</dict>\n"), &fault);
    ASSERT_TRUE(tree) << fault;
    EXPECT_EQ(Write(tree.get(), PropertyListFormat::XML), XMLFile("<dict>\n" + expected + "</dict>\n"));

    for (PropertyListFormat format : {PropertyListFormat::XML, PropertyListFormat::Binary}) {
        auto back = RoundTrip(tree.get(), format);
        ASSERT_TRUE(back);
        auto list = static_cast<CFMutableArrayRef>(const_cast<void*>(CFDictionaryGetValue(back.get(), CFSTR("list"))));
        CFArrayAppendValue(list, CFSTR("more"));
        EXPECT_EQ(CFArrayGetCount(list), 3);
    }
}

TEST(PropertyListFile, LargeBinaryTreesReadBackEqual) {
    // Past 255 and 65,535 objects the references widen; counts of 15 and
    // more, and long strings and data, take an extended length.
    CFRef<CFMutableArrayRef> many(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    for (int i = 0; i < 70000; ++i) {
        CFArrayAppendValue(many.get(), String("item " + std::to_string(i)).get());
        if (i % 1000 == 0) CFArrayAppendValue(many.get(), CFSTR("repeated"));
    }
    auto tree = DictOf(CFSTR("many"), many.get());
    auto wide = NewDict();
    for (SInt64 i = 0, value; i < 300; ++i) {
        value = i * 1000003 - 150000000;
        CFDictionarySetValue(wide.get(), String("k\xC3\xA9y " + std::to_string(i)).get(), CFRef<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberSInt64Type, &value)).get());
    }
    CFDictionarySetValue(tree.get(), CFSTR("a longer key than fifteen characters"), wide.get());
    std::vector<UInt8> blob(70000, 0xA5);
    CFDictionarySetValue(tree.get(), CFSTR("blob"), CFRef<CFDataRef>(CFDataCreate(nullptr, blob.data(), static_cast<CFIndex>(blob.size()))).get());
    RoundTrip(tree.get(), PropertyListFormat::Binary);
}

TEST(PropertyListFile, StringsKeepEveryCharacterInBinaryAndXMLRefusesWhatItCannotCarry) {
    BinaryPlist plist;
    int asciiKey = plist.ascii(std::string("k\0ey", 4)), utf16Key = plist.ascii("wide");
    int ascii = plist.ascii(std::string("keep\0this", 9)), utf16 = plist.utf16(std::u16string(u"A\0", 2));
    std::string fault;
    auto read = Read(plist.file(plist.dict({asciiKey, utf16Key}, {ascii, utf16})), &fault);
    ASSERT_TRUE(read) << fault;
    EXPECT_EQ(CFDictionaryGetCount(read.get()), 2);
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(read.get(), Units(std::u16string(u"k\0ey", 4)).get()), Units(std::u16string(u"keep\0this", 9)).get()));
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(read.get(), CFSTR("wide")), Units(std::u16string(u"A\0", 2)).get()));
    RoundTrip(read.get(), PropertyListFormat::Binary);
    // Text beyond ASCII, Latin-1 included, is stored as UTF-16: one byte a
    // character would be read as another encoding elsewhere.
    EXPECT_NE(Write(DictOf(CFSTR("k"), Units(u"\u00e9").get()).get(), PropertyListFormat::Binary).find(std::string("\x61\x00\xE9", 3)), std::string::npos);

    // XML 1.0 has no way to write U+0000 (nor most control characters).
    for (const std::u16string& text : {std::u16string(u"A\0", 2), std::u16string(u"a\x1b"), std::u16string(u"\xD800")}) {
        std::string written;
        EXPECT_FALSE(PropertyListEncodeFileBytes(DictOf(CFSTR("k"), Units(text).get()).get(), PropertyListFormat::XML, &written, &fault));
        EXPECT_NE(fault.find("which an XML property list cannot carry"), std::string::npos) << fault;
    }
}

TEST(PropertyListFile, NestingIsBoundedAlikeInBothFormatsAndByTheWriters) {
    std::string fault;
    for (int levels : {int(kPropertyListMaxDepth), kPropertyListMaxDepth + 1, 50000}) {
        bool fits = levels <= kPropertyListMaxDepth;
        for (const std::string& bytes : {NestedXML(levels, "<dict><key>k</key>", "</dict>"),
                                         NestedXML(levels, "<array>", "</array>"), NestedBinary(levels)}) {
            SCOPED_TRACE(std::to_string(levels) + " levels, " + bytes.substr(0, 8));
            fault.clear();
            EXPECT_EQ(static_cast<bool>(Read(bytes, &fault)), fits) << fault;
            EXPECT_EQ(fault.find("nested deeper than 512 levels") != std::string::npos, !fits) << fault;
        }
    }
    // A tree one level too deep for the readers is not written either.
    auto tree = Read(NestedXML(kPropertyListMaxDepth, "<array>", "</array>"), &fault);
    ASSERT_TRUE(tree);
    auto deeper = DictOf(CFSTR("k"), tree.get());
    std::string written;
    for (auto format : {PropertyListFormat::XML, PropertyListFormat::Binary}) {
        EXPECT_TRUE(PropertyListEncodeFileBytes(tree.get(), format, &written, &fault)) << fault;
        EXPECT_FALSE(PropertyListEncodeFileBytes(deeper.get(), format, &written, &fault));
    }
}

TEST(PropertyListFile, HostileAndBrokenFilesAreRefusedWithAReason) {
    BinaryPlist good;
    int key = good.ascii("k");
    const std::string valid = good.file(good.dict({key}, {key}));
    auto patched = [&](std::size_t fromEnd, char byte) {
        std::string bytes = valid;
        bytes[bytes.size() - fromEnd] = byte;
        return bytes;
    };
    BinaryPlist numberKey;
    int number = numberKey.raw("\x10\x01");
    int value = numberKey.ascii("v");
    // Broken binary files, then broken XML.
    const std::pair<std::string, const char*> cases[] = {
        {BinaryWithValue([](BinaryPlist& p) {  // an array holding itself
             int self = p.array({});
             p.makeArray(self, {self});
             return self;
         }),
         "contains itself"},
        {BinaryWithValue([](BinaryPlist&) { return 7; }), "past the last object"},  // a reference past the last object
        {BinaryWithValue([](BinaryPlist& p) { return p.raw("\x5F\x12\x00\x01\x00\x00xyz"); }), "past the objects"},  // 65,536 characters claimed
        {numberKey.file(numberKey.dict({number}, {value})), "key is not a string"},  // a key that is a number
        {BinaryWithValue([](BinaryPlist& p) { return p.raw(std::string("\x33\0\0\0\0\0\0\0\0", 9)); }),  // a date
         "unsupported value of type date"},
        {BinaryWithValue([](BinaryPlist& p) { return p.raw("\x80\x01"); }), "unsupported value of type uid"},  // a UID
        // Forty arrays, each holding the next twice: 2^40 values when
        // expanded into a tree.
        {BinaryWithValue([](BinaryPlist& p) {  // shared containers that expand
             int inner = p.ascii("x");
             for (int i = 0; i < 40; ++i) inner = p.array({inner, inner});
             return inner;
         }),
         "expand to more values"},
        {patched(25, 0), "trailer does not fit"},  // a reference size of 0
        {patched(1, '\xF0'), "trailer does not fit"},  // an offset table past the end
        {patched(32 + 8 - 3, '\xF0'), "offset outside the file"},  // an object offset past the objects
        {patched(32 + 1, '\x03'), "offset outside the file"},  // an object offset into the header
        {"bplist00", "too short"},  // the magic alone
        {"", "empty file"},
        {kHeader + "<dict><key>k</key><string>x</string></dict>\n", "malformed"},  // no closing tag
        {XMLFile("<array><string>x</string></array>\n"), "root is not a dictionary"},
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
    std::string fault;
    EXPECT_TRUE(Read(valid, &fault)) << fault;
}

// 80 characters of base64: 68 a line one tab deep, 12 a line at eight tabs
// and deeper (the data sits nine deep here).
TEST(PropertyListFile, DataLinesNarrowWithTheirIndentationDownToEightTabs) {
    const std::string data = "<data>" + Repeat("paWl", 20) + "</data>";
    std::string fault;
    auto tree = Read(XMLFile("<dict><key>shallow</key>" + data + "<key>t</key>" + Repeat("<array>", 8) + data + Repeat("</array>", 8) + "</dict>"), &fault);
    ASSERT_TRUE(tree) << fault;
    std::string xml = Write(tree.get(), PropertyListFormat::XML);
    EXPECT_NE(xml.find("<key>shallow</key>\n\t<data>\n\t" + Repeat("paWl", 17) + "\n\tpaWlpaWlpaWl\n\t</data>\n"), std::string::npos) << xml;
    const std::string eight(8, '\t'), nine(9, '\t');
    EXPECT_NE(xml.find(nine + "<data>\n" + Repeat(eight + "paWlpaWlpaWl\n", 6) + eight + "paWlpaWl\n" + nine + "</data>\n"), std::string::npos) << xml;
    RoundTrip(tree.get(), PropertyListFormat::XML);
}

// The XML writer writes into whatever string it is given, growing it as the
// text needs: a buffer too small by a little or by much, or large already
// and holding old text, gives the same bytes.
TEST(PropertyListFile, XMLIsTheSameWhateverBufferItIsWrittenInto) {
    CFRef<CFMutableArrayRef> items(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    for (int i = 0; i < 30000; ++i) CFArrayAppendValue(items.get(), String("<item> & " + std::to_string(i)).get());
    auto tree = DictOf(CFSTR("items"), items.get());
    const std::string expected = Write(tree.get(), PropertyListFormat::XML);
    ASSERT_GT(expected.size(), std::size_t(1) << 20);
    for (std::size_t room : {std::size_t(0), expected.size() - 1, expected.size() / 3, 3 * expected.size()}) {
        SCOPED_TRACE("room for " + std::to_string(room) + " bytes");
        std::string bytes(room, 'x'), fault;
        ASSERT_TRUE(PropertyListEncodeFileBytes(tree.get(), PropertyListFormat::XML, &bytes, &fault)) << fault;
        EXPECT_TRUE(bytes == expected);
    }
}

