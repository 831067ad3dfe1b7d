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
     0, 0, false, ListPorts},
    {"sets", "", "list the sets (locations)",
     "Lists every set, one line a set: its ID, \"current\" for the current set\n"
     "or \"-\", and its name, separated by tabs, in the store's order.\n",
     0, 0, false, ListSets},
    {"current-set", "", "print the current set",
     "Prints the ID and the name of the current set, separated by a tab.\n",
     0, 0, false, PrintCurrentSet},
    {"switch-set", "SET", "make a set the current one",
     "Makes SET the current set.\n",
     1, 1, false, SwitchSet},
    {"new-set", "NAME", "make a set with a service for every port",
     "Makes a set called NAME with one service for each network port (see\n"
     "\"moresc ports\"), in port order, and prints its ID. The new set does not\n"
     "become the current one.\n",
     1, 1, false, NewSet},
    {"duplicate-set", "SET [NEW-NAME]", "copy a set and its services",
     "Copies SET, with a fresh copy of each of its services, and prints the\n"
     "new set's ID. The copy is called NEW-NAME, or else keeps the name of SET.\n",
     1, 2, false, DuplicateSet},
    {"rename-set", "SET NEW-NAME", "rename a set",
     "Gives SET the name NEW-NAME.\n",
     2, 2, false, RenameSet},
    {"delete-set", "SET", "delete a set",
     "Deletes SET, and every service that no other set uses. The current set\n"
     "cannot be deleted (status -50): switch to another set first.\n",
     1, 1, false, DeleteSet},
    {"services", "[SET]", "list the services of a set",
     "Lists the services of SET (by default the current set) in service order,\n"
     "one line a service: its ID, \"active\" or \"inactive\", its BSD device name\n"
     "(\"-\" when it has none) and its name, separated by tabs.\n",
     0, 1, false, ListServices},
    {"enable-service", "SERVICE", "switch a service on",
     "Switches SERVICE on. A service is shared by every set that uses it: it\n"
     "is on in all of them.\n",
     1, 1, true, EnableService},
    {"disable-service", "SERVICE", "switch a service off",
     "Switches SERVICE off. A service is shared by every set that uses it: it\n"
     "is off in all of them.\n",
     1, 1, true, DisableService},
    {"rename-service", "SERVICE NEW-NAME", "rename a service",
     "Gives SERVICE the name NEW-NAME, in every set that uses it.\n",
     2, 2, true, RenameService},
    {"duplicate-service", "SERVICE [NEW-NAME]", "copy a service into a set",
     "Copies SERVICE with all its settings, adds the copy last in the set's\n"
     "service order and prints the copy's ID. The copy is called NEW-NAME, or\n"
     "else keeps the name of SERVICE.\n",
     1, 2, true, DuplicateService},
    {"delete-service", "SERVICE", "remove a service from a set",
     "Removes SERVICE from the set. The service itself is deleted when no\n"
     "other set uses it.\n",
     1, 1, true, DeleteService},
    {"new-service", "PORT-DEVICE", "make a service for a port",
     "Makes a service for the network port whose device is PORT-DEVICE (such\n"
     "as en0, see \"moresc ports\"), named after the port, adds it last to the\n"
     "set and prints its ID.\n",
     1, 1, true, NewService},
    {"entity", "SERVICE PROTOCOL", "print an entity as an XML property list",
     "Prints the PROTOCOL entity of SERVICE (such as IPv4, DNS or Proxies) as\n"
     "an XML property list.\n",
     2, 2, true, PrintEntity},
    {"set-entity", "SERVICE PROTOCOL FILE|-", "write an entity from an XML property list",
     "Replaces the PROTOCOL entity of SERVICE, or adds it, with the dictionary\n"
     "in FILE (\"-\": standard input). FILE must be an XML property list whose\n"
     "root is a dictionary; it is checked before anything is changed.\n",
     3, 3, true, WriteEntity},
    {"appletalk", "[on|off]", "show or switch AppleTalk",
     "Without an argument, prints \"on\" when an active service of the set has\n"
     "AppleTalk switched on, else \"off\"; an active service without an\n"
     "AppleTalk entity, checked before one with AppleTalk on, fails the\n"
     "question (status 1004), as in stores of systems without AppleTalk. With\n"
     "\"on\" or \"off\", switches the AppleTalk entity of every service of the set\n"
     "that has one.\n",
     0, 1, true, AppleTalk},
    {"dhcp-services", "", "list the services configured by DHCP",
     "Lists the services whose IPv4 configuration in the running system is\n"
     "DHCP, one line a service: its ID and its name, separated by a tab (the\n"
     "name is empty when the current set has no such service or it has no\n"
     "name).\n",
     0, 0, false, ListDHCPServices},
    {"dhcp-release", "SERVICE", "release and renew a DHCP lease",
     "Switches the IPv4 entity of SERVICE (in the current set) off and on\n"
     "again, saving and applying each time, so that the system gives up its\n"
     "DHCP lease and asks for a new one. The entity is on afterwards, even if\n"
     "it was off before. The store's lock is held for the look-up of SERVICE\n"
     "only: each of the two saves takes it by itself.\n",
     1, 1, false, ReleaseDHCP},
    {"new-dialup-set", "NAME [MODEM-DEVICE]", "make a set for dialling out",
     "Makes a set called NAME in which only the modem's service is active,\n"
     "with default PPP settings, and prints its ID. The modem is the port whose\n"
     "device is MODEM-DEVICE, or else the first modem port (see \"moresc\n"
     "ports\"); a device that is not a modem's, or no modem at all, is refused\n"
     "before anything is made. The new set does not become the current one.\n",
     1, 2, false, NewDialupSet},
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
    if (subcommand.takesSet) line += " [--set SET]";
    if (subcommand.arguments[0] != '\0') line += std::string(" ") + subcommand.arguments;
    return line;
}
