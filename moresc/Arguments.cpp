#include "moresc/Arguments.h"

#include <arpa/inet.h>

#include <cctype>

#include "moresc/Text.h"

namespace {

bool ParseIPv4(const std::string& text, MoreSCInetAddress* address) {
    in_addr parsed {};
    if (inet_pton(AF_INET, text.c_str(), &parsed) != 1) return false;
    *address = parsed.s_addr;
    return true;
}

bool IsIPv6(const std::string& text) {
    in6_addr parsed {};
    return inet_pton(AF_INET6, text.c_str(), &parsed) == 1;
}

bool IsHostName(const std::string& text) {
    std::string name = text;
    if (!name.empty() && name.back() == '.') name.pop_back();
    if (name.empty() || name.size() > 253) return false;
    std::size_t start = 0;
    while (start <= name.size()) {
        std::size_t end = name.find('.', start);
        if (end == std::string::npos) end = name.size();
        std::string label = name.substr(start, end - start);
        if (label.empty() || label.size() > 63 || label.front() == '-' || label.back() == '-') return false;
        for (char c : label) {
            if (!std::isalnum(static_cast<unsigned char>(c)) && c != '-' && c != '_') return false;
        }
        start = end + 1;
    }
    return true;
}

bool IsPrintableWord(const std::string& text) {
    if (text.empty()) return false;
    for (char c : text) {
        unsigned char byte = static_cast<unsigned char>(c);
        if (byte <= 0x20 || byte >= 0x7F) return false;
    }
    return true;
}

CFRef<CFStringRef> StringIf(Outcome* outcome, bool good, const std::string& text, const std::string& complaint) {
    if (!good) {
        outcome->FailUsage(Quoted(text) + complaint);
        return nullptr;
    }
    return CFRef<CFStringRef>(CreateStringFromText(text));
}

}  // namespace

std::optional<MoreSCInetAddress> AddressArgument(Outcome* outcome, const std::string& text, const char* what) {
    MoreSCInetAddress address = 0;
    if (!ParseIPv4(text, &address) || address == 0) {
        outcome->FailUsage(std::string("the ") + what + " " + Quoted(text) + " is not an IPv4 address");
        return std::nullopt;
    }
    return address;
}

std::optional<MoreSCInetAddress> MaskArgument(Outcome* outcome, const std::string& text) {
    MoreSCInetAddress mask = 0;
    bool parsed = ParseIPv4(text, &mask);
    UInt32 bits = ntohl(mask);
    UInt32 zeros = ~bits;
    // The zero bits, all at the end, are one less than a power of two.
    if (!parsed || bits == 0 || (zeros & (zeros + 1)) != 0) {
        outcome->FailUsage(Quoted(text) + " is not a subnet mask (such as 255.255.255.0)");
        return std::nullopt;
    }
    return mask;
}

std::optional<UInt16> PortArgument(Outcome* outcome, const std::string& text) {
    bool digits = !text.empty() && text.size() <= 5 && text.find_first_not_of("0123456789") == std::string::npos;
    long port = digits ? std::stol(text) : 0;
    if (port < 1 || port > 65535) {
        outcome->FailUsage(Quoted(text) + " is not a port (1 to 65535)");
        return std::nullopt;
    }
    return static_cast<UInt16>(port);
}

CFRef<CFStringRef> HostArgument(Outcome* outcome, const std::string& text) {
    MoreSCInetAddress ignored = 0;
    // Digits and dots alone must make an IPv4 address: 10.0.0.256 is no name.
    bool numeric = !text.empty() && text.find_first_not_of("0123456789.") == std::string::npos;
    bool good = numeric ? ParseIPv4(text, &ignored) : (IsHostName(text) || IsIPv6(text));
    return StringIf(outcome, good, text, " is not a host name or address");
}

CFRef<CFStringRef> DomainArgument(Outcome* outcome, const std::string& text) {
    return StringIf(outcome, IsHostName(text), text, " is not a domain name");
}

CFRef<CFStringRef> BypassArgument(Outcome* outcome, const std::string& text) {
    return StringIf(outcome, IsPrintableWord(text), text, " is not a host, domain or network to bypass");
}

CFRef<CFStringRef> URLArgument(Outcome* outcome, const std::string& text) {
    std::size_t colon = text.find("://");
    bool good = IsPrintableWord(text) && colon != std::string::npos && colon > 0 && colon + 3 < text.size() &&
                std::isalpha(static_cast<unsigned char>(text[0]));
    for (std::size_t i = 0; good && i < colon; ++i) {
        char c = text[i];
        good = std::isalnum(static_cast<unsigned char>(c)) || c == '+' || c == '-' || c == '.';
    }
    return StringIf(outcome, good, text, " is not a URL (such as http://wpad.example.com/proxy.pac)");
}

std::optional<std::string> IdentifierArgument(Outcome* outcome, const std::string& text) {
    bool good = !text.empty() && text.front() != '.' && text.back() != '.' && text.find("..") == std::string::npos;
    for (char c : text) {
        good = good && (std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '-' || c == '_');
    }
    if (!good) {
        outcome->FailUsage(Quoted(text) + " is not a reverse-DNS identifier (such as com.example.proxies)");
        return std::nullopt;
    }
    return text;
}
