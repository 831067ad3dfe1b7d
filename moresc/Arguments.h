// Values typed on the command line for the settings of a service:
// addresses, masks, ports, hosts, domains and URLs. Each is checked whole
// before the store is opened; a malformed one is refused as bad input (the
// outcome records it, exit status 2) and gives nothing.
#pragma once

#include <optional>
#include <string>

#include "MoreSC.h"
#include "moresc/Outcome.h"

// An IPv4 address in dotted decimal, other than 0.0.0.0, in network byte
// order. what names it in the message ("address", "router").
std::optional<MoreSCInetAddress> AddressArgument(Outcome* outcome, const std::string& text, const char* what);

// A subnet mask: an IPv4 address whose one bits all come before its zero
// bits, at least one of them.
std::optional<MoreSCInetAddress> MaskArgument(Outcome* outcome, const std::string& text);

// A TCP port, 1 to 65535.
std::optional<UInt16> PortArgument(Outcome* outcome, const std::string& text);

// A proxy host: a host name (letters, digits, "-" and "_" in dot-separated
// labels of at most 63 characters, 253 in all, a trailing dot allowed),
// an IPv4 address, or an IPv6 address.
CFRef<CFStringRef> HostArgument(Outcome* outcome, const std::string& text);

// A search domain: a host name as above.
CFRef<CFStringRef> DomainArgument(Outcome* outcome, const std::string& text);

// An entry of the proxy bypass list: a host, a domain pattern ("*.local")
// or a network ("169.254/16"): printable ASCII without spaces.
CFRef<CFStringRef> BypassArgument(Outcome* outcome, const std::string& text);

// A URL: printable ASCII without spaces, a scheme and "://" first.
CFRef<CFStringRef> URLArgument(Outcome* outcome, const std::string& text);

// A profile's identifier in reverse-DNS style (com.example.proxies): labels
// of letters, digits, "-" and "_", separated by single dots.
std::optional<std::string> IdentifierArgument(Outcome* outcome, const std::string& text);
