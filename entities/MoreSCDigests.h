// Digests: plain records from which the entity builders make the entity
// dictionaries of a service or a set. A digest is owned by its caller; a
// builder only reads it and never retains or releases the references in it.
// Zero-fill a digest before setting its fields: every field has a meaning
// at zero (nil, off, none).
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// An IPv4 address, 32 bits in network byte order; 0 means none.
typedef UInt32 MoreSCInetAddress;

struct MoreSCInterfaceDigest {
    CFStringRef deviceName;       // BSD name of the port; required
    CFStringRef hardware;         // "Ethernet", "AirPort" or "Modem"
    CFStringRef hardwareVariant;  // or nil; only with "Modem" hardware
    CFStringRef type;             // "Ethernet" or "PPP"
    CFStringRef subType;          // "PPPSerial", "PPPoE" or nil; only with "PPP"
    CFStringRef userDefinedName;  // port name the user sees; required
};

struct MoreSCEthernetDigest {
    UInt8 macAddress[6];  // in wire order
};

struct MoreSCAirPortDigest {
    UInt8 macAddress[6];          // in wire order
    CFStringRef preferredNetwork;  // or nil
};

struct MoreSCModemDigest {
    CFStringRef connectionScript;  // name of a modem script; required
    Boolean dataCompression;       // also sets error correction
    Boolean speaker;
    Boolean pulseDial;
    Boolean waitForDialTone;
};

// For callers without user choices: compression, speaker and waiting for
// the dial tone on, tone dialling; the caller fills in the script.
extern const MoreSCModemDigest kMoreSCModemDigestDefault;

struct MoreSCIPv4Digest {
    CFStringRef configMethod;  // "BOOTP", "DHCP", "INFORM", "Manual" or "PPP"
    MoreSCInetAddress address;
    MoreSCInetAddress subnetMask;
    MoreSCInetAddress router;
    CFStringRef clientID;  // or nil; only with "DHCP"
};

struct MoreSCDNSDigest {
    UInt32 serverAddressesCount;
    const MoreSCInetAddress* serverAddresses;  // nil only when the count is 0
    UInt32 searchDomainsCount;
    const CFStringRef* searchDomains;  // nil only when the count is 0
};

// For each proxy protocol: enabled, proxy host (or nil), port (0 = none).
struct MoreSCProxiesDigest {
    CFArrayRef exceptionsList;  // or nil
    Boolean FTPPassive;
    Boolean FTPEnable;
    CFStringRef FTPProxy;
    UInt16 FTPPort;
    Boolean GopherEnable;
    CFStringRef GopherProxy;
    UInt16 GopherPort;
    Boolean HTTPEnable;
    CFStringRef HTTPProxy;
    UInt16 HTTPPort;
    Boolean HTTPSEnable;
    CFStringRef HTTPSProxy;
    UInt16 HTTPSPort;
    Boolean RTSPEnable;
    CFStringRef RTSPProxy;
    UInt16 RTSPPort;
    Boolean SOCKSEnable;
    CFStringRef SOCKSProxy;
    UInt16 SOCKSPort;
};

struct MoreSCAppleTalkDigest {
    Boolean active;               // 0: the entity is made inactive
    CFStringRef configMethod;     // must be "Node"
    Boolean nodeAndNetworkValid;  // store networkID and nodeID
    UInt16 networkID;
    UInt8 nodeID;
    CFStringRef defaultZone;  // or nil
};

// PPP connection options; times in seconds.
struct MoreSCPPPOptions {
    Boolean dialOnDemand;
    Boolean idleReminder;
    SInt32 idleReminderTimer;
    Boolean disconnectOnIdle;
    SInt32 disconnectOnIdleTimer;
    Boolean disconnectOnLogout;
    Boolean commRedialEnabled;
    SInt32 commRedialCount;
    SInt32 commRedialInterval;
    Boolean lcpEchoEnabled;
    Boolean ipcpCompressionVJ;
    Boolean commDisplayTerminalWindow;
    Boolean verboseLogging;
};

// The option defaults of Mac OS X 10.1, and of 10.2 and later for PPP
// (dial-up) and PPP over Ethernet.
extern const MoreSCPPPOptions kMoreSCPPPOptionsDefaultTenOne;
extern const MoreSCPPPOptions kMoreSCPPPOptionsDefaultTenTwoAndLater;
extern const MoreSCPPPOptions kMoreSCPPPoEOptionsDefaultTenTwoAndLater;

struct MoreSCPPPDigest {
    Boolean active;  // 0: the entity is made inactive
    CFStringRef userDefinedName;             // or nil
    CFStringRef authName;                    // account name, or nil
    CFStringRef authPassword;                // in clear (stored encoded), or nil
    CFStringRef commRemoteAddress;           // telephone number or address, or nil
    CFStringRef commAlternateRemoteAddress;  // or nil
    const MoreSCPPPOptions* options;  // nil: this system's defaults
};
