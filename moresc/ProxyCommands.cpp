// The subcommands on the proxies of a service: show the "Proxies" entity,
// set or switch off one proxy, set the hosts that bypass the proxies, and
// set or switch off proxy auto-configuration (PAC). Each changes only the
// keys it concerns.

#include <cstdio>
#include <string>
#include <vector>

#include "MoreSC.h"
#include "moresc/Arguments.h"
#include "moresc/Json.h"
#include "moresc/OneService.h"
#include "moresc/ProxyKinds.h"
#include "moresc/Outcome.h"
#include "moresc/Subcommands.h"
#include "moresc/Text.h"

namespace {

const ProxyKind* FindProxyKind(Outcome* outcome, const std::string& name) {
    for (const ProxyKind& kind : AllProxyKinds()) {
        if (name == kind.name) return &kind;
    }
    outcome->FailUsage(Quoted(name) + " is not a kind of proxy (web, secure-web, ftp, socks, streaming or gopher)");
    return nullptr;
}

// The Proxies entity that the library's builder makes of digest.
CFRef<CFDictionaryRef> BuildProxies(Outcome* outcome, const MoreSCProxiesDigest& digest) {
    CFRef<CFDictionaryRef> built;
    if (outcome->ok()) outcome->Check("MoreSCCreateProxiesEntity", MoreSCCreateProxiesEntity(&digest, built.out()));
    return built;
}

// Checks that --off and the values after the service agree: with --off,
// none; without it, exactly the count given.
void CheckValuesForOff(Outcome* outcome, const Invocation& invocation, std::size_t fixed, std::size_t values,
                       const char* what) {
    std::size_t given = invocation.arguments.size() - fixed;
    if (invocation.off && given != 0) {
        outcome->FailUsage(std::string("--off takes no ") + what + " (usage: " + UsageLine(*invocation.subcommand) +
                           ")");
    } else if (!invocation.off && given != values) {
        outcome->FailUsage(std::string("give the ") + what + ", or --off (usage: " +
                           UsageLine(*invocation.subcommand) + ")");
    }
}

}  // namespace

int PrintProxies(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    nlohmann::json proxies = nlohmann::json::object();
    RunOnService(&outcome, invocation, Session::kRead, "MoreSCCopyEntitiesDict",
                 [&](CFStringRef setID, CFStringRef serviceID) {
                     CFRef<CFDictionaryRef> entity = CopyEntityIfAny(&outcome, setID, serviceID, kSCEntNetProxies);
                     if (entity) proxies = JsonOf(entity.get());
                     return noErr;
                 });
    std::string text;
    if (invocation.json) {
        text = JsonDocument(proxies);
    } else {
        for (const auto& [key, value] : proxies.items()) text += Escaped(key) + "\t" + FieldsText(value) + "\n";
    }
    if (outcome.ok()) std::fputs(text.c_str(), stdout);
    return outcome.Finish();
}

int SetProxy(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    const ProxyKind* kind = FindProxyKind(&outcome, invocation.arguments[1]);
    if (outcome.ok()) CheckValuesForOff(&outcome, invocation, 2, 2, "HOST and PORT");
    CFRef<CFStringRef> host;
    std::optional<UInt16> port;
    if (outcome.ok() && !invocation.off) host = HostArgument(&outcome, invocation.arguments[2]);
    if (outcome.ok() && !invocation.off) port = PortArgument(&outcome, invocation.arguments[3]);
    MoreSCProxiesDigest digest{};
    if (outcome.ok()) {
        digest.*(kind->enable) = !invocation.off;
        digest.*(kind->proxy) = host.get();
        digest.*(kind->port) = port.value_or(0);
    }
    CFRef<CFDictionaryRef> built = BuildProxies(&outcome, digest);
    if (outcome.ok()) {
        // Switched off, the proxy keeps its host and port for next time.
        EditEntity(&outcome, invocation, kSCEntNetProxies, [&](Outcome*, CFMutableDictionaryRef entity) {
            if (invocation.off) {
                CopyKeys(built.get(), entity, {kind->enableKey});
            } else {
                CopyKeys(built.get(), entity, {kind->enableKey, kind->proxyKey, kind->portKey});
            }
        });
    }
    return outcome.Finish();
}

int SetProxyBypass(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFMutableArrayRef> domains;
    std::size_t count = invocation.arguments.size() - 1;
    if (count > 0) {
        CFMutableArrayRef made = nullptr;
        outcome.Check("CFQArrayCreateMutable", CFQArrayCreateMutable(&made));
        domains.reset(made);
    }
    for (std::size_t i = 1; i <= count && outcome.ok(); ++i) {
        CFRef<CFStringRef> domain = BypassArgument(&outcome, invocation.arguments[i]);
        if (domain) CFArrayAppendValue(domains.get(), domain.get());
    }
    MoreSCProxiesDigest digest{};
    digest.exceptionsList = domains.get();
    CFRef<CFDictionaryRef> built = BuildProxies(&outcome, digest);
    // No domains: the list goes, as the builder leaves it out.
    if (outcome.ok()) {
        EditEntity(&outcome, invocation, kSCEntNetProxies, [&](Outcome*, CFMutableDictionaryRef entity) {
            CopyKeys(built.get(), entity, {kSCPropNetProxiesExceptionsList});
        });
    }
    return outcome.Finish();
}

int SetPAC(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CheckValuesForOff(&outcome, invocation, 1, 1, "URL");
    CFRef<CFStringRef> url;
    if (outcome.ok() && !invocation.off) url = URLArgument(&outcome, invocation.arguments[1]);
    // The Proxies builder knows no auto-configuration keys: they are set
    // here, the flag as a number as the system writes it. Switched off, PAC
    // keeps its URL.
    if (outcome.ok()) {
        EditEntity(&outcome, invocation, kSCEntNetProxies, [&](Outcome* edit, CFMutableDictionaryRef entity) {
            edit->Check("CFQDictionarySetNumber",
                        CFQDictionarySetNumber(entity, kSCPropNetProxiesProxyAutoConfigEnable, invocation.off ? 0 : 1));
            if (url) CFDictionarySetValue(entity, kSCPropNetProxiesProxyAutoConfigURLString, url.get());
        });
    }
    return outcome.Finish();
}
