#include <gtest/gtest.h>

#include "platform/iokit/RegistryQuery.h"
#include "support/RegistrySnapshot.h"

namespace {

std::vector<std::string> Properties(const Services& services, const char* key) {
    std::vector<std::string> values;
    for (std::size_t i = 0; i < services.size(); ++i) values.push_back(Property(services[i], key));
    return values;
}

using Texts = std::vector<std::string>;

}  // namespace

TEST(RegistrySnapshot, QueriesMatchByClassTreeAndPropertiesInDepthFirstOrder) {
    for (PropertyListFormat format : {PropertyListFormat::XML, PropertyListFormat::Binary}) {
        TempRoot root;
        RegistrySnapshot registry;
        registry.AddBuiltInEthernet("en0");
        // An interface straight under the root comes after en0's deeper
        // subtree: depth first, not level by level.
        registry.root().Add("IOEthernetInterface").String("BSD Name", "en2");
        registry.AddAirPort("en1");
        registry.AddInternalModem();
        registry.AddSerialPort("IORS232SerialStream", "printer", "printer");
        registry.Install(root, format);

        Services ethernet(kIOEthernetInterfaceClass);
        EXPECT_EQ((Texts{"en0", "en2", "en1"}), Properties(ethernet, kIOBSDNameKey));

        CFMutableDictionaryRef modems = IOServiceMatching(kIOSerialBSDServiceValue);
        CFDictionarySetValue(modems, CFSTR(kIOSerialBSDTypeKey), CFSTR(kIOSerialBSDModemType));
        EXPECT_EQ((Texts{"modem"}), Properties(Services(modems), kIOTTYBaseNameKey));

        CFMutableDictionaryRef byName = IOServiceMatching("IOService");
        CFRef<CFMutableDictionaryRef> wanted(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                       &kCFTypeDictionaryValueCallBacks));
        CFDictionarySetValue(wanted.get(), CFSTR(kIOBSDNameKey), CFSTR("en1"));
        CFDictionarySetValue(byName, CFSTR(kIOPropertyMatchKey), wanted.get());
        Services airPort(byName);
        ASSERT_EQ(1u, airPort.size());
        EXPECT_EQ("IO80211Interface", ClassOf(airPort[0]));

        // Every service, parents before children; the root is an entry but
        // no service.
        Services all("OSObject");
        ASSERT_EQ(13u, all.size());
        EXPECT_EQ((Texts{"IOPCIDevice", "BCM5701Enet", "IOEthernetInterface", "IOEthernetInterface"}),
                  (Texts{ClassOf(all[0]), ClassOf(all[1]), ClassOf(all[2]), ClassOf(all[3])}));
    }
}

TEST(RegistrySnapshot, ClassesConformToTheirAncestorsOnly) {
    TempRoot root;
    RegistrySnapshot registry;
    registry.AddAirPort();
    registry.root().Add("AppleMysteryDevice");
    registry.Install(root);

    Services airPort("IO80211Interface");
    Services mystery("AppleMysteryDevice");
    ASSERT_EQ(1u, airPort.size());
    ASSERT_EQ(1u, mystery.size());
    io_object_t controller = ParentOf(airPort[0]);
    io_object_t device = ParentOf(controller);
    io_object_t rootEntry = ParentOf(device);
    struct Row {
        io_object_t object;
        const char* className;
        bool conforms;
    } rows[] = {
        {airPort[0], "IO80211Interface", true},      {airPort[0], "IOEthernetInterface", true},
        {airPort[0], "IONetworkInterface", true},    {airPort[0], "IOService", true},
        {airPort[0], "OSObject", true},              {airPort[0], "IOEthernetController", false},
        {controller, "IOService", true},             {controller, "IONetworkController", false},
        {mystery[0], "AppleMysteryDevice", true},    {mystery[0], "IORegistryEntry", true},
        {mystery[0], "IOEthernetInterface", false},  {rootEntry, "IOService", false},
        {rootEntry, "IORegistryEntry", true},        {0, "IOService", false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.conforms, IOObjectConformsTo(row.object, row.className) != 0)
            << ClassOf(row.object) << " " << row.className;
    }
    for (io_object_t object : {controller, device, rootEntry}) IOObjectRelease(object);
}

TEST(RegistrySnapshot, EntriesGiveCopiesOfTheirPropertiesAndTheirParents) {
    TempRoot root;
    RegistrySnapshot registry;
    registry.AddBuiltInEthernet("en0", {1, 2, 3, 4, 5, 6});
    registry.Install(root);
    Services ethernet(kIOEthernetInterfaceClass);
    ASSERT_EQ(1u, ethernet.size());

    // ioreg's own keys about an entry are not properties of it.
    CFRef<CFMutableDictionaryRef> properties;
    ASSERT_EQ(kIOReturnSuccess, IORegistryEntryCreateCFProperties(ethernet[0], properties.out(), nullptr, 0));
    EXPECT_EQ(1, CFDictionaryGetCount(properties.get()));
    EXPECT_EQ("en0", Text(CFDictionaryGetValue(properties.get(), CFSTR(kIOBSDNameKey))));
    CFDictionarySetValue(properties.get(), CFSTR(kIOBSDNameKey), CFSTR("changed"));
    EXPECT_EQ("en0", Property(ethernet[0], kIOBSDNameKey));
    EXPECT_EQ("<none>", Property(ethernet[0], "IOObjectClass"));

    io_object_t controller = 0, device = 0, top = 0, beyond = 0;
    ASSERT_EQ(kIOReturnSuccess, IORegistryEntryGetParentEntry(ethernet[0], kIOServicePlane, &controller));
    EXPECT_EQ("<010203040506>", Property(controller, kIOMACAddress));
    EXPECT_EQ(kIOReturnBadArgument, IORegistryEntryGetParentEntry(controller, "IODeviceTree", &device));
    ASSERT_EQ(kIOReturnSuccess, IORegistryEntryGetParentEntry(controller, kIOServicePlane, &device));
    EXPECT_EQ("<\"ethernet\">", Property(device, "name"));
    ASSERT_EQ(kIOReturnSuccess, IORegistryEntryGetParentEntry(device, kIOServicePlane, &top));
    EXPECT_EQ("IORegistryEntry", ClassOf(top));
    EXPECT_EQ(kIOReturnNoDevice, IORegistryEntryGetParentEntry(top, kIOServicePlane, &beyond));

    // An object outlives its iterator and goes with its last reference.
    EXPECT_EQ(kIOReturnSuccess, IOObjectRetain(controller));
    EXPECT_EQ(kIOReturnSuccess, IOObjectRelease(controller));
    EXPECT_EQ("BCM5701Enet", ClassOf(controller));
    for (io_object_t object : {controller, device, top}) EXPECT_EQ(kIOReturnSuccess, IOObjectRelease(object));
    EXPECT_EQ(kIOReturnBadArgument, IOObjectRelease(controller));
    EXPECT_EQ(nullptr, IORegistryEntryCreateCFProperty(controller, CFSTR(kIOMACAddress), nullptr, 0));
}

TEST(RegistrySnapshot, ABrokenSnapshotFailsTheQueryInOneLine) {
    struct Row {
        const char* contents;  // nullptr: no file
        kern_return_t status;
        const char* fault;
    } rows[] = {
        {nullptr, kIOReturnNotReadable, "No such file or directory"},
        {"not a property list", kIOReturnError, ""},
        {"<plist version=\"1.0\"><dict><key>IORegistryEntryName</key><string>Root</string></dict></plist>",
         kIOReturnError, "IOObjectClass"},
        {"<plist version=\"1.0\"><dict><key>IOObjectClass</key><string>IORegistryEntry</string>"
         "<key>IORegistryEntryChildren</key><string>none</string></dict></plist>",
         kIOReturnError, "not an array"},
        {"<plist version=\"1.0\"><dict><key>IOObjectClass</key><string>IORegistryEntry</string>"
         "<key>IORegistryEntryChildren</key><array><string>x</string></array></dict></plist>",
         kIOReturnError, "not a dictionary"},
    };
    for (const Row& row : rows) {
        TempRoot root;
        std::string path = (root.path() / "registry.plist").string();
        if (row.contents != nullptr) root.write("/registry.plist", row.contents);
        ::setenv("TARNWICK_IOREG", path.c_str(), 1);

        kern_return_t status = kIOReturnSuccess;
        testing::internal::CaptureStderr();
        Services services(IOServiceMatching("IOService"), &status);
        std::string message = testing::internal::GetCapturedStderr();
        ::unsetenv("TARNWICK_IOREG");

        EXPECT_EQ(row.status, status) << message;
        EXPECT_EQ(0u, services.size());
        EXPECT_EQ(0u, message.find("IOKit: cannot read the registry snapshot " + path + ": ")) << message;
        EXPECT_NE(std::string::npos, message.find(row.fault)) << message;
        EXPECT_EQ(message.size() - 1, message.find('\n')) << message;
    }
}

TEST(RegistrySnapshot, AChangedSnapshotIsReadAgain) {
    TempRoot root;
    RegistrySnapshot registry;
    registry.AddBuiltInEthernet("en0");
    registry.Install(root);
    EXPECT_EQ(1u, Services(kIOEthernetInterfaceClass).size());
    registry.AddEthernetAdaptor("en1");
    registry.Install(root);
    EXPECT_EQ(2u, Services(kIOEthernetInterfaceClass).size());
}
