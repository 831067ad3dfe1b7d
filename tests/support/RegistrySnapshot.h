// Builds an I/O registry snapshot shaped as "ioreg -a -l" writes it and
// installs it as the registry (TARNWICK_IOREG) while the object lives:
//
//   RegistrySnapshot registry;
//   registry.AddBuiltInEthernet();  // en0
//   registry.AddAirPort();          // en1
//   registry.AddInternalModem();
//   registry.Install(root);         // a TempRoot
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
        Entry(const std::string& className, const std::string& name) : className_(className), name_(name) {}

        Entry& Add(const std::string& className, const std::string& name = "") {
            children_.push_back(std::make_unique<Entry>(className, name.empty() ? className : name));
            return *children_.back();
        }
        Entry& LastChild() { return *children_.back(); }
        // Sets a property; nil removes it.
        Entry& Set(const char* key, CFTypeRef value) {
            CFRef<CFStringRef> keyString(CFStringCreateWithCString(nullptr, key, kCFStringEncodingUTF8));
            if (value != nullptr) CFDictionarySetValue(properties_.get(), keyString.get(), value);
            else CFDictionaryRemoveValue(properties_.get(), keyString.get());
            return *this;
        }
        Entry& String(const char* key, const std::string& text) {
            CFRef<CFStringRef> value(CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingUTF8));
            return Set(key, value.get());
        }
        Entry& Number(const char* key, long value) {
            return Set(key, CFRef<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberLongType, &value)).get());
        }
        Entry& Data(const char* key, const Bytes& bytes) {
            CFRef<CFDataRef> value(CFDataCreate(nullptr, bytes.data(), static_cast<CFIndex>(bytes.size())));
            return Set(key, value.get());
        }
        // Text as firmware writes it: data ending in a zero byte.
        Entry& FirmwareText(const char* key, const std::string& text) {
            return Data(key, Bytes(text.c_str(), text.c_str() + text.size() + 1));
        }

        // The entry as ioreg writes it: properties, ioreg's keys about the
        // entry, and the children.
        CFRef<CFMutableDictionaryRef> ToDictionary() const {
            CFRef<CFMutableDictionaryRef> dict(CFDictionaryCreateMutableCopy(nullptr, 0, properties_.get()));
            CFRef<CFStringRef> className(CFStringCreateWithCString(nullptr, className_.c_str(), kCFStringEncodingUTF8));
            CFRef<CFStringRef> name(CFStringCreateWithCString(nullptr, name_.c_str(), kCFStringEncodingUTF8));
            CFDictionarySetValue(dict.get(), CFSTR("IOObjectClass"), className.get());
            CFDictionarySetValue(dict.get(), CFSTR("IORegistryEntryName"), name.get());
            if (children_.empty()) return dict;
            CFRef<CFMutableArrayRef> children(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
            for (const auto& child : children_) CFArrayAppendValue(children.get(), child->ToDictionary().get());
            CFDictionarySetValue(dict.get(), CFSTR("IORegistryEntryChildren"), children.get());
            return dict;
        }

    private:
        std::string className_, name_;
        CFRef<CFMutableDictionaryRef> properties_{
            CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks)};
        std::vector<std::unique_ptr<Entry>> children_;
    };

    ~RegistrySnapshot() {
        if (installed_) ::unsetenv("TARNWICK_IOREG");
    }

    Entry& root() { return root_; }

    // An Ethernet port: a bus device named deviceName, a controller with
    // the MAC address, the interface. Returns the interface.
    Entry& AddEthernet(const std::string& deviceClass, const std::string& deviceName,
                       const std::string& controllerClass, const std::string& interfaceClass,
                       const std::string& bsdName, const Bytes& mac) {
        Entry& device = root_.Add(deviceClass, deviceName).FirmwareText("name", deviceName);
        return device.Add(controllerClass).String("IOClass", controllerClass).String("IOProviderClass", deviceClass)
            .Data("IOMACAddress", mac).Add(interfaceClass).String("BSD Name", bsdName);
    }
    Entry& AddBuiltInEthernet(const std::string& bsdName = "en0") {
        return AddEthernet("IOPCIDevice", "ethernet", "BCM5701Enet", "IOEthernetInterface", bsdName,
                           {0, 0x0a, 0x95, 0x9d, 0x68, 0x16});
    }
    Entry& AddAirPort(const std::string& bsdName = "en1") {
        return AddEthernet("IOPCIDevice", "radio", "AirPortDriver", "IO80211Interface", bsdName,
                           {0, 0x30, 0x65, 1, 2, 3});
    }
    // A card in a PCI slot; childIndex < 0 leaves out "IOChildIndex".
    Entry& AddPCIEthernet(const std::string& bsdName, const std::string& slotName, long childIndex = -1) {
        Entry& port = AddEthernet("IOPCIDevice", "ethernet", "IntelEthernet", "IOEthernetInterface", bsdName,
                                  {0, 0x1b, 0x21, 0, 0, 1});
        Entry& device = root_.LastChild();
        if (!slotName.empty()) device.FirmwareText("AAPL,slot-name", slotName);
        if (childIndex >= 0) device.Number("IOChildIndex", childIndex);
        return port;
    }

    // A serial port: a driver and its BSD client. Returns the client.
    Entry& AddSerialPort(const std::string& clientType, const std::string& baseName, const std::string& device,
                         const std::string& driverClass = "IOSerialStreamSync") {
        return root_.Add("IOPlatformDevice", "serial").Add(driverClass).Add("IOSerialBSDClient")
            .String("IOSerialBSDClientType", clientType).String("IOTTYBaseName", baseName)
            .String("IOTTYDevice", device);
    }
    Entry& AddInternalModem() { return AddSerialPort("IOModemSerialStream", "modem", "modem"); }
    Entry& AddUSBModem(const std::string& productName, const std::string& device = "usbmodem1411") {
        Entry& port = AddSerialPort("IOModemSerialStream", "usbmodem", device, "AppleUSBCDCACMData");
        if (!productName.empty()) root_.LastChild().LastChild().String("Product Name", productName);
        return port;
    }

    // Writes the snapshot under root and makes it the registry.
    std::string Install(const TempRoot& root, PropertyListFormat format = PropertyListFormat::XML) {
        std::string bytes, fault;
        PropertyListEncodeFileBytes(root_.ToDictionary().get(), format, &bytes, &fault);
        std::string path = root.write("/registry.plist", bytes).string();
        ::setenv("TARNWICK_IOREG", path.c_str(), 1);
        installed_ = true;
        return path;
    }

private:
    Entry root_{"IORegistryEntry", "Root"};
    bool installed_ = false;
};
