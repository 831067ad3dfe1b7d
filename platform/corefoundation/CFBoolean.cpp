// The two boolean objects. They are constants: never created, never freed,
// and retain and release leave them alone.
#include "platform/corefoundation/CFObjectsInternal.h"

struct __CFBoolean : __CFRuntimeBase {
    explicit __CFBoolean(bool value) : __CFRuntimeBase(cfrt::kBooleanTypeID), value_(value) { immortal_ = true; }

    bool equal(const __CFRuntimeBase* other) const override {
        return value_ == static_cast<const __CFBoolean*>(other)->value_;
    }
    CFHashCode hash() const override { return value_ ? 1 : 0; }
    CFStringRef copyDescription() const override { return cfrt::MakeString(value_ ? "true" : "false"); }

    bool value_;
};

namespace {

// Storage whose destructor never runs the object's: the constants must stay
// valid while other static objects holding them are torn down at exit.
union BooleanConstant {
    explicit BooleanConstant(bool value) : object(value) {}
    ~BooleanConstant() {}
    __CFBoolean object;
};

BooleanConstant gTrue(true);
BooleanConstant gFalse(false);

}  // namespace

const CFBooleanRef kCFBooleanTrue = &gTrue.object;
const CFBooleanRef kCFBooleanFalse = &gFalse.object;

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
    return static_cast<const __CFBoolean*>(cfrt::CheckedObject(boolean, cfrt::kBooleanTypeID, "CFBooleanGetValue"))
        ->value_;
}
