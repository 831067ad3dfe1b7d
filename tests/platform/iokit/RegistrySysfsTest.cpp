#include <gtest/gtest.h>

#include "platform/iokit/RegistryQuery.h"
#include "support/FakeSysfs.h"

namespace {

// An entry's lineage up to the bus device, as "class property=value ...".
struct Lineage {
    std::string port, controller, device;
};

Lineage Describe(io_object_t port, std::initializer_list<const char*> portKeys,
                 std::initializer_list<const char*> controllerKeys, std::initializer_list<const char*> deviceKeys) {
    auto describe = [](io_object_t entry, std::initializer_list<const char*> keys) {
        std::string text = ClassOf(entry);
        for (const char* key : keys) text += std::string(" ") + key + "=" + Property(entry, key);
        return text;
    };
    io_object_t controller = ParentOf(port);
    io_object_t device = ParentOf(controller);
    Lineage lineage{describe(port, portKeys), describe(controller, controllerKeys), describe(device, deviceKeys)};
    IOObjectRelease(device);
    IOObjectRelease(controller);
    return lineage;
}

}  // namespace

TEST(SysfsRegistry, EthernetInterfacesWithADeviceBecomeInterfaceControllerAndBusDevice) {
    TempRoot root;
    FakeSysfs sys(root);
    sys.Device("pci0000:00/0000:00:1f.0", "pci");  // a chipset bridge beside the on-board controller
    sys.Device("pci0000:00/0000:00:1f.6", "pci");
    sys.NetInterface("eno1", "pci0000:00/0000:00:1f.6", "00:1B:21:3a:4f:02");
    sys.Device("pci0000:00/0000:00:03.0", "pci");
    sys.Device("pci0000:00/0000:00:03.0/virtio2", "virtio");
    sys.NetInterface("eth0", "pci0000:00/0000:00:03.0/virtio2", "02:fc:00:00:00:01");
    sys.Device("pci0000:00/0000:02:00.0", "pci");  // a two-port card in slot 3
    sys.Device("pci0000:00/0000:02:00.1", "pci");
    sys.PCISlot("3", "0000:02:00");
    sys.NetInterface("enp2s0f0", "pci0000:00/0000:02:00.0", "a0:36:9f:00:00:01");
    sys.NetInterface("enp2s0f1", "pci0000:00/0000:02:00.1", "a0:36:9f:00:00:02");
    sys.Device("pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.0", "usb");
    sys.NetInterface("usb0", "pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.0", "not-an-address");
    sys.Device("pci0000:00/0000:04:00.0", "pci");
    sys.NetInterface("wlan0", "pci0000:00/0000:04:00.0", "5c:e0:c5:00:00:07", "1", true);
    // Not ports: virtual interfaces, and a device that is not Ethernet.
    sys.NetInterface("lo", "", "00:00:00:00:00:00", "772");
    sys.NetInterface("ifb0", "", "4a:09:db:48:bd:27");
    sys.NetInterface("br0", "", "4a:09:db:48:bd:28");
    sys.Device("pci0000:00/0000:05:00.0", "pci");
    sys.NetInterface("ib0", "pci0000:00/0000:05:00.0", "80:00:00:48:fe:80", "32");

    Services ports(kIOEthernetInterfaceClass);
    ASSERT_EQ(6u, ports.size());
    Lineage rows[] = {
        {"IOEthernetInterface BSD Name=eno1", "IOEthernetController IOProviderClass=IOPCIDevice IOMACAddress=<001b213a4f02>",
         "IOPCIDevice name=<\"ethernet\"> AAPL,slot-name=<none> IOChildIndex=<none>"},
        {"IOEthernetInterface BSD Name=enp2s0f0", "IOEthernetController IOProviderClass=IOPCIDevice IOMACAddress=<a0369f000001>",
         "IOPCIDevice name=<\"ethernet\"> AAPL,slot-name=<\"SLOT-3\"> IOChildIndex=0"},
        {"IOEthernetInterface BSD Name=enp2s0f1", "IOEthernetController IOProviderClass=IOPCIDevice IOMACAddress=<a0369f000002>",
         "IOPCIDevice name=<\"ethernet\"> AAPL,slot-name=<\"SLOT-3\"> IOChildIndex=1"},
        {"IOEthernetInterface BSD Name=eth0", "IOEthernetController IOProviderClass=IOPCIDevice IOMACAddress=<02fc00000001>",
         "IOPCIDevice name=<\"ethernet\"> AAPL,slot-name=<none> IOChildIndex=<none>"},
        {"IOEthernetInterface BSD Name=usb0", "IOEthernetController IOProviderClass=IOUSBHostInterface IOMACAddress=<none>",
         "IOUSBHostInterface name=<\"ethernet\"> AAPL,slot-name=<none> IOChildIndex=<none>"},
        {"IO80211Interface BSD Name=wlan0", "IO80211Controller IOProviderClass=IOPCIDevice IOMACAddress=<5ce0c5000007>",
         "IOPCIDevice name=<\"radio\"> AAPL,slot-name=<none> IOChildIndex=<none>"},
    };
    for (std::size_t i = 0; i < ports.size(); ++i) {
        Lineage lineage = Describe(ports[i], {kIOBSDNameKey}, {kIOProviderClassKey, kIOMACAddress},
                                   {"name", "AAPL,slot-name", "IOChildIndex"});
        EXPECT_EQ(rows[i].port, lineage.port);
        EXPECT_EQ(rows[i].controller, lineage.controller);
        EXPECT_EQ(rows[i].device, lineage.device);
    }
}

TEST(SysfsRegistry, SerialPortsWithADeviceBecomeBSDClients) {
    TempRoot root;
    FakeSysfs sys(root);
    sys.Device("pci0000:00/0000:00:14.0/usb1/1-1", "usb");
    sys.Attribute("pci0000:00/0000:00:14.0/usb1/1-1", "product", "U.S.Robotics USB Modem");
    sys.Device("pci0000:00/0000:00:14.0/usb1/1-1/1-1:1.0", "usb");
    sys.Tty("ttyACM0", "pci0000:00/0000:00:14.0/usb1/1-1/1-1:1.0");
    sys.Device("pnp0/00:00", "pnp");
    sys.Tty("ttyS0", "pnp0/00:00", "4");
    sys.Device("platform/serial8250", "platform");
    sys.Tty("ttyS1", "platform/serial8250", "0");  // no UART there
    sys.Device("pci0000:00/0000:00:14.0/usb1/1-3/1-3:1.0", "usb");
    sys.Device("pci0000:00/0000:00:14.0/usb1/1-3/1-3:1.0/ttyUSB0", "usb-serial");
    sys.Tty("ttyUSB0", "pci0000:00/0000:00:14.0/usb1/1-3/1-3:1.0/ttyUSB0");
    sys.Tty("console", "");
    sys.Tty("tty0", "");

    Services ports(kIOSerialBSDServiceValue);
    ASSERT_EQ(3u, ports.size());
    const char* keys[] = {kIOSerialBSDTypeKey, kIOTTYBaseNameKey, kIOTTYSuffixKey, kIOTTYDeviceKey,
                          kIOCalloutDeviceKey};
    Lineage rows[] = {
        {"IOSerialBSDClient IOModemSerialStream usbmodem 0 ttyACM0 /dev/ttyACM0",
         "IOModemSerialStreamSync Product Name=U.S.Robotics USB Modem", "IOUSBHostInterface"},
        {"IOSerialBSDClient IORS232SerialStream ttyS 0 ttyS0 /dev/ttyS0", "IORS232SerialStreamSync Product Name=<none>",
         "IOPlatformDevice"},
        {"IOSerialBSDClient IORS232SerialStream ttyUSB 0 ttyUSB0 /dev/ttyUSB0",
         "IORS232SerialStreamSync Product Name=<none>", "IOUSBHostInterface"},
    };
    for (std::size_t i = 0; i < ports.size(); ++i) {
        Lineage lineage = Describe(ports[i], {}, {"Product Name"}, {});
        for (const char* key : keys) lineage.port.append(" ").append(Property(ports[i], key));
        EXPECT_EQ(rows[i].port, lineage.port);
        EXPECT_EQ(rows[i].controller, lineage.controller);
        EXPECT_EQ(rows[i].device, lineage.device);
    }
}

TEST(SysfsRegistry, NoSysfsMeansNoPorts) {
    TempRoot root;
    kern_return_t status = kIOReturnError;
    Services services(IOServiceMatching("IOService"), &status);
    EXPECT_EQ(kIOReturnSuccess, status);
    EXPECT_EQ(0u, services.size());
}
