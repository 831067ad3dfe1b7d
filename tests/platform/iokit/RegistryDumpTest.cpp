// The three forms of registry dump: real Macs read alike in each, the text
// form's values, classes taken from what entries publish, ports left out
// for want of their names, and hostile dumps refused in one line.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "platform/corefoundation/PropertyListFile.h"
#include "platform/iokit/IOKitLib.h"
#include "platform/iokit/IORegistry.h"
#include "platform/PlatformTestHelpers.h"
#include "support/BinaryPlist.h"
#include "support/StderrCapture.h"
#include "support/TempRoot.h"

namespace {

std::shared_ptr<IORegistry> ReadDump(const std::string& bytes, std::string* fault = nullptr,
                                     IORegistryNotes* notes = nullptr) {
    std::string ignored;
    IORegistryNotes unused;
    return IORegistryCreateFromDump(bytes, fault ? fault : &ignored, notes ? notes : &unused);
}

std::shared_ptr<IORegistry> ReadRealMac(const std::string& file) {
    std::string fault;
    auto registry = ReadDump(TempRoot::ReadFile(std::string(TARNWICK_REGISTRIES_DIR) + "/" + file), &fault);
    EXPECT_TRUE(registry) << file << ": " << fault;
    return registry;
}

// The registry as text, an entry a line: depth, class, name, what it
// conforms to (Ethernet interface, Ethernet controller, serial port) and
// its properties.
std::string Describe(const IORegistry& registry) {
    std::string text;
    for (std::size_t index : registry.DepthFirstOrder()) {
        const IORegistryEntry& entry = registry.entry(index);
        CFRef<CFStringRef> properties(CFCopyDescription(entry.properties.get()));
        std::vector<char> buffer(static_cast<std::size_t>(CFStringGetLength(properties.get())) * 4 + 1);
        CFStringGetCString(properties.get(), buffer.data(), CFIndex(buffer.size()), kCFStringEncodingUTF8);
        text += registry.PathOf(index) + " " + entry.className + " " +
                std::to_string(registry.ConformsTo(index, "IOEthernetInterface")) +
                std::to_string(registry.ConformsTo(index, "IOEthernetController")) +
                std::to_string(registry.ConformsTo(index, "IOSerialBSDClient")) + std::to_string(entry.matchable) +
                "\n" + buffer.data() + "\n";
    }
    return text;
}

// An entry in the text of ioreg -l at depth, with property lines.
std::string TextEntry(int depth, const std::string& name, const std::string& className,
                      const std::vector<std::string>& properties) {
    std::string lead(static_cast<std::size_t>(2 * depth), ' ');
    std::string text = lead + "+-o " + name + "  <class " + className + ", id 0x100000100, registered>\n";
    text += lead + "  {\n";
    for (const std::string& property : properties) text += lead + "    " + property + "\n";
    return text + lead + "  }\n" + lead + "  \n";
}
const std::string kRoot = TextEntry(0, "Root", "IORegistryEntry", {});
// The root entry of a dump as "ioreg -a" writes it, left open for more keys.
const std::string kPlistRoot = "<plist version=\"1.0\"><dict><key>IOObjectClass</key><string>IORegistryEntry</string>";

}  // namespace

TEST(RegistryDump, EachRealMacReadsAlikeInItsTwoForms) {
    const std::pair<const char*, const char*> machines[] = {
        {"PowerMac6,1-ioreg-l.txt", "PowerMac6,1-ioreg-a.plist"},
        {"MacPro5,1-ioreg-lw0.txt", "MacPro5,1-ioreg-a.plist"},
        {"iMac14,2.ioreg", "iMac14,2-ioreg-a.plist"},
    };
    for (const auto& [original, converted] : machines) {
        auto first = ReadRealMac(original), second = ReadRealMac(converted);
        ASSERT_TRUE(first && second);
        EXPECT_EQ(Describe(*second), Describe(*first)) << original;
    }
    // The save file's classes come with their lineage; the others' by the
    // class tree and what the entries publish.
    auto iMac = ReadRealMac("iMac14,2.ioreg");
    std::string lines = Describe(*iMac);
    EXPECT_NE(std::string::npos, lines.find("/en1 AirPort_Brcm4360_Interface 1001\n"));
    EXPECT_NE(std::string::npos, lines.find("/AppleThunderboltIPPort AppleThunderboltIPPort 0101\n"));
    EXPECT_NE(std::string::npos, lines.find("AirPort_Brcm4360_P2PInterface 0001\n"));
}

TEST(RegistryDump, TheTextFormReadsEveryKindOfValueAndNotesCutLines) {
    // As copied from a terminal, the command first.
    std::string text = "$ ioreg -lw0\n" + kRoot + TextEntry(1, "en0@0", "IOEthernetInterface",
                                         {R"("string" = "say "hi" ")", R"("numbers" = (0,18446744073709551615,0x1f,-5))",
                                          R"("flags" = {"on"=Yes,"off"=No})", R"("hex" = <0a0B>)",
                                          R"("texts" = <"ab","c">)", R"("empty" = (<>,(),{}))",
                                          R"("nested" = ({"k"=({"deep"="x"})}))", "\"lines\" = \"first\r\n\nthird\"",
                                          R"("cut" = <0a0b)", R"("cut too" = {"a"=1,)", R"("BSD Name" = "en0")"});
    IORegistryNotes notes;
    std::string fault;
    auto registry = ReadDump(text, &fault, &notes);
    ASSERT_TRUE(registry) << fault;
    ASSERT_EQ(2u, registry->size());
    const char expected[] = R"(<plist version="1.0"><dict><key>string</key><string>say "hi" </string>
        <key>numbers</key><array><integer>0</integer><integer>-1</integer><integer>31</integer><integer>-5</integer></array>
        <key>flags</key><dict><key>on</key><true/><key>off</key><false/></dict><key>hex</key><data>Cgs=</data>
        <key>texts</key><data>YWIAYwA=</data><key>empty</key><array><data></data><array/><dict/></array>
        <key>nested</key><array><dict><key>k</key><array><dict><key>deep</key><string>x</string></dict></array></dict></array>
        <key>lines</key><string>first

third</string>
        <key>BSD Name</key><string>en0</string></dict></plist>)";
    PropertyListFormat format;
    CFRef<CFMutableDictionaryRef> wanted(PropertyListCreateFromFileBytes(expected, &format, &fault));
    ASSERT_TRUE(wanted) << fault;
    EXPECT_TRUE(CFEqual(wanted.get(), registry->entry(1).properties.get())) << Describe(*registry);
    EXPECT_EQ("en0@0", registry->entry(1).name);
    ASSERT_EQ(1u, notes.size());
    EXPECT_EQ(0u, notes[0].find("2 property lines are cut short")) << notes[0];
}

namespace {

// A save file of IORegistryExplorer written as an XML keyed archive: its
// objects by number, a reference as {"CF$UID": number}.
class SaveFile {
public:
    int Add(const std::string& xml) { objects_.push_back(xml); return static_cast<int>(objects_.size() - 1); }
    void Replace(int at, const std::string& xml) { objects_[static_cast<std::size_t>(at)] = xml; }
    static std::string Ref(int number) { return "<dict><key>CF$UID</key><integer>" + std::to_string(number) + "</integer></dict>"; }
    int String(const std::string& text) { return Add("<string>" + text + "</string>"); }
    int Array(const std::vector<int>& elements) {
        std::string refs;
        for (int element : elements) refs += Ref(element);
        return Add("<dict><key>NS.objects</key><array>" + refs + "</array></dict>");
    }
    int ServicePlane(int value) {
        return Add("<dict><key>NS.keys</key><array>" + Ref(String("IOService")) + "</array><key>NS.objects</key><array>" +
                   Ref(value) + "</array></dict>");
    }
    // An entry of the given classes (its own first) with the bytes of its
    // properties and its children in the "IOService" plane.
    std::string Entry(const std::vector<std::string>& classes, const std::string& properties,
                      const std::vector<int>& children, bool root = false) {
        std::vector<int> names;
        for (const std::string& name : classes) names.push_back(String(name));
        return "<dict><key>inheritance</key>" + Ref(Array(names)) + "<key>name</key>" + Ref(String(classes[0])) +
               "<key>properties</key><data>" + Base64(properties) + "</data><key>childrenInPlanes</key>" +
               Ref(ServicePlane(Array(children))) + "<key>isRegistryRoot</key>" + (root ? "<true/>" : "<false/>") +
               "</dict>";
    }
    int AddEntry(const std::vector<std::string>& classes, const std::vector<int>& children = {}) {
        return Add(Entry(classes, kNoProperties, children));
    }
    // The file whose data store lists these entries.
    std::string File(const std::vector<int>& entries) {
        int store = Add("<dict><key>registryEntries</key>" + Ref(Array(entries)) + "</dict>");
        std::string text = "<plist version=\"1.0\"><dict><key>$archiver</key><string>NSKeyedArchiver</string>"
                           "<key>$top</key><dict><key>root</key>" + Ref(store) + "</dict><key>$objects</key><array>";
        for (const std::string& object : objects_) text += object;
        return text + "</array></dict></plist>";
    }

    static constexpr const char* kNoProperties = "<plist version=\"1.0\"><dict/></plist>";

private:
    // The bytes in base64, as the property-list writer spells data.
    static std::string Base64(const std::string& bytes) {
        CFRef<CFDataRef> data(CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()), CFIndex(bytes.size())));
        std::string xml, fault;
        EXPECT_TRUE(PropertyListEncodeFileBytes(DictOf(CFSTR("k"), data.get()).get(), PropertyListFormat::XML, &xml, &fault));
        return xml.substr(xml.find("<data>") + 6, xml.find("</data>") - xml.find("<data>") - 6);
    }
    std::vector<std::string> objects_{"<string>$null</string>"};
};

const std::vector<std::string> kServiceClasses = {"AcmeDevice", "IOService", "IORegistryEntry", "OSObject"};

// A save file whose root holds one entry, itself holding what child makes.
std::string SaveFileWith(const std::function<std::vector<int>(SaveFile&)>& children) {
    SaveFile file;
    int root = file.Add("");
    file.Replace(root, file.Entry({"IORegistryEntry", "OSObject"}, SaveFile::kNoProperties, children(file), true));
    return file.File({root});
}

}  // namespace

TEST(RegistryDump, ClassesTheTreeDoesNotKnowAreWhatTheirEntriesPublish) {
    const std::string ethernet = R"("IOInterfaceType" = 6)", address = R"("IOMediaAddressLength" = 6)";
    std::string text = kRoot + TextEntry(1, "pci", "IOPCIDevice", {}) + TextEntry(2, "AcmeNIC", "AcmeNIC", {}) +
                       TextEntry(3, "en5", "AcmeNIC_Interface", {ethernet, address, R"("BSD Name" = "en5")"}) +
                       TextEntry(3, "p2p0", "AcmeP2PInterface", {ethernet, R"("BSD Name" = "p2p0")"}) +
                       TextEntry(2, "fw0", "IOFWInterface",
                                 {R"("IOInterfaceType" = 144)", R"("IOMediaAddressLength" = 8)", R"("BSD Name" = "fw0")"}) +
                       TextEntry(1, "AcmeSerial", "AcmeSerialClient",
                                 {R"("IOSerialBSDClientType" = "IORS232SerialStream")", R"("IOTTYBaseName" = "acme")",
                                  R"("IOTTYDevice" = "acme1")"});
    auto registry = ReadDump(text);
    ASSERT_TRUE(registry);
    std::string lines = Describe(*registry);
    for (const char* line : {"/pci/AcmeNIC/en5 AcmeNIC_Interface 1001", "/pci/AcmeNIC AcmeNIC 0101",
                             "/pci/AcmeNIC/p2p0 AcmeP2PInterface 0001", "/pci/fw0 IOFWInterface 0001",
                             "/pci IOPCIDevice 0001", "/AcmeSerial AcmeSerialClient 0011"}) {
        EXPECT_NE(std::string::npos, lines.find(std::string(line) + "\n")) << line << "\n" << lines;
    }

    // A save file's lineage stands as it is, whatever the entry publishes.
    const std::string published = "<plist version=\"1.0\"><dict><key>IOInterfaceType</key><integer>6</integer>"
                                  "<key>IOMediaAddressLength</key><integer>6</integer><key>BSD Name</key>"
                                  "<string>en9</string></dict></plist>";
    registry = ReadDump(SaveFileWith([&](SaveFile& f) {
        return std::vector<int>{
            f.Add(f.Entry({"AcmeTunnel", "IOEthernetInterface", "IONetworkInterface", "IOService"},
                          "<plist version=\"1.0\"><dict><key>BSD Name</key><string>en8</string></dict></plist>", {})),
            f.Add(f.Entry(kServiceClasses, published, {}))};
    }));
    ASSERT_TRUE(registry);
    lines = Describe(*registry);
    EXPECT_NE(std::string::npos, lines.find("/AcmeTunnel AcmeTunnel 1001\n")) << lines;
    EXPECT_NE(std::string::npos, lines.find("/AcmeDevice AcmeDevice 0001\n")) << lines;
}

TEST(RegistryDump, PortsWithoutTheNamesTheyAreUsedByMatchNoQueryAndAreNoted) {
    std::string text = kRoot + TextEntry(1, "en0", "IOEthernetInterface", {R"("BSD Name" = "en0")"}) +
                       TextEntry(1, "en1", "IOEthernetInterface", {R"("BSD Name" = 1)"}) +
                       TextEntry(1, "modem", "IOSerialBSDClient",
                                 {R"("IOSerialBSDClientType" = "IOModemSerialStream")", R"("IOTTYBaseName" = "modem")"});
    TempRoot root;
    std::string path = root.write("/registry.txt", text).string();
    RegistryDumpAt dump(path);
    StderrCapture reports;
    EXPECT_EQ(1u, Services(kIOEthernetInterfaceClass).size());
    EXPECT_EQ(0u, Services(kIOSerialBSDServiceValue).size());
    EXPECT_EQ("IOKit: " + path + ": left out the IOEthernetInterface at IOService:/en1: it has no \"BSD Name\" string\n" +
                  "IOKit: " + path + ": left out the IOSerialBSDClient at IOService:/modem: it has no \"IOTTYDevice\" string\n",
              reports.text());
}

TEST(RegistryDump, HostileDumpsAreRefusedInOneLineNamingTheFault) {
    std::string deepEntries = kRoot;
    for (int depth = 1; depth <= 600; ++depth) deepEntries += TextEntry(depth, "x", "IOService", {});
    const std::string deepValue = "\"k\" = " + std::string(600, '(') + "1" + std::string(600, ')');
    BinaryPlist hugeCount;  // an archive whose objects claim 2^31 elements
    int huge = hugeCount.raw(std::string("\xAF\x12\x7F\xFF\xFF\xFF", 6));
    std::string hugeCountFile = hugeCount.file(hugeCount.dict({hugeCount.ascii("$archiver"), hugeCount.ascii("$objects")},
                                                              {hugeCount.ascii("NSKeyedArchiver"), huge}));
    struct Row { const char* what; std::function<void(const std::filesystem::path&)> make; kern_return_t status; const char* fault; } rows[] = {
        {"no file", [](auto&) {}, kIOReturnNotReadable, "No such file or directory"},
        {"a FIFO", [](auto& path) { ::mkfifo(path.c_str(), 0644); }, kIOReturnNotReadable, "it is a FIFO"},
        {"/dev/zero", [](auto& path) { std::filesystem::create_symlink("/dev/zero", path); }, kIOReturnNotReadable, "it is a device"},
        {"a file past the limit", [](auto& path) { std::filesystem::resize_file((std::ofstream(path), path), kIORegistryMaxDumpSize + 1); },
         kIOReturnNotReadable, "larger than the limit"},
    };
    const std::pair<std::string, const char*> dumps[] = {
        {"hello", "neither a property list nor the text of ioreg"},
        {"<plist version=\"1.0\"><dict/></plist>", "IOObjectClass"},
        {kPlistRoot + "<key>IORegistryEntryChildren</key><string>x</string></dict></plist>", "not an array"},
        {kPlistRoot + "<key>IORegistryEntryChildren</key><array><string>x</string></array></dict></plist>",
         "not a dictionary"},
        {kRoot + "  +-o en0  <class IOEthernetInterface>\n    {\n      \"BSD Name\" = \"en0\"\n",
         "ends inside the properties of the IOEthernetInterface at IOService:/en0"},
        {deepEntries, "entries nested deeper than 512 levels"},
        {kRoot + TextEntry(1, "x", "IOService", {deepValue}), "values nested too deep"},
        {kRoot + TextEntry(1, "x", "IOService", {"\"k\xff\" = 1"}), "a key that is not UTF-8"},
        {kRoot + TextEntry(1, "x", "IOService", {"\"k\" = \"\xc3\""}), "text that is not UTF-8"},
        {kRoot + TextEntry(1, "x", "IOService", {"\"k\" = @"}), "line 7: a value of no known kind"},
        {kRoot + kRoot, "a second root entry"},
        {SaveFileWith([](SaveFile& f) {
             int self = f.Add("");
             f.Replace(self, f.Entry(kServiceClasses, SaveFile::kNoProperties, {self}));
             return std::vector<int>{self};
         }),
         "an entry that is its own ancestor"},
        {SaveFileWith([](SaveFile&) { return std::vector<int>{999}; }), "a UID past the last object"},
        {SaveFileWith([](SaveFile& f) {
             int inner = f.AddEntry(kServiceClasses);
             for (int level = 0; level < 30; ++level) inner = f.AddEntry(kServiceClasses, {inner, inner});
             return std::vector<int>{inner};
         }),
         "entries shared under so many parents"},
        {SaveFileWith([](SaveFile& f) { return std::vector<int>{f.AddEntry({""})}; }), "an entry without its class"},
        {SaveFileWith([](SaveFile& f) { return std::vector<int>{f.AddEntry({std::string(2000, 'A')})}; }),
         "a name longer than 1024 characters"},
        {SaveFileWith([](SaveFile& f) { return std::vector<int>{f.Add(f.Entry(kServiceClasses, "junk", {}))}; }),
         "an entry's properties: "},
        {hugeCountFile, "runs past the objects"},
        {SaveFile().File({}), "no saved registry"},
    };
    std::vector<Row> all(std::begin(rows), std::end(rows));
    for (const auto& [contents, fault] : dumps) {
        all.push_back({fault, [contents = contents](auto& path) { std::ofstream(path, std::ios::binary) << contents; },
                       kIOReturnError, fault});
    }
    for (const Row& row : all) {
        TempRoot root;
        std::filesystem::path path = root.path() / "registry";
        row.make(path);
        RegistryDumpAt dump(path);
        StderrCapture reports;
        kern_return_t status = kIOReturnSuccess;
        EXPECT_TRUE(Services("IOService", &status).empty());
        const std::string message = reports.text();
        EXPECT_EQ(row.status, status) << row.what;
        EXPECT_EQ(0u, message.find("IOKit: cannot read the registry snapshot " + path.string() + ": ")) << message;
        EXPECT_NE(std::string::npos, message.find(row.fault)) << row.what << ": " << message;
        EXPECT_EQ(message.size() - 1, message.find('\n')) << message;
    }
}
