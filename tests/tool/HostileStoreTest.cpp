// Hostile store files through the tool: none crashes it, hangs it or is
// read without bound; each is reported in one line naming the file and the
// fault, and left byte for byte as it was. Strings holding U+0000 survive
// a save.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "support/BinaryPlist.h"
#include "tool/ToolHarness.h"

namespace {

const std::vector<std::vector<std::string>> kCommands = {{"-p"}, {"-e"}};

std::string Nested(int levels, const std::string& open, const std::string& close) {
    std::string text = "<dict><key>k</key>";
    for (int i = 1; i < levels; ++i) text += open;
    text += "<string>x</string>";
    for (int i = 1; i < levels; ++i) text += close;
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" + text + "</dict>\n</plist>\n";
}

std::string NestedBinary(int levels) {
    BinaryPlist plist;
    int inner = plist.ascii("x");
    for (int i = 1; i < levels; ++i) inner = plist.array({inner});
    int key = plist.ascii("k");
    return plist.file(plist.dict({key}, {inner}), 4);
}

// A 53-byte binary store: one dictionary whose key holds U+0000.
std::string KeyWithNul() {
    BinaryPlist plist;
    int key = plist.ascii(std::string("a\0bc", 4));
    int value = plist.ascii("v");
    return plist.file(plist.dict({key}, {value}), 1, 1);
}

TEST(HostileStoreTest, UnreadableStoresAreReportedInOneLineAndKept) {
    const std::vector<std::tuple<const char*, std::string, const char*>> files = {
        {"XML dictionaries 50,000 deep", Nested(50000, "<dict><key>k</key>", "</dict>"), "nested deeper than 512 levels"},
        {"XML arrays 50,000 deep", Nested(50000, "<array>", "</array>"), "nested deeper than 512 levels"},
        {"binary arrays 50,000 deep", NestedBinary(50000), "nested deeper than 512 levels"},
        {"XML holding a raw NUL", MakeStore({}).File().replace(60, 0, std::string(1, '\0')), "malformed"},
    };
    for (const auto& [name, bytes, fault] : files) {
        for (const auto& args : kCommands) {
            SCOPED_TRACE(std::string(name) + ", " + args[0]);
            TempRoot root;
            auto file = root.writeStore(bytes);
            const std::string before = Stamp(file, true);
            ToolRun run = RunTool(root, args);
            EXPECT_TRUE(run.exitedWithZero) << run.err;
            EXPECT_EQ(run.out, "");
            std::string first = run.err.substr(0, run.err.find('\n') + 1);
            EXPECT_EQ(first, "SCPreferences: cannot read " + file.string() + ": " + first.substr(first.find(": ", 28) + 2));
            EXPECT_NE(first.find(fault), std::string::npos) << run.err;
            EXPECT_EQ(Stamp(file), before);
        }
    }
}

TEST(HostileStoreTest, StoresThatAreNoRegularFilesNeitherHangNorExhaustMemory) {
    for (const auto& args : kCommands) {
        for (bool fifo : {true, false}) {
            SCOPED_TRACE(args[0] + (fifo ? " on a FIFO" : " on a link to /dev/zero"));
            TempRoot root;
            auto file = root.storePath();
            std::filesystem::create_directories(file.parent_path());
            if (fifo) ASSERT_EQ(::mkfifo(file.c_str(), 0644), 0);
            else std::filesystem::create_symlink("/dev/zero", file);
            ToolRun run = RunTool(root, args);
            EXPECT_TRUE(run.exitedWithZero) << run.err;
            EXPECT_EQ(run.out, "");
            EXPECT_NE(run.err.find(file.string() + ": not a regular file but a " + (fifo ? "FIFO" : "device")),
                      std::string::npos)
                << run.err;
            EXPECT_EQ(std::filesystem::is_fifo(file), fifo);
        }
    }
}

TEST(HostileStoreTest, AKeyHoldingNulIsReadAndTheStoreKept) {
    ASSERT_EQ(KeyWithNul().size(), 53u);
    for (const auto& args : kCommands) {
        SCOPED_TRACE(args[0]);
        TempRoot root;
        auto file = root.writeStore(KeyWithNul());
        const std::string before = Stamp(file, true);
        ToolRun run = RunTool(root, args);
        EXPECT_TRUE(run.exitedWithZero) << run.err;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(Stamp(file), before);
    }
}

TEST(HostileStoreTest, StringsHoldingNulSurviveASave) {
    TempRoot root;
    Node store = MakeStore({{"A", Dict({{"HTTPEnable", Int(1)}, {"HTTPProxy", Str("p")},
                                       {"ProxyAutoConfigURLString", Str("http://w/p.pac")}})}});
    PropertyListFormat format;
    std::string fault, binary;
    CFRef<CFMutableDictionaryRef> tree(PropertyListCreateFromFileBytes(store.File(), &format, &fault));
    ASSERT_TRUE(tree) << fault;
    const UniChar wide[] = {'A', 0};
    CFRef<CFStringRef> ascii(CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>("keep\0this"), 9,
                                                     kCFStringEncodingASCII, false));
    CFRef<CFStringRef> utf16(CFStringCreateWithCharacters(nullptr, wide, 2));
    CFDictionarySetValue(tree.get(), CFSTR("Ascii"), ascii.get());
    CFDictionarySetValue(tree.get(), CFSTR("Wide"), utf16.get());
    ASSERT_TRUE(PropertyListEncodeFileBytes(tree.get(), PropertyListFormat::Binary, &binary, &fault));
    auto file = root.writeStore(binary);

    ToolRun run = RunTool(root, {"-e"});
    EXPECT_EQ(run.out, "OK - Disable Http Proxy - A.\nOK - Enable PAC - A.\n");
    CFRef<CFMutableDictionaryRef> saved(PropertyListCreateFromFileBytes(TempRoot::ReadFile(file), &format, &fault));
    ASSERT_TRUE(saved) << fault;
    EXPECT_EQ(format, PropertyListFormat::Binary);
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(saved.get(), CFSTR("Ascii")), ascii.get()));
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(saved.get(), CFSTR("Wide")), utf16.get()));
    EXPECT_FALSE(CFEqual(saved.get(), tree.get()));  // the proxies did change
}

}  // namespace
