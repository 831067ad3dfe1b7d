#include "netconfig/MoreSCPathsInternal.h"

#include <functional>

#include "netconfig/MoreSCSession.h"
#include "netconfig/StoreFixture.h"

namespace {

// What is copied, how, the status, the path and what is reported.
struct PathRow { const char* what; std::function<OSStatus(CFStringRef*)> copy; OSStatus status; const char* path;
                 const char* report = ""; };

// Runs each row with a fresh out-parameter and checks status, path and what
// was reported.
void ExpectPaths(const std::vector<PathRow>& rows) {
    for (const PathRow& row : rows) {
        SCOPED_TRACE(row.what);
        CFRef<CFStringRef> path;
        StderrCapture reports;
        EXPECT_EQ(row.copy(path.out()), row.status);
        EXPECT_EQ(Text(path.get()), row.path);
        EXPECT_EQ(reports.text(), row.report);
    }
}

TEST(PathStrings, IDIsTheThirdComponentOfAPath) {
    const char* report = "MoreAssertQ failure: CFArrayGetCount(sePathComponents) == 3\n";
    auto id = [](CFStringRef path) { return [path](CFStringRef* id) { return CopySeIDFromSePath(path, id); }; };
    ExpectPaths({
        {"service", id(CFSTR("/NetworkServices/12")), noErr, "12"},
        {"empty ID", id(CFSTR("/Sets/")), noErr, ""},
        {"too short", id(CFSTR("/Sets")), coreFoundationUnknownErr, "(nil)", report},
        {"too long", id(CFSTR("/Sets/0/Network")), noErr, "0", report},  // the third component all the same
    });
}

using Paths = StoreTest;

// Paths are made for sets whether or not they exist; services are reached
// only through a link of the set.
TEST_F(Paths, SetsAndServicesAreReachedThroughTheSetsLinks) {
    root_.writeStore(Edited(kTwoSetStore, "<key>L4</key>", "<key>7</key><dict/><key>L4</key>"));
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    auto entity = [](CFStringRef setID, CFStringRef serviceID, CFStringRef protocol) {
        return [=](CFStringRef* path) { return CopyEntityPath(setID, serviceID, protocol, path); };
    };
    ExpectPaths({
        {"services of set 9", [](CFStringRef* p) { return CopySetServicesPath(CFSTR("9"), p); }, noErr,
         "/Sets/9/Network/Service"},
        {"local ID", entity(CFSTR("1"), CFSTR("L4"), CFSTR("Proxies")), noErr, "/NetworkServices/4/Proxies"},
        {"global entity", entity(CFSTR("9"), nil, CFSTR("IPv4")), noErr, "/Sets/9/Network/Global/IPv4"},
        {"not linked", entity(nil, CFSTR("4"), CFSTR("Proxies")), kSCStatusNoKey, "(nil)"},
        {"not a link", entity(CFSTR("1"), CFSTR("7"), CFSTR("Proxies")), kSCStatusNoKey, "(nil)"},
        {"no such set", entity(CFSTR("9"), CFSTR("2"), CFSTR("Proxies")), kSCStatusNoKey, "(nil)"},
    });
    OSStatus err = noErr;
    MoreSCClose(&err, false);
}

}  // namespace
