#include "moresc/OneService.h"

#include "moresc/Lookup.h"

void RunOnService(Outcome* outcome, const Invocation& invocation, Session::Access access, const char* operation,
                  const ServiceStep& step) {
    Session session(outcome, access);
    CFRef<CFStringRef> setID;
    CFRef<CFStringRef> serviceID;
    if (outcome->ok()) setID = LookUpSetOption(outcome, invocation.set);
    if (outcome->ok()) serviceID = LookUpService(outcome, setID.get(), invocation.arguments[0]);
    if (outcome->ok()) outcome->Check(operation, step(setID.get(), serviceID.get()));
}
