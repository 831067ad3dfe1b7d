#include "moresc/Session.h"

Session::Session(Outcome* outcome, Access access) : outcome_(outcome) {
    scope_.emplace(&err_, false, access == kChange, false);
    outcome_->Check("MoreSCOpen", err_);
}

Session::~Session() {
    // The close follows every open, a failed one included, and is handed the
    // running status; a failure already recorded keeps precedence over the
    // save's.
    err_ = outcome_->status();
    scope_.reset();
    outcome_->Check("MoreSCClose", err_);
}
