// Builds a sysfs tree under a TempRoot, laid out as the kernel lays it out:
// devices under /sys/devices with a "subsystem" link to their bus, network
// interfaces and terminals under the device that carries them, and
// /sys/class links to them.
//
//   FakeSysfs sys(root);
//   sys.Device("pci0000:00/0000:00:19.0", "pci");
//   sys.NetInterface("eth0", "pci0000:00/0000:00:19.0", "00:1b:21:3a:4f:02");
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include "support/TempRoot.h"

class FakeSysfs {
public:
    explicit FakeSysfs(const TempRoot& root) : sys_(root.path() / "sys") {}

    // A device at /sys/devices/<path> on a bus ("pci", "usb", "virtio",
    // "platform", ...). A PCI device is also listed under /sys/bus/pci/devices.
    void Device(const std::string& path, const std::string& subsystem) {
        std::filesystem::path dir = sys_ / "devices" / path;
        std::filesystem::create_directories(dir);
        std::filesystem::create_directories(sys_ / "bus" / subsystem / "devices");
        Link(sys_ / "bus" / subsystem, dir / "subsystem");
        Link(dir, sys_ / "bus" / subsystem / "devices" / dir.filename());
    }

    // A network interface; devicePath empty makes it virtual (no device
    // behind it).
    void NetInterface(const std::string& name, const std::string& devicePath, const std::string& address,
                      const std::string& type = "1", bool wireless = false) {
        std::filesystem::path dir = Owner(devicePath) / "net" / name;
        std::filesystem::create_directories(dir);
        if (!devicePath.empty()) Link(sys_ / "devices" / devicePath, dir / "device");
        if (wireless) std::filesystem::create_directories(dir / "wireless");
        Write(dir / "type", type);
        Write(dir / "address", address);
        Link(dir, sys_ / "class/net" / name);
    }

    // A terminal; devicePath empty makes it virtual. type is the UART type
    // attribute (left out when empty).
    void Tty(const std::string& name, const std::string& devicePath, const std::string& type = "") {
        std::filesystem::path dir = Owner(devicePath) / "tty" / name;
        std::filesystem::create_directories(dir);
        if (!devicePath.empty()) Link(sys_ / "devices" / devicePath, dir / "device");
        if (!type.empty()) Write(dir / "type", type);
        Link(dir, sys_ / "class/tty" / name);
    }

    // A PCI slot holding the device at address ("0000:02:00").
    void PCISlot(const std::string& slot, const std::string& address) {
        Write(sys_ / "bus/pci/slots" / slot / "address", address);
    }

    // An attribute file of a device.
    void Attribute(const std::string& devicePath, const std::string& name, const std::string& value) {
        Write(sys_ / "devices" / devicePath / name, value);
    }

private:
    std::filesystem::path Owner(const std::string& devicePath) const {
        return sys_ / "devices" / (devicePath.empty() ? std::string("virtual") : devicePath);
    }

    // A relative link, as sysfs has them, so that it stays inside the root.
    static void Link(const std::filesystem::path& target, const std::filesystem::path& link) {
        std::filesystem::create_directories(link.parent_path());
        std::filesystem::create_directory_symlink(std::filesystem::relative(target, link.parent_path()), link);
    }

    static void Write(const std::filesystem::path& file, const std::string& value) {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << value << "\n";
    }

    std::filesystem::path sys_;
};
