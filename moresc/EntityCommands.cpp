// The subcommands on the entities of a service: print one as an XML
// property list, and write one from an XML property list.

#include <cstdio>
#include <optional>
#include <string>

#include "MoreSC.h"
#include "moresc/InputFile.h"
#include "moresc/Json.h"
#include "moresc/OneService.h"
#include "moresc/Outcome.h"
#include "moresc/Session.h"
#include "moresc/Subcommands.h"
#include "moresc/Text.h"

namespace {

// The string for a protocol typed on the command line. A protocol is the
// key of one entity in the service's dictionary: it cannot be empty, hold a
// "/" (the store would take it for a path into another entity), or be one
// of the keys that the service keeps beside its entities.
CFRef<CFStringRef> ProtocolArgument(Outcome* outcome, const std::string& text) {
    CFRef<CFStringRef> protocol;
    if (text.empty() || text.find('/') != std::string::npos) {
        outcome->FailUsage(Quoted(text) + " is not a protocol name");
        return protocol;
    }
    protocol.reset(CreateStringFromText(text));
    if (!protocol) {
        outcome->FailUsage(Quoted(text) + " is not valid UTF-8");
    } else if (CFEqual(protocol.get(), kSCPropUserDefinedName) || CFEqual(protocol.get(), kSCResvInactive) ||
               CFEqual(protocol.get(), kSCResvLink)) {
        outcome->FailUsage(Quoted(text) + " is a key of the service, not a protocol");
        protocol.reset();
    }
    return protocol;
}

// The dictionary in the XML property list of path, checked whole before
// the store is opened: a failure leaves the outcome with the reason.
CFRef<CFDictionaryRef> ReadEntityFile(Outcome* outcome, const std::string& path) {
    const std::string shownPath = InputName(path);
    std::optional<std::string> bytes = ReadInputFile(outcome, path);
    if (!bytes) return nullptr;
    std::string fault;
    PropertyListFormat format = PropertyListFormat::XML;
    CFRef<CFDictionaryRef> entity(PropertyListCreateFromFileBytes(*bytes, &format, &fault));
    if (!entity) {
        outcome->FailUsage(shownPath + " is not a property list whose root is a dictionary: " + fault);
    } else if (format != PropertyListFormat::XML) {
        outcome->FailUsage(shownPath + " is a binary property list; give the entity as XML");
        entity.reset();
    }
    return entity;
}

}  // namespace

int PrintEntity(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> protocol = ProtocolArgument(&outcome, invocation.arguments[1]);
    CFRef<CFDictionaryRef> entity;
    if (outcome.ok()) {
        RunOnService(&outcome, invocation, Session::kRead, "MoreSCCopyEntitiesDict",
                     [&](CFStringRef setID, CFStringRef serviceID) {
                         entity = CopyEntityIfAny(&outcome, setID, serviceID, protocol.get());
                         if (outcome.ok() && !entity) {
                             outcome.Fail("service " + Escaped(TextOf(serviceID)) + " has no " +
                                          Quoted(invocation.arguments[1]) + " entity");
                         }
                         return noErr;
                     });
    }
    std::string text;
    std::string fault;
    if (outcome.ok() && invocation.json) {
        text = JsonDocument(JsonOf(entity.get()));
    } else if (outcome.ok() && !PropertyListEncodeFileBytes(entity.get(), PropertyListFormat::XML, &text, &fault)) {
        outcome.Fail("cannot write the entity as XML: " + fault);
    }
    if (outcome.ok()) std::fwrite(text.data(), 1, text.size(), stdout);
    return outcome.Finish();
}

int WriteEntity(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFStringRef> protocol = ProtocolArgument(&outcome, invocation.arguments[1]);
    CFRef<CFDictionaryRef> entity;
    if (outcome.ok()) entity = ReadEntityFile(&outcome, invocation.arguments[2]);
    if (outcome.ok()) {
        RunOnService(&outcome, invocation, Session::kChange, "MoreSCSetEntity",
                     [&](CFStringRef setID, CFStringRef serviceID) {
                         return MoreSCSetEntity(setID, serviceID, protocol.get(), entity.get());
                     });
    }
    return outcome.Finish();
}
