#include <gtest/gtest.h>

#include "platform/PlatformTestHelpers.h"
#include "support/CFText.h"
#include "support/RegistrySnapshot.h"

namespace {

// The BSD name property as text.
std::string BSDName(io_object_t entry) {
    return Text(CFRef<CFTypeRef>(IORegistryEntryCreateCFProperty(entry, CFSTR(kIOBSDNameKey), nullptr, 0)).get());
}

std::string ClassOf(io_object_t entry) {
    io_name_t className = "";
    IOObjectGetClass(entry, className);
    return className;
}

using Strings = std::vector<std::string>;

}  // namespace

TEST(RegistrySnapshot, QueriesMatchByClassTreeAndPropertiesInDepthFirstOrder) {
    for (PropertyListFormat format : {PropertyListFormat::XML, PropertyListFormat::Binary}) {
        TempRoot root;
        RegistrySnapshot registry;
        registry.AddBuiltInEthernet("en0");
        // Straight under the root, yet after en0's deeper entries.
        registry.root().Add("IOEthernetInterface").String("BSD Name", "en2");
        registry.AddAirPort("en1");
        registry.AddInternalModem();
        registry.AddSerialPort("IORS232SerialStream", "printer", "printer");
        registry.root().Add("AppleMysteryDevice");
        registry.Install(root, format);

        Services ethernet(kIOEthernetInterfaceClass);
        ASSERT_EQ(3u, ethernet.size());
        EXPECT_EQ((Strings{"en0", "en2", "en1"}), ethernet.Each(BSDName, 3));
        EXPECT_TRUE(IOObjectConformsTo(ethernet[2], "IONetworkInterface"));
        EXPECT_FALSE(IOObjectConformsTo(ethernet[2], "IOEthernetController"));

        CFMutableDictionaryRef modems = IOServiceMatching(kIOSerialBSDServiceValue);
        CFDictionarySetValue(modems, CFSTR(kIOSerialBSDTypeKey), CFSTR(kIOSerialBSDModemType));
        Services modem(modems);
        ASSERT_EQ(1u, modem.size());
        EXPECT_EQ("modem", Text(CFRef<CFTypeRef>(IORegistryEntryCreateCFProperty(modem[0], CFSTR(kIOTTYBaseNameKey), nullptr, 0)).get()));

        CFMutableDictionaryRef byName = IOServiceMatching("IOService");
        CFDictionarySetValue(byName, CFSTR(kIOPropertyMatchKey), DictOf(CFSTR(kIOBSDNameKey), CFSTR("en1")).get());
        EXPECT_EQ(1u, Services(byName).size());

        // A class the tree does not know is a service, and the root is none.
        Services mystery("AppleMysteryDevice");
        ASSERT_EQ(1u, mystery.size());
        EXPECT_TRUE(IOObjectConformsTo(mystery[0], "IOService"));
        EXPECT_FALSE(IOObjectConformsTo(mystery[0], kIOEthernetInterfaceClass));
        Services all("OSObject");
        ASSERT_EQ(14u, all.size());
        EXPECT_EQ((Strings{"IOPCIDevice", "BCM5701Enet", "IOEthernetInterface", "IOEthernetInterface"}), all.Each(ClassOf, 4));

        // A changed snapshot is read again.
        registry.AddBuiltInEthernet("en3");
        registry.Install(root, format);
        EXPECT_EQ(4u, Services(kIOEthernetInterfaceClass).size());
    }
}

TEST(RegistrySnapshot, EntriesGiveCopiesOfTheirPropertiesAndTheirParents) {
    TempRoot root;
    RegistrySnapshot registry;
    registry.AddBuiltInEthernet("en0");
    registry.Install(root);
    Services ethernet(kIOEthernetInterfaceClass);
    ASSERT_EQ(1u, ethernet.size());

    // ioreg's keys about an entry are no properties; a copy is no original.
    CFRef<CFMutableDictionaryRef> properties;
    ASSERT_EQ(kIOReturnSuccess, IORegistryEntryCreateCFProperties(ethernet[0], properties.out(), nullptr, 0));
    EXPECT_EQ(1, CFDictionaryGetCount(properties.get()));
    CFDictionarySetValue(properties.get(), CFSTR(kIOBSDNameKey), CFSTR("changed"));
    EXPECT_EQ("en0", BSDName(ethernet[0]));

    io_object_t controller = 0, device = 0, top = 0, beyond = 0;
    ASSERT_EQ(kIOReturnSuccess, IORegistryEntryGetParentEntry(ethernet[0], kIOServicePlane, &controller));
    CFRef<CFTypeRef> mac(IORegistryEntryCreateCFProperty(controller, CFSTR(kIOMACAddress), nullptr, 0));
    ASSERT_EQ(CFDataGetTypeID(), CFGetTypeID(mac.get()));
    EXPECT_EQ(0x16, CFDataGetBytePtr(static_cast<CFDataRef>(mac.get()))[5]);
    EXPECT_EQ(kIOReturnBadArgument, IORegistryEntryGetParentEntry(controller, "IODeviceTree", &device));
    ASSERT_EQ(kIOReturnSuccess, IORegistryEntryGetParentEntry(controller, kIOServicePlane, &device));
    ASSERT_EQ(kIOReturnSuccess, IORegistryEntryGetParentEntry(device, kIOServicePlane, &top));
    EXPECT_EQ("IORegistryEntry", ClassOf(top));
    EXPECT_EQ(kIOReturnNoDevice, IORegistryEntryGetParentEntry(top, kIOServicePlane, &beyond));

    // An object goes with its last reference, and is then unknown.
    for (io_object_t object : {controller, device, top}) EXPECT_EQ(kIOReturnSuccess, IOObjectRelease(object));
    EXPECT_EQ(kIOReturnBadArgument, IOObjectRelease(controller));
    EXPECT_EQ(nullptr, IORegistryEntryCreateCFProperty(controller, CFSTR(kIOMACAddress), nullptr, 0));
}
