// The subcommands that carry proxy settings between a store and the
// configuration profiles of device management: export the proxies of a
// service as a profile, and apply the proxy payloads of a profile to the
// services of a set.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <unordered_map>
#include <string>
#include <vector>

#include "MoreSC.h"
#include "moresc/Arguments.h"
#include "moresc/GlobalProxy.h"
#include "moresc/InputFile.h"
#include "moresc/Json.h"
#include "moresc/Lookup.h"
#include "moresc/OneService.h"
#include "moresc/Outcome.h"
#include "moresc/Profile.h"
#include "moresc/Session.h"
#include "moresc/Subcommands.h"
#include "moresc/Text.h"
#include "moresc/Values.h"

namespace {

// A service for messages: "Wi-Fi" (ID), or its ID alone when it has no name.
std::string ServiceText(const NamedEntry& service) {
    const std::string id = Escaped(TextOf(service.id.get()));
    return service.name ? Quoted(TextOf(service.name.get())) + " (" + id + ")" : id;
}

// The active services of setID (nil: the current set) in service order.
std::vector<NamedEntry> ActiveServices(Outcome* outcome, CFStringRef setID) {
    std::vector<NamedEntry> active;
    for (NamedEntry& service : NamedServices(outcome, setID)) {
        Boolean isActive = false;
        if (outcome->ok()) {
            outcome->Check("MoreSCIsServiceActive", MoreSCIsServiceActive(setID, service.id.get(), &isActive));
        }
        if (isActive) active.push_back(std::move(service));
    }
    if (outcome->ok() && active.empty()) outcome->Fail(SetDescription(setID) + " has no active service");
    return active;
}

// The services of setID that the user named, each once, in the order given.
std::vector<NamedEntry> NamedTargets(Outcome* outcome, CFStringRef setID, const std::vector<std::string>& given) {
    std::vector<NamedEntry> all = NamedServices(outcome, setID);
    std::vector<NamedEntry> targets;
    for (const std::string& text : given) {
        CFRef<CFStringRef> id = outcome->ok() ? LookUpService(outcome, setID, text) : nullptr;
        auto named = [&id](const NamedEntry& entry) { return id && CFEqual(entry.id.get(), id.get()); };
        auto service = std::find_if(all.begin(), all.end(), named);
        if (service != all.end() && std::none_of(targets.begin(), targets.end(), named)) {
            targets.push_back({std::move(id), CFRef<CFStringRef>::Retain(service->name.get())});
        }
    }
    return targets;
}

// The "Proxies" entity that every active service of setID has alike. When
// they differ, the failure lists them, grouped by their settings.
CFRef<CFDictionaryRef> CopySharedProxies(Outcome* outcome, CFStringRef setID) {
    std::vector<std::pair<CFRef<CFDictionaryRef>, std::string>> groups;  // the entity, and who has it
    // The groups by the JSON text of their entity ("" for none), which equal
    // entities share, so that a set of many services is grouped in one pass.
    std::unordered_map<std::string, std::vector<std::size_t>> byText;
    for (const NamedEntry& service : ActiveServices(outcome, setID)) {
        CFRef<CFDictionaryRef> proxies = CopyEntityIfAny(outcome, setID, service.id.get(), kSCEntNetProxies);
        if (!outcome->ok()) return nullptr;
        std::vector<std::size_t>& candidates = byText[proxies ? JsonDocument(JsonOf(proxies.get())) : ""];
        auto group = std::find_if(candidates.begin(), candidates.end(),
                                  [&](std::size_t i) { return SameValue(groups[i].first.get(), proxies.get()); });
        if (group == candidates.end()) {
            candidates.push_back(groups.size());
            groups.emplace_back(std::move(proxies), ServiceText(service));
        } else {
            groups[*group].second += ", " + ServiceText(service);
        }
    }
    if (!outcome->ok()) return nullptr;
    if (groups.size() > 1) {
        std::string list;
        for (std::size_t i = 0; i < groups.size(); ++i) {
            list += " [";
            list += std::to_string(i + 1) + "] " + groups[i].second + (groups[i].first ? "" : " (none)");
        }
        outcome->Fail("the active services of " + SetDescription(setID) +
                      " have different proxy settings; choose one with --service:" + list);
        return nullptr;
    }
    if (!groups.front().first) {
        outcome->Fail("the active services of " + SetDescription(setID) + " have no proxy settings to export");
    }
    return std::move(groups.front().first);
}

// The "Proxies" entity of the service that given names.
CFRef<CFDictionaryRef> CopyServiceProxies(Outcome* outcome, CFStringRef setID, const std::string& given) {
    CFRef<CFStringRef> serviceID = LookUpService(outcome, setID, given);
    CFRef<CFDictionaryRef> proxies;
    if (outcome->ok()) proxies = CopyEntityIfAny(outcome, setID, serviceID.get(), kSCEntNetProxies);
    if (outcome->ok() && !proxies) {
        outcome->Fail("service " + Escaped(TextOf(serviceID.get())) + " has no proxy settings to export");
    }
    return proxies;
}

// A profile of proxies: a SystemConfiguration payload that holds them
// whole, or with global a global HTTP proxy that says the same. The keys
// that a global HTTP proxy cannot carry are named in *leftOut.
CFRef<CFDictionaryRef> CreateProfileOf(Outcome* outcome, CFDictionaryRef proxies, bool global,
                                       const ProfileNames& names, std::vector<std::string>* leftOut) {
    if (global) {
        std::string why;
        CFRef<CFDictionaryRef> keys = CreateGlobalProxyKeys(proxies, &why, leftOut);
        if (!keys) {
            outcome->Fail("the proxy settings cannot be said as a global HTTP proxy: " + why);
            return nullptr;
        }
        return CreateProfile(outcome, kGlobalHTTPProxyPayloadType, keys.get(), "Global HTTP Proxy", names);
    }
    const void* key = kSCEntNetProxies;
    const void* value = proxies;
    CFRef<CFDictionaryRef> keys(CFDictionaryCreate(kCFAllocatorDefault, &key, &value, 1,
                                                   &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    return CreateProfile(outcome, kSystemConfigurationPayloadType, keys.get(), "Proxies", names);
}

// Writes bytes to path ("-": standard output).
void WriteOutput(Outcome* outcome, const std::string& path, const std::string& bytes) {
    if (path == "-") {
        std::fwrite(bytes.data(), 1, bytes.size(), stdout);
        return;
    }
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    std::size_t written = 0;
    while (fd >= 0 && written < bytes.size()) {
        ssize_t count = ::write(fd, bytes.data() + written, bytes.size() - written);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) break;
        written += static_cast<std::size_t>(count);
    }
    int fault = written == bytes.size() ? 0 : errno;
    if (fd >= 0 && ::close(fd) != 0 && fault == 0) fault = errno;
    if (fd < 0 || fault != 0) outcome->Fail("cannot write " + path + ": " + std::strerror(fd < 0 ? errno : fault));
}

// What applying a profile does to one service.
struct ServiceChange {
    NamedEntry service;
    CFRef<CFDictionaryRef> after;  // its "Proxies" entity afterwards
    nlohmann::json changes = nlohmann::json::array();  // {"key", "from", "to"}, by key; null for absent
};

// The keys that differ between before (nil: none) and after, by key.
nlohmann::json KeyChanges(CFDictionaryRef before, CFDictionaryRef after) {
    std::map<std::string, std::pair<CFTypeRef, CFTypeRef>> keys;
    for (CFDictionaryRef dict : {before, after}) {
        CFIndex count = dict ? CFDictionaryGetCount(dict) : 0;
        std::vector<const void*> names(static_cast<std::size_t>(count));
        if (count > 0) CFDictionaryGetKeysAndValues(dict, names.data(), nullptr);
        for (const void* name : names) {
            keys[TextOf(name)] = {before ? CFDictionaryGetValue(before, name) : nil, CFDictionaryGetValue(after, name)};
        }
    }
    nlohmann::json changes = nlohmann::json::array();
    for (const auto& [key, values] : keys) {
        if (!SameValue(values.first, values.second)) {
            changes.push_back({{"key", key}, {"from", JsonOf(values.first)}, {"to", JsonOf(values.second)}});
        }
    }
    return changes;
}

// The "Proxies" entity that the profile's proxy payloads give service,
// from before. Payloads that give it different entities disagree.
CFRef<CFDictionaryRef> ProxiesAfter(Outcome* outcome, const ReceivedProfile& profile, CFDictionaryRef before,
                                    const NamedEntry& service) {
    CFRef<CFDictionaryRef> result;
    const ProxyPayload* first = nullptr;
    for (const ProxyPayload& payload : profile.proxyPayloads) {
        CFRef<CFDictionaryRef> after = payload.CreateProxiesAfter(before);
        if (!after) {
            outcome->Check("CFDictionaryCreateMutableCopy", coreFoundationUnknownErr);
            return nullptr;
        }
        if (!result) {
            result = std::move(after);
            first = &payload;
        } else if (!CFEqual(result.get(), after.get())) {
            outcome->FailUsage(first->description + " and " + payload.description +
                               " disagree: they give service " + ServiceText(service) + " different proxy settings");
            return nullptr;
        }
    }
    return result;
}

// Works out what the profile changes in each target service, and (unless
// dryRun) writes the changed entities, in the session open.
std::vector<ServiceChange> ApplyToServices(Outcome* outcome, const Invocation& invocation,
                                           const ReceivedProfile& profile) {
    std::vector<ServiceChange> plan;
    CFRef<CFStringRef> setID = LookUpSetOption(outcome, invocation.set);
    std::vector<NamedEntry> targets;
    if (outcome->ok()) {
        targets = invocation.services.empty() ? ActiveServices(outcome, setID.get())
                                              : NamedTargets(outcome, setID.get(), invocation.services);
    }
    for (NamedEntry& service : targets) {
        if (!outcome->ok()) break;
        CFRef<CFDictionaryRef> before = CopyEntityIfAny(outcome, setID.get(), service.id.get(), kSCEntNetProxies);
        CFRef<CFDictionaryRef> after;
        if (outcome->ok()) after = ProxiesAfter(outcome, profile, before.get(), service);
        if (outcome->ok()) {
            nlohmann::json changes = KeyChanges(before.get(), after.get());
            plan.push_back({std::move(service), std::move(after), std::move(changes)});
        }
    }
    // Written only when every service has been worked out, so that a
    // failure leaves nothing to undo. A service left as it was is not
    // written, so applying the same profile again saves nothing.
    for (const ServiceChange& change : plan) {
        if (!outcome->ok() || invocation.dryRun || change.changes.empty()) continue;
        outcome->Check("MoreSCSetEntity",
                       MoreSCSetEntity(setID.get(), change.service.id.get(), kSCEntNetProxies, change.after.get()));
    }
    return plan;
}

// The notes on standard error after a profile was applied: who signed it,
// and what of it was passed over.
void ReportNotes(const Invocation& invocation, const ReceivedProfile& profile) {
    const char* name = invocation.subcommand->name;
    if (profile.isSigned) {
        std::string signers;
        for (const std::string& signer : profile.signers) signers += (signers.empty() ? "" : " and ") + Escaped(signer);
        ReportError(name, "signed by " + (signers.empty() ? std::string("an unknown signer") : signers) +
                              (profile.verified ? ", verified against " + InputName(*invocation.caFile)
                                                : ", not verified (--verify CAFILE checks the signer)"));
    }
    for (const std::string& note : profile.notes) ReportError(name, note);
}

nlohmann::json ApplyJson(const Invocation& invocation, const ReceivedProfile& profile,
                         const std::vector<ServiceChange>& plan) {
    nlohmann::json services = nlohmann::json::array();
    bool changed = false;
    for (const ServiceChange& change : plan) {
        services.push_back({{"id", TextOf(change.service.id.get())},
                            {"name", JsonStringOrNull(change.service.name.get())},
                            {"changes", change.changes}});
        changed = changed || !change.changes.empty();
    }
    nlohmann::json signers = nlohmann::json::array();
    for (const std::string& signer : profile.signers) signers.push_back({{"subject", signer}, {"verified", profile.verified}});
    nlohmann::json skipped = nlohmann::json::array();
    for (const OtherPayload& other : profile.others) {
        skipped.push_back({{"type", other.type},
                           {"identifier", other.identifier.empty() ? nlohmann::json() : nlohmann::json(other.identifier)}});
    }
    return {{"changed", changed}, {"dryRun", invocation.dryRun}, {"services", services}, {"signers", signers},
            {"skipped", skipped}};
}

// The text of a dry run: a line for each key that would change, its
// service's ID and name, the key, and its value before and after ("-":
// none).
std::string DryRunText(const std::vector<ServiceChange>& plan) {
    std::string text;
    for (const ServiceChange& change : plan) {
        const std::string service =
            Escaped(TextOf(change.service.id.get())) + "\t" + Escaped(TextOf(change.service.name.get()));
        for (const nlohmann::json& key : change.changes) {
            text += service + "\t" + FieldText(key["key"]) + "\t" +
                    (key["from"].is_null() ? "-" : FieldText(key["from"])) + "\t" +
                    (key["to"].is_null() ? "-" : FieldText(key["to"])) + "\n";
        }
    }
    return text;
}

}  // namespace

int ExportProfile(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    ProfileNames names;
    if (invocation.services.size() > 1) {
        outcome.FailUsage("a profile is exported from one --service (usage: " + UsageLine(*invocation.subcommand) +
                          ")");
    }
    if (outcome.ok() && invocation.identifier) names.identifier = IdentifierArgument(&outcome, *invocation.identifier);
    if (outcome.ok() && invocation.displayName && NameArgument(&outcome, *invocation.displayName)) {
        names.displayName = invocation.displayName;
    }
    CFRef<CFDictionaryRef> proxies;
    if (outcome.ok()) {
        Session session(&outcome, Session::kRead);
        CFRef<CFStringRef> setID;
        if (outcome.ok()) setID = LookUpSetOption(&outcome, invocation.set);
        if (outcome.ok()) {
            proxies = invocation.services.empty() ? CopySharedProxies(&outcome, setID.get())
                                                  : CopyServiceProxies(&outcome, setID.get(), invocation.services[0]);
        }
    }
    CFRef<CFDictionaryRef> profile;
    std::vector<std::string> leftOut;
    if (outcome.ok()) profile = CreateProfileOf(&outcome, proxies.get(), invocation.global, names, &leftOut);
    std::string text;
    std::string fault;
    if (outcome.ok() && !PropertyListEncodeFileBytes(profile.get(), PropertyListFormat::XML, &text, &fault)) {
        outcome.Fail("cannot write the profile as XML: " + fault);
    }
    if (outcome.ok()) WriteOutput(&outcome, invocation.output.value_or("-"), text);
    for (const std::string& key : leftOut) {
        if (outcome.ok()) ReportError(invocation.subcommand->name, "a global HTTP proxy has no " + key + "; it is left out");
    }
    return outcome.Finish();
}

int ApplyProfile(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    const std::string& path = invocation.arguments[0];
    // The CA file and the profile are read and checked whole before the
    // store is opened.
    std::optional<CAFile> ca;
    if (invocation.caFile) {
        std::optional<std::string> bytes = ReadInputFile(&outcome, *invocation.caFile);
        if (bytes) ca = CAFile{InputName(*invocation.caFile), std::move(*bytes)};
    }
    std::optional<std::string> bytes;
    if (outcome.ok()) bytes = ReadInputFile(&outcome, path);
    std::optional<ReceivedProfile> profile;
    if (outcome.ok()) profile = ReadProfile(&outcome, *bytes, InputName(path), ca ? &*ca : nullptr);
    std::vector<ServiceChange> plan;
    if (outcome.ok()) {
        Session session(&outcome, invocation.dryRun ? Session::kRead : Session::kChange);
        if (outcome.ok()) plan = ApplyToServices(&outcome, invocation, *profile);
    }
    if (outcome.ok()) {
        ReportNotes(invocation, *profile);
        if (invocation.json) {
            std::fputs(JsonDocument(ApplyJson(invocation, *profile, plan)).c_str(), stdout);
        } else if (invocation.dryRun) {
            std::fputs(DryRunText(plan).c_str(), stdout);
        }
    }
    return outcome.Finish();
}
