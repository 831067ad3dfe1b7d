#include "moresc/Subcommands.h"

namespace {

// Adding a subcommand is writing its function and naming it here.
const Subcommand kSubcommands[] = {
    {"ports", "", "list the network ports of this machine",
     "Lists the network ports that new sets and services are made for, one\n"
     "block a port, in port order: modems and serial ports first, then\n"
     "built-in Ethernet, Ethernet cards, AirPort and other interfaces. A block\n"
     "holds the lines \"name:\", \"hardware:\", \"device:\" and \"mac:\" (\"-\"\n"
     "when the port has no MAC address), and an empty line ends it. The ports\n"
     "come from the I/O registry snapshot that TARNWICK_IOREG names, or else\n"
     "from this machine (sysfs under $TARNWICK_ROOT/sys).\n",
     0, 0, kJsonOption, ListPorts},
    {"sets", "", "list the sets (locations)",
     "Lists every set, one line a set: its ID, \"current\" for the current set\n"
     "or \"-\", and its name, separated by tabs, in the store's order.\n"
     "Control characters in names are escaped (\\t, \\n, \\x1b, and \\\\ for a\n"
     "backslash), as in every listing, so that a line is always one set.\n",
     0, 0, kJsonOption, ListSets},
    {"current-set", "", "print the current set",
     "Prints the ID and the name of the current set, separated by a tab.\n",
     0, 0, kJsonOption, PrintCurrentSet},
    {"switch-set", "SET", "make a set the current one",
     "Makes SET the current set.\n",
     1, 1, kChangeOptions, SwitchSet},
    {"new-set", "NAME", "make a set with a service for every port",
     "Makes a set called NAME with one service for each network port (see\n"
     "\"moresc ports\"), in port order, and prints its ID. The new set does not\n"
     "become the current one. A name that another set has is refused.\n",
     1, 1, kChangeOptions | kDuplicateOption, NewSet},
    {"duplicate-set", "SET [NEW-NAME]", "copy a set and its services",
     "Copies SET, with a fresh copy of each of its services, and prints the\n"
     "new set's ID. The copy is called NEW-NAME, which no other set may have,\n"
     "or else \"<name> copy\" (\"<name> copy 2\" and so on when that is taken).\n",
     1, 2, kChangeOptions | kDuplicateOption, DuplicateSet},
    {"rename-set", "SET NEW-NAME", "rename a set",
     "Gives SET the name NEW-NAME, which no other set may have.\n",
     2, 2, kChangeOptions | kDuplicateOption, RenameSet},
    {"delete-set", "SET", "delete a set",
     "Deletes SET, and every service that no other set uses. The current set\n"
     "cannot be deleted: switch to another set first.\n",
     1, 1, kChangeOptions, DeleteSet},
    {"services", "[SET]", "list the services of a set",
     "Lists the services of SET (by default the current set) in service order,\n"
     "one line a service: its ID, \"active\" or \"inactive\", its BSD device name\n"
     "(\"-\" when it has none) and its name, separated by tabs.\n",
     0, 1, kJsonOption, ListServices},
    {"enable-service", "SERVICE", "switch a service on",
     "Switches SERVICE on. A service is shared by every set that uses it: it\n"
     "is on in all of them.\n",
     1, 1, kSetOption | kChangeOptions, EnableService},
    {"disable-service", "SERVICE", "switch a service off",
     "Switches SERVICE off. A service is shared by every set that uses it: it\n"
     "is off in all of them.\n",
     1, 1, kSetOption | kChangeOptions, DisableService},
    {"rename-service", "SERVICE NEW-NAME", "rename a service",
     "Gives SERVICE the name NEW-NAME, in every set that uses it. A name that\n"
     "another service of the set has is refused.\n",
     2, 2, kSetOption | kChangeOptions | kDuplicateOption, RenameService},
    {"duplicate-service", "SERVICE [NEW-NAME]", "copy a service into a set",
     "Copies SERVICE with all its settings, adds the copy last in the set's\n"
     "service order and prints the copy's ID. The copy is called NEW-NAME,\n"
     "which no other service of the set may have, or else \"<name> copy\"\n"
     "(\"<name> copy 2\" and so on when that is taken).\n",
     1, 2, kSetOption | kChangeOptions | kDuplicateOption, DuplicateService},
    {"delete-service", "SERVICE", "remove a service from a set",
     "Removes SERVICE from the set. The service itself is deleted when no\n"
     "other set uses it.\n",
     1, 1, kSetOption | kChangeOptions, DeleteService},
    {"new-service", "PORT-DEVICE [NAME]", "make a service for a port",
     "Makes a service for the network port whose device is PORT-DEVICE (such\n"
     "as en0, see \"moresc ports\"), called NAME or else after the port, adds it\n"
     "last to the set and prints its ID. A name that another service of the\n"
     "set has is refused.\n",
     1, 2, kSetOption | kChangeOptions | kDuplicateOption, NewService},
    {"order-services", "SERVICE...", "put the services of a set in a new order",
     "Makes the order of the services of the set (which one the system tries\n"
     "first) the order of the SERVICE arguments. Every service of the set must\n"
     "be named, each once.\n",
     1, 1 << 16, kSetOption | kChangeOptions, OrderServices},
    {"info", "SERVICE", "show the configuration of a service",
     "Shows SERVICE at a glance, one field a line, its name and a tab before\n"
     "its values: id, name, active (yes or no), device, ipv4 (the way IPv4 is\n"
     "configured), addresses, subnet-masks, router, dns-servers,\n"
     "search-domains, then one line for each proxy the service mentions\n"
     "(web-proxy, secure-web-proxy, ... with on or off, host and port), pac\n"
     "(on or off, and the URL) and bypass. Fields without a value are left\n"
     "out.\n",
     1, 1, kSetOption | kJsonOption, PrintServiceInfo},
    {"proxies", "SERVICE", "show the proxy settings of a service",
     "Shows every key of the Proxies entity of SERVICE, one a line: the key, a\n"
     "tab and the value (the elements of a list separated by tabs), in the\n"
     "order of the keys. A service without proxy settings shows nothing.\n",
     1, 1, kSetOption | kJsonOption, PrintProxies},
    {"set-proxy", "SERVICE KIND [HOST PORT]", "set or switch off a proxy",
     "Sets the proxy of KIND (web, secure-web, ftp, socks, streaming or gopher)\n"
     "of SERVICE to HOST and PORT and switches it on. With --off (and no HOST\n"
     "or PORT), switches it off and keeps its host and port. Only that proxy's\n"
     "keys change.\n"
     "\n"
     "  --off              switch the proxy off\n",
     2, 4, kSetOption | kChangeOptions | kOffOption, SetProxy},
    {"set-proxy-bypass", "SERVICE [DOMAIN...]", "set the hosts that bypass the proxies",
     "Sets the hosts, domains (*.local) and networks (169.254/16) for which\n"
     "SERVICE uses no proxy to the DOMAIN arguments; without any, the list is\n"
     "removed.\n",
     1, 1 << 16, kSetOption | kChangeOptions, SetProxyBypass},
    {"set-pac", "SERVICE [URL]", "set or switch off proxy auto-configuration",
     "Sets the URL of the proxy auto-configuration (PAC) file of SERVICE and\n"
     "switches PAC on. With --off (and no URL), switches PAC off and keeps the\n"
     "URL.\n"
     "\n"
     "  --off              switch PAC off\n",
     1, 2, kSetOption | kChangeOptions | kOffOption, SetPAC},
    {"set-ipv4", "SERVICE dhcp|bootp|manual [ADDRESS MASK [ROUTER]]", "configure IPv4 of a service",
     "Configures IPv4 of SERVICE by DHCP, by BOOTP, or by hand (manual) with\n"
     "ADDRESS, subnet MASK and, when there is one, ROUTER. The configuration\n"
     "method, addresses, masks and router are replaced; a DHCP client ID is\n"
     "kept with dhcp and removed otherwise; other keys stay.\n",
     2, 5, kSetOption | kChangeOptions, SetIPv4},
    {"set-dns", "SERVICE [SERVER...] [--search DOMAIN...]", "set the DNS servers and search domains",
     "Sets the DNS servers of SERVICE to the SERVER addresses (IPv4) and, with\n"
     "--search, its search domains to the DOMAIN arguments. Without SERVER the\n"
     "servers are removed, unless --search is given alone; \"--search\" without\n"
     "DOMAIN removes the search domains.\n"
     "\n"
     "  --search DOMAIN... the search domains (every argument after it)\n",
     1, 1 << 16, kSetOption | kChangeOptions | kSearchOption, SetDNS},
    {"entity", "SERVICE PROTOCOL", "print an entity as an XML property list",
     "Prints the PROTOCOL entity of SERVICE (such as IPv4, DNS or Proxies) as\n"
     "an XML property list (with --json, as a JSON object).\n",
     2, 2, kSetOption | kJsonOption, PrintEntity},
    {"set-entity", "SERVICE PROTOCOL FILE|-", "write an entity from an XML property list",
     "Replaces the PROTOCOL entity of SERVICE, or adds it, with the dictionary\n"
     "in FILE (\"-\": standard input). FILE must be an XML property list whose\n"
     "root is a dictionary, of at most 64 MiB (the limit of a store); it is\n"
     "checked before anything is changed.\n",
     3, 3, kSetOption | kChangeOptions, WriteEntity},
    {"export-profile", "[--service SERVICE] [--global] [-o FILE]", "write proxy settings as a configuration profile",
     "Writes the proxy settings of SERVICE (its Proxies entity, as it stands)\n"
     "as a configuration profile for device management (MDM) servers: an XML\n"
     "property list with one com.apple.SystemConfiguration payload that holds\n"
     "them. Without --service, the active services of the set must all have\n"
     "the same proxy settings, which are written; when they differ, they are\n"
     "listed and nothing is written. UUIDs are fresh random ones.\n"
     "\n"
     "  --service SERVICE  the service whose proxy settings are written\n"
     "  --global           write a global HTTP proxy payload\n"
     "                     (com.apple.proxy.http.global) instead: PAC with a\n"
     "                     URL, auto-discovery, or the web proxy (with the same\n"
     "                     secure web proxy); other settings are refused\n"
     "  --identifier ID    the profile's identifier (reverse DNS, such as\n"
     "                     com.example.proxies; default: one that holds its UUID)\n"
     "  --name NAME        the profile's name as users see it\n"
     "                     (default: Proxy settings)\n"
     "  -o FILE            write the profile to FILE (default: standard output)\n",
     0, 0, kSetOption | kServiceOption | kExportOptions, ExportProfile},
    {"apply-profile", "FILE [--service SERVICE]...", "apply the proxy payloads of a configuration profile",
     "Applies the proxy payloads of the configuration profile in FILE (\"-\":\n"
     "standard input) to every active service of the set, or to the services\n"
     "that --service names, in one change. The profile is an XML or binary\n"
     "property list, or one signed by an MDM server or Apple Configurator\n"
     "(CMS); its signer is named on standard error, and a signature that does\n"
     "not match the profile is refused. A com.apple.SystemConfiguration\n"
     "payload's Proxies become the service's Proxies entity, whole. A global\n"
     "HTTP proxy payload (Manual) sets the web and secure web proxies and\n"
     "switches PAC and auto-discovery off; Auto switches the web proxies off\n"
     "and PAC on with the URL, or auto-discovery when there is none. Other\n"
     "payloads are named on standard error and passed over. A profile without a\n"
     "proxy payload, with payloads that disagree, or that is not a profile,\n"
     "changes nothing.\n"
     "\n"
     "  --service SERVICE  apply to SERVICE (may be given more than once)\n"
     "  --verify CAFILE    refuse a profile that is not signed by a certificate\n"
     "                     that the CA certificates in CAFILE (PEM or DER)\n"
     "                     vouch for\n"
     "  --dry-run          change nothing; print, for each key that would change,\n"
     "                     the service's ID and name, the key, its value before\n"
     "                     and after (\"-\": none), separated by tabs\n",
     1, 1, kSetOption | kServiceOption | kApplyOptions | kJsonOption | kChangeOptions, ApplyProfile},
    {"appletalk", "[on|off]", "show or switch AppleTalk",
     "Without an argument, prints \"on\" when an active service of the set has\n"
     "AppleTalk switched on, else \"off\"; an active service without an\n"
     "AppleTalk entity, checked before one with AppleTalk on, fails the\n"
     "question (status 1004), as in stores of systems without AppleTalk. With\n"
     "\"on\" or \"off\", switches the AppleTalk entity of every service of the set\n"
     "that has one (--json is for the question only).\n",
     0, 1, kSetOption | kJsonOption | kChangeOptions, AppleTalk},
    {"dhcp-services", "", "list the services configured by DHCP",
     "Lists the services whose IPv4 configuration in the running system is\n"
     "DHCP, one line a service: its ID and its name, separated by a tab (the\n"
     "name is empty when the current set has no such service or it has no\n"
     "name).\n",
     0, 0, kJsonOption, ListDHCPServices},
    {"dhcp-release", "SERVICE", "release and renew a DHCP lease",
     "Switches the IPv4 entity of SERVICE (in the current set) off and on\n"
     "again, saving and applying each time, so that the system gives up its\n"
     "DHCP lease and asks for a new one. The entity is on afterwards, even if\n"
     "it was off before. The store's lock is held for the look-up of SERVICE\n"
     "only: each of the two saves takes it by itself.\n",
     1, 1, kChangeOptions, ReleaseDHCP},
    {"new-dialup-set", "NAME [MODEM-DEVICE]", "make a set for dialling out",
     "Makes a set called NAME in which only the modem's service is active,\n"
     "with default PPP settings, and prints its ID. The modem is the port whose\n"
     "device is MODEM-DEVICE, or else the first modem port (see \"moresc\n"
     "ports\"); a device that is not a modem's, or no modem at all, is refused\n"
     "before anything is made. The new set does not become the current one. A\n"
     "name that another set has is refused.\n",
     1, 2, kChangeOptions | kDuplicateOption, NewDialupSet},
};

}  // namespace

std::span<const Subcommand> AllSubcommands() { return kSubcommands; }

const Subcommand* FindSubcommand(const std::string& name) {
    for (const Subcommand& subcommand : kSubcommands) {
        if (name == subcommand.name) return &subcommand;
    }
    return nullptr;
}

std::string UsageLine(const Subcommand& subcommand) {
    std::string line = std::string("moresc ") + subcommand.name;
    if (subcommand.takes(kSetOption)) line += " [--set SET]";
    if (subcommand.arguments[0] != '\0') line += std::string(" ") + subcommand.arguments;
    return line;
}
