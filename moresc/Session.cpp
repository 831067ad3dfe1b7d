#include "moresc/Session.h"

Session::Session(Outcome* outcome, Access access) : outcome_(outcome) {
    Boolean lock = access == kChange;
    outcome_->Check("MoreSCOpen", MoreSCOpen(lock, false));
}

Session::~Session() {
    // The close follows every open, a failed one included, and is handed the
    // running status; a failure already recorded keeps precedence over the
    // save's.
    OSStatus err = outcome_->status();
    MoreSCClose(&err, false);
    outcome_->Check("MoreSCClose", err);
}
