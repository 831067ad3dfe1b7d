// Keys and values of the network preferences store, with SystemConfiguration's
// names. Each is a constant string.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// Reserved keys
#define kSCResvLink CFSTR("__LINK__")
#define kSCResvInactive CFSTR("__INACTIVE__")

// Top level
#define kSCPrefCurrentSet CFSTR("CurrentSet")
#define kSCPrefNetworkServices CFSTR("NetworkServices")
#define kSCPrefSets CFSTR("Sets")
#define kSCPrefSystem CFSTR("System")

// Components
#define kSCCompNetwork CFSTR("Network")
#define kSCCompService CFSTR("Service")
#define kSCCompGlobal CFSTR("Global")
#define kSCCompInterface CFSTR("Interface")

// Generic properties
#define kSCPropUserDefinedName CFSTR("UserDefinedName")

// Entities
#define kSCEntNetAirPort CFSTR("AirPort")
#define kSCEntNetAppleTalk CFSTR("AppleTalk")
#define kSCEntNetDHCP CFSTR("DHCP")
#define kSCEntNetDNS CFSTR("DNS")
#define kSCEntNetEthernet CFSTR("Ethernet")
#define kSCEntNetInterface CFSTR("Interface")
#define kSCEntNetIPv4 CFSTR("IPv4")
#define kSCEntNetIPv6 CFSTR("IPv6")
#define kSCEntNetLink CFSTR("Link")
#define kSCEntNetModem CFSTR("Modem")
#define kSCEntNetNetInfo CFSTR("NetInfo")
#define kSCEntNetPPP CFSTR("PPP")
#define kSCEntNetPPPoE CFSTR("PPPoE")
#define kSCEntNetProxies CFSTR("Proxies")

// IPv4
#define kSCPropNetServiceOrder CFSTR("ServiceOrder")
#define kSCPropNetPPPOverridePrimary CFSTR("PPPOverridePrimary")
#define kSCPropNetIPv4Addresses CFSTR("Addresses")
#define kSCPropNetIPv4ConfigMethod CFSTR("ConfigMethod")
#define kSCPropNetIPv4DHCPClientID CFSTR("DHCPClientID")
#define kSCPropNetIPv4Router CFSTR("Router")
#define kSCPropNetIPv4SubnetMasks CFSTR("SubnetMasks")
#define kSCValNetIPv4ConfigMethodBOOTP CFSTR("BOOTP")
#define kSCValNetIPv4ConfigMethodDHCP CFSTR("DHCP")
#define kSCValNetIPv4ConfigMethodINFORM CFSTR("INFORM")
#define kSCValNetIPv4ConfigMethodManual CFSTR("Manual")
#define kSCValNetIPv4ConfigMethodPPP CFSTR("PPP")

// Interface
#define kSCPropNetInterfaceDeviceName CFSTR("DeviceName")
#define kSCPropNetInterfaceHardware CFSTR("Hardware")
#define kSCPropNetInterfaceHardwareVariant CFSTR("HardwareVariant")
#define kSCPropNetInterfaceType CFSTR("Type")
#define kSCPropNetInterfaceSubType CFSTR("SubType")
#define kSCValNetInterfaceTypeEthernet CFSTR("Ethernet")
#define kSCValNetInterfaceTypePPP CFSTR("PPP")
#define kSCValNetInterfaceSubTypePPPSerial CFSTR("PPPSerial")
#define kSCValNetInterfaceSubTypePPPoE CFSTR("PPPoE")

// Proxies
#define kSCPropNetProxiesExceptionsList CFSTR("ExceptionsList")
#define kSCPropNetProxiesFTPEnable CFSTR("FTPEnable")
#define kSCPropNetProxiesFTPPassive CFSTR("FTPPassive")
#define kSCPropNetProxiesFTPPort CFSTR("FTPPort")
#define kSCPropNetProxiesFTPProxy CFSTR("FTPProxy")
#define kSCPropNetProxiesGopherEnable CFSTR("GopherEnable")
#define kSCPropNetProxiesGopherPort CFSTR("GopherPort")
#define kSCPropNetProxiesGopherProxy CFSTR("GopherProxy")
#define kSCPropNetProxiesHTTPEnable CFSTR("HTTPEnable")
#define kSCPropNetProxiesHTTPPort CFSTR("HTTPPort")
#define kSCPropNetProxiesHTTPProxy CFSTR("HTTPProxy")
#define kSCPropNetProxiesHTTPSEnable CFSTR("HTTPSEnable")
#define kSCPropNetProxiesHTTPSPort CFSTR("HTTPSPort")
#define kSCPropNetProxiesHTTPSProxy CFSTR("HTTPSProxy")
#define kSCPropNetProxiesRTSPEnable CFSTR("RTSPEnable")
#define kSCPropNetProxiesRTSPPort CFSTR("RTSPPort")
#define kSCPropNetProxiesRTSPProxy CFSTR("RTSPProxy")
#define kSCPropNetProxiesSOCKSEnable CFSTR("SOCKSEnable")
#define kSCPropNetProxiesSOCKSPort CFSTR("SOCKSPort")
#define kSCPropNetProxiesSOCKSProxy CFSTR("SOCKSProxy")
#define kSCPropNetProxiesProxyAutoConfigEnable CFSTR("ProxyAutoConfigEnable")
#define kSCPropNetProxiesProxyAutoConfigURLString CFSTR("ProxyAutoConfigURLString")

// AppleTalk
#define kSCPropNetAppleTalkConfigMethod CFSTR("ConfigMethod")
#define kSCPropNetAppleTalkDefaultZone CFSTR("DefaultZone")
#define kSCPropNetAppleTalkNetworkID CFSTR("NetworkID")
#define kSCPropNetAppleTalkNodeID CFSTR("NodeID")
#define kSCValNetAppleTalkConfigMethodNode CFSTR("Node")

// DNS
#define kSCPropNetDNSSearchDomains CFSTR("SearchDomains")
#define kSCPropNetDNSServerAddresses CFSTR("ServerAddresses")

// Ethernet and AirPort
#define kSCPropMACAddress CFSTR("MACAddress")
#define kSCPropNetAirPortPreferredNetwork CFSTR("PreferredNetwork")

// Modem
#define kSCPropNetModemConnectionScript CFSTR("ConnectionScript")
#define kSCPropNetModemDataCompression CFSTR("DataCompression")
#define kSCPropNetModemDialMode CFSTR("DialMode")
#define kSCPropNetModemErrorCorrection CFSTR("ErrorCorrection")
#define kSCPropNetModemPulseDial CFSTR("PulseDial")
#define kSCPropNetModemSpeaker CFSTR("Speaker")
#define kSCValNetModemDialModeIgnoreDialTone CFSTR("IgnoreDialTone")
#define kSCValNetModemDialModeWaitForDialTone CFSTR("WaitForDialTone")

// PPP
#define kSCPropNetPPPAuthName CFSTR("AuthName")
#define kSCPropNetPPPAuthPassword CFSTR("AuthPassword")
#define kSCPropNetPPPCommAlternateRemoteAddress CFSTR("CommAlternateRemoteAddress")
#define kSCPropNetPPPCommDisplayTerminalWindow CFSTR("CommDisplayTerminalWindow")
#define kSCPropNetPPPCommRedialCount CFSTR("CommRedialCount")
#define kSCPropNetPPPCommRedialEnabled CFSTR("CommRedialEnabled")
#define kSCPropNetPPPCommRedialInterval CFSTR("CommRedialInterval")
#define kSCPropNetPPPCommRemoteAddress CFSTR("CommRemoteAddress")
#define kSCPropNetPPPCommUseTerminalScript CFSTR("CommUseTerminalScript")
#define kSCPropNetPPPDialOnDemand CFSTR("DialOnDemand")
#define kSCPropNetPPPDisconnectOnIdle CFSTR("DisconnectOnIdle")
#define kSCPropNetPPPDisconnectOnIdleTimer CFSTR("DisconnectOnIdleTimer")
#define kSCPropNetPPPDisconnectOnLogout CFSTR("DisconnectOnLogout")
#define kSCPropNetPPPIdleReminder CFSTR("IdleReminder")
#define kSCPropNetPPPIdleReminderTimer CFSTR("IdleReminderTimer")
#define kSCPropNetPPPIPCPCompressionVJ CFSTR("IPCPCompressionVJ")
#define kSCPropNetPPPLCPEchoEnabled CFSTR("LCPEchoEnabled")
#define kSCPropNetPPPLCPEchoFailure CFSTR("LCPEchoFailure")
#define kSCPropNetPPPLCPEchoInterval CFSTR("LCPEchoInterval")
#define kSCPropNetPPPLogfile CFSTR("Logfile")
#define kSCPropNetPPPVerboseLogging CFSTR("VerboseLogging")
