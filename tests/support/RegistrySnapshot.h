// Builds an I/O registry snapshot shaped as "ioreg -a -l" writes it and
// installs it as the registry (TARNWICK_IOREG) while the object lives.
//
//   RegistrySnapshot registry;
//   registry.AddBuiltInEthernet();          // en0
//   registry.AddAirPort();                  // en1
//   registry.AddInternalModem();
//   registry.Install(root);                 // under a TempRoot
#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "support/TempRoot.h"

class RegistrySnapshot {
public:
    using Bytes = std::vector<UInt8>;

    class Entry {
    public:
        Entry(std::string className, std::string name)
            : className_(std::move(className)), name_(std::move(name)),
              properties_(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                    &kCFTypeDictionaryValueCallBacks)) {}

        Entry& Add(const std::string& className, const std::string& name = "") {
            children_.push_back(std::make_unique<Entry>(className, name.empty() ? className : name));
            return *children_.back();
        }
        Entry& Set(const char* key, CFTypeRef value) {
            CFRef<CFStringRef> keyString(CFStringCreateWithCString(nullptr, key, kCFStringEncodingUTF8));
            CFDictionarySetValue(properties_.get(), keyString.get(), value);
            return *this;
        }
        Entry& String(const char* key, const std::string& text) {
            return Set(key, CFRef<CFStringRef>(CFStringCreateWithCString(nullptr, text.c_str(),
                                                                         kCFStringEncodingUTF8)).get());
        }
        Entry& Data(const char* key, const Bytes& bytes) {
            return Set(key, CFRef<CFDataRef>(CFDataCreate(nullptr, bytes.data(),
                                                          static_cast<CFIndex>(bytes.size()))).get());
        }
        // Text as firmware writes it: data ending in a zero byte.
        Entry& FirmwareText(const char* key, const std::string& text) {
            Bytes bytes(text.begin(), text.end());
            bytes.push_back(0);
            return Data(key, bytes);
        }
        Entry& Number(const char* key, long value) {
            return Set(key, CFRef<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberLongType, &value)).get());
        }
        Entry& Remove(const char* key) {
            CFRef<CFStringRef> keyString(CFStringCreateWithCString(nullptr, key, kCFStringEncodingUTF8));
            CFDictionaryRemoveValue(properties_.get(), keyString.get());
            return *this;
        }

        // The entry as ioreg writes it: its properties, ioreg's own keys
        // about the entry, and its children.
        CFRef<CFMutableDictionaryRef> ToDictionary(long* nextID) const {
            CFRef<CFMutableDictionaryRef> dict(CFDictionaryCreateMutableCopy(nullptr, 0, properties_.get()));
            CFRef<CFStringRef> className(CFStringCreateWithCString(nullptr, className_.c_str(), kCFStringEncodingUTF8));
            CFRef<CFStringRef> name(CFStringCreateWithCString(nullptr, name_.c_str(), kCFStringEncodingUTF8));
            long id = (*nextID)++;
            CFRef<CFNumberRef> idNumber(CFNumberCreate(nullptr, kCFNumberLongType, &id));
            CFDictionarySetValue(dict.get(), CFSTR("IOObjectClass"), className.get());
            CFDictionarySetValue(dict.get(), CFSTR("IORegistryEntryName"), name.get());
            CFDictionarySetValue(dict.get(), CFSTR("IORegistryEntryID"), idNumber.get());
            if (!children_.empty()) {
                CFRef<CFMutableArrayRef> children(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
                for (const auto& child : children_) CFArrayAppendValue(children.get(), child->ToDictionary(nextID).get());
                CFDictionarySetValue(dict.get(), CFSTR("IORegistryEntryChildren"), children.get());
            }
            return dict;
        }

    private:
        std::string className_;
        std::string name_;
        CFRef<CFMutableDictionaryRef> properties_;
        std::vector<std::unique_ptr<Entry>> children_;
    };

    RegistrySnapshot() : root_("IORegistryEntry", "Root") {}
    ~RegistrySnapshot() {
        if (installed_) ::unsetenv("TARNWICK_IOREG");
    }

    Entry& root() { return root_; }

    // Ethernet ports: a bus device, its controller (with the MAC address)
    // and the interface; each returns the interface.
    Entry& AddBuiltInEthernet(const std::string& bsdName = "en0", const Bytes& mac = {0, 0x0a, 0x95, 0x9d, 0x68, 0x16}) {
        Entry& pci = root_.Add("IOPCIDevice", "ethernet").FirmwareText("name", "ethernet");
        return AddController(pci, "BCM5701Enet", "IOPCIDevice", mac).Add("IOEthernetInterface").String("BSD Name", bsdName);
    }
    Entry& AddAirPort(const std::string& bsdName = "en1", const Bytes& mac = {0, 0x30, 0x65, 1, 2, 3}) {
        Entry& card = root_.Add("IOPCIDevice", "radio").FirmwareText("name", "radio");
        return AddController(card, "AirPortDriver", "IOPCIDevice", mac).Add("IO80211Interface").String("BSD Name", bsdName);
    }
    Entry& AddWirelessAdaptor(const std::string& bsdName, const Bytes& mac = {2, 0, 0, 0, 0, 8}) {
        Entry& card = root_.Add("IOPCIDevice", "radio").FirmwareText("name", "radio");
        return AddController(card, "IO80211Controller", "IOPCIDevice", mac).Add("IO80211Interface").String("BSD Name", bsdName);
    }
    // A card in a PCI slot; childIndex < 0 leaves out "IOChildIndex".
    Entry& AddPCIEthernet(const std::string& bsdName, const std::string& slotName, long childIndex = -1,
                          const Bytes& mac = {0, 0x1b, 0x21, 0, 0, 1}) {
        Entry& pci = root_.Add("IOPCIDevice", "ethernet").FirmwareText("name", "ethernet");
        if (!slotName.empty()) pci.FirmwareText("AAPL,slot-name", slotName);
        if (childIndex >= 0) pci.Number("IOChildIndex", childIndex);
        return AddController(pci, "IntelEthernet", "IOPCIDevice", mac).Add("IOEthernetInterface").String("BSD Name", bsdName);
    }
    // An adaptor on USB.
    Entry& AddEthernetAdaptor(const std::string& bsdName, const Bytes& mac = {2, 0, 0, 0, 0, 9}) {
        Entry& usb = root_.Add("IOUSBHostInterface").FirmwareText("name", "usb-ethernet");
        return AddController(usb, "USBEthernet", "IOUSBHostInterface", mac).Add("IOEthernetInterface").String("BSD Name", bsdName);
    }

    // Serial ports: a driver and its BSD client; each returns the client.
    Entry& AddSerialPort(const std::string& clientType, const std::string& baseName, const std::string& device) {
        Entry& driver = root_.Add("IOPlatformDevice", "serial").Add("IOSerialStreamSync");
        return driver.Add("IOSerialBSDClient")
            .String("IOSerialBSDClientType", clientType)
            .String("IOTTYBaseName", baseName)
            .String("IOTTYDevice", device)
            .String("IOCalloutDevice", "/dev/cu." + device);
    }
    Entry& AddInternalModem() { return AddSerialPort("IOModemSerialStream", "modem", "modem"); }
    Entry& AddUSBModem(const std::string& productName, const std::string& device = "usbmodem1411") {
        Entry& driver = root_.Add("IOUSBHostDevice", "USB Modem").Add("AppleUSBCDCACMData");
        if (!productName.empty()) driver.String("Product Name", productName);
        return driver.Add("IOSerialBSDClient")
            .String("IOSerialBSDClientType", "IOModemSerialStream")
            .String("IOTTYBaseName", "usbmodem")
            .String("IOTTYDevice", device);
    }

    // The snapshot's bytes in the given format.
    std::string Encode(PropertyListFormat format = PropertyListFormat::XML) const {
        long nextID = 0x100000100;
        std::string bytes, fault;
        PropertyListEncodeFileBytes(root_.ToDictionary(&nextID).get(), format, &bytes, &fault);
        return bytes;
    }

    // Writes the snapshot under root and makes it the registry.
    std::string Install(const TempRoot& root, PropertyListFormat format = PropertyListFormat::XML) {
        std::string path = root.write("/registry.plist", Encode(format)).string();
        ::setenv("TARNWICK_IOREG", path.c_str(), 1);
        installed_ = true;
        return path;
    }

private:
    static Entry& AddController(Entry& device, const std::string& className, const std::string& providerClass,
                                const Bytes& mac) {
        return device.Add(className).String("IOClass", className).String("IOProviderClass", providerClass)
            .Data("IOMACAddress", mac);
    }

    Entry root_;
    bool installed_ = false;
};
