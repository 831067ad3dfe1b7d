// Generates a preferences store with many services, as macOS writes it
// (XML, tab indentation, keys in sorted order), for measuring how the
// library and the tool grow with the size of the store.
//
// One set, current, links every service in order. Every service has an
// Interface, an IPv4 and a Proxies entity with an HTTP proxy switched on and
// a PAC URL switched off; every tenth service is inactive.
#pragma once

#include <cstdio>
#include <string>

class LargeStoreWriter {
public:
    std::string text;

    void open(const char* tag) { line(std::string("<") + tag + ">"); ++depth_; }
    void close(const char* tag) { --depth_; line(std::string("</") + tag + ">"); }
    void key(const std::string& name) { line("<key>" + name + "</key>"); }
    void string(const std::string& value) { line("<string>" + value + "</string>"); }
    void integer(long value) { line("<integer>" + std::to_string(value) + "</integer>"); }

private:
    void line(const std::string& content) {
        text.append(static_cast<std::size_t>(depth_), '\t');
        text += content;
        text += '\n';
    }
    int depth_ = 0;
};

// A service ID in the style of the real stores; lexical order follows index.
inline std::string LargeStoreServiceID(int index) {
    char id[40];
    std::snprintf(id, sizeof id, "%08X-0000-4000-8000-%012X", index, index);
    return id;
}

inline std::string LargeStoreXML(int serviceCount) {
    const std::string setID = "5E7A0000-0000-4000-8000-000000000001";
    LargeStoreWriter w;
    w.text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
             "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
             "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
             "<plist version=\"1.0\">\n";
    w.open("dict");
    w.key("CurrentSet");
    w.string("/Sets/" + setID);
    w.key("NetworkServices");
    w.open("dict");
    for (int i = 0; i < serviceCount; ++i) {
        std::string name = "Ethernet " + std::to_string(i);
        w.key(LargeStoreServiceID(i));
        w.open("dict");
        w.key("IPv4");
        w.open("dict");
        w.key("ConfigMethod");
        w.string("DHCP");
        w.close("dict");
        w.key("Interface");
        w.open("dict");
        w.key("DeviceName");
        w.string("en" + std::to_string(i));
        w.key("Hardware");
        w.string("Ethernet");
        w.key("Type");
        w.string("Ethernet");
        w.key("UserDefinedName");
        w.string(name);
        w.close("dict");
        w.key("Proxies");
        w.open("dict");
        w.key("ExceptionsList");
        w.open("array");
        w.string("*.local");
        w.string("169.254/16");
        w.close("array");
        w.key("FTPPassive");
        w.integer(1);
        w.key("HTTPEnable");
        w.integer(1);
        w.key("HTTPPort");
        w.integer(8080);
        w.key("HTTPProxy");
        w.string("proxy.example.com");
        w.key("ProxyAutoConfigEnable");
        w.integer(0);
        w.key("ProxyAutoConfigURLString");
        w.string("http://wpad.example.com/proxy.pac");
        w.close("dict");
        w.key("UserDefinedName");
        w.string(name);
        if (i % 10 == 9) {
            w.key("__INACTIVE__");
            w.integer(1);
        }
        w.close("dict");
    }
    w.close("dict");
    w.key("Sets");
    w.open("dict");
    w.key(setID);
    w.open("dict");
    w.key("Network");
    w.open("dict");
    w.key("Global");
    w.open("dict");
    w.key("IPv4");
    w.open("dict");
    w.key("PPPOverridePrimary");
    w.integer(0);
    w.key("ServiceOrder");
    w.open("array");
    for (int i = 0; i < serviceCount; ++i) w.string(LargeStoreServiceID(i));
    w.close("array");
    w.close("dict");
    w.close("dict");
    w.key("Service");
    w.open("dict");
    for (int i = 0; i < serviceCount; ++i) {
        w.key(LargeStoreServiceID(i));
        w.open("dict");
        w.key("__LINK__");
        w.string("/NetworkServices/" + LargeStoreServiceID(i));
        w.close("dict");
    }
    w.close("dict");
    w.close("dict");
    w.key("UserDefinedName");
    w.string("Automatic");
    w.close("dict");
    w.close("dict");
    w.close("dict");
    w.text += "</plist>\n";
    return w.text;
}
