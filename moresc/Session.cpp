#include "moresc/Session.h"

#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace {

bool gCreateStore = false;
int gWaitSeconds = 10;

bool StoreExists(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) == 0) return true;
    // Any other fault (a folder that cannot be searched, say) is the store's
    // to report when it is opened.
    return errno != ENOENT && errno != ENOTDIR;
}

// A status that waiting may cure: another program holds the lock, or saved
// the store between its reading and the locking.
bool OtherProgramInTheWay(OSStatus err) { return err == kSCStatusPrefsBusy || err == kSCStatusStale; }

}  // namespace

std::string StorePath() {
    const char* value = std::getenv("TARNWICK_ROOT");
    std::string root = (value == nullptr || *value == '\0') ? "/" : value;
    while (!root.empty() && root.back() == '/') root.pop_back();
    return root + "/Library/Preferences/SystemConfiguration/preferences.plist";
}

void Session::SetStoreOptions(bool createStore, int waitSeconds) {
    gCreateStore = createStore;
    gWaitSeconds = waitSeconds;
}

Session::Session(Outcome* outcome, Access access) : outcome_(outcome) {
    // A root without a store is most often a mistyped TARNWICK_ROOT: say so,
    // rather than show an empty configuration or make a store under it.
    const std::string path = StorePath();
    bool exists = StoreExists(path);
    if (!exists && (access == kRead || !gCreateStore)) {
        outcome_->Fail("no preferences store at " + path);
        return;
    }
    // A new store is locked by its save alone: a lock taken now would make
    // its folders even when the subcommand then fails.
    Boolean lock = access == kChange && exists;
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::seconds(gWaitSeconds);
    std::chrono::milliseconds pause(10);
    scope_.emplace(&err_, false, lock, false);
    // The store is opened anew for each try, so that the session reads what
    // the other program saved.
    while (lock && OtherProgramInTheWay(err_) && Clock::now() < deadline) {
        scope_.reset();
        std::this_thread::sleep_for(std::min<Clock::duration>(pause, deadline - Clock::now()));
        pause = std::min(pause * 2, std::chrono::milliseconds(200));
        err_ = noErr;
        scope_.emplace(&err_, false, lock, false);
    }
    discardOnFailure_ = access == kChange && err_ == noErr;
    outcome_->Check("MoreSCOpen", err_);
}

Session::~Session() {
    if (!scope_) return;
    // The library's outermost close saves whatever an operation changed,
    // also when a later step failed (a half-made set whose roll-back could
    // not run, a copy whose renaming failed): a subcommand that failed
    // discards its changes first, so the close finds nothing to write.
    if (discardOnFailure_ && !outcome_->ok()) SCPreferencesSynchronize(MoreSCGetSCPreferencesRef());
    // The close follows every open, a failed one included, and is handed the
    // running status; a failure already recorded keeps precedence over the
    // save's.
    err_ = outcome_->status();
    scope_.reset();
    outcome_->Check("MoreSCClose", err_);
}
