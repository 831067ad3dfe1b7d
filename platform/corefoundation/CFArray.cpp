// Ordered lists of values. What an array does to the values it holds
// (retain, release, compare, describe) is set by the callbacks it was made
// with; without callbacks it holds plain pointers compared by identity.
#include <algorithm>
#include <string>
#include <vector>

#include "platform/corefoundation/CFObjectsInternal.h"

namespace {

const void* RetainObject(CFAllocatorRef, const void* value) { return CFRetain(value); }
void ReleaseObject(CFAllocatorRef, const void* value) { CFRelease(value); }

}  // namespace

const CFArrayCallBacks kCFTypeArrayCallBacks = {0, RetainObject, ReleaseObject, CFCopyDescription, CFEqual};

namespace {

// The shared copy of an array's callbacks; the standard ones, a constant,
// are found once rather than searched for at every array made.
const CFArrayCallBacks* SharedCallBacks(const CFArrayCallBacks* callBacks) {
    if (callBacks == &kCFTypeArrayCallBacks) {
        static const CFArrayCallBacks* standard = cfrt::InternCallBacks(callBacks);
        return standard;
    }
    return cfrt::InternCallBacks(callBacks);
}

}  // namespace

struct __CFArray : __CFRuntimeBase {
    __CFArray(const CFArrayCallBacks* callBacks, bool isMutable)
        : __CFRuntimeBase(cfrt::kArrayTypeID), mutable_(isMutable), callBacks_(SharedCallBacks(callBacks)) {}
    ~__CFArray() override {
        for (const void* value : values_) releaseValue(value);
    }

    bool equal(const __CFRuntimeBase* other) const override {
        const __CFArray& that = *static_cast<const __CFArray*>(other);
        if (values_.size() != that.values_.size()) return false;
        for (std::size_t i = 0; i < values_.size(); ++i) {
            if (!equalValues(values_[i], that.values_[i])) return false;
        }
        return true;
    }
    CFHashCode hash() const override { return values_.size(); }
    CFStringRef copyDescription() const override {
        std::string text;
        cfrt::AppendArrayDescription(text, this, 0);
        return cfrt::MakeString(text);
    }

    const void* retainValue(const void* value) const {
        return callBacks_->retain != nil ? callBacks_->retain(kCFAllocatorDefault, value) : value;
    }
    void releaseValue(const void* value) const {
        if (callBacks_->release != nil) callBacks_->release(kCFAllocatorDefault, value);
    }
    bool equalValues(const void* a, const void* b) const {
        return a == b || (callBacks_->equal != nil && callBacks_->equal(a, b));
    }

    bool mutable_;  // first, in the room the base object leaves at its end
    const CFArrayCallBacks* callBacks_;
    std::vector<const void*> values_;
};

namespace {

const __CFArray& Checked(CFArrayRef array, const char* caller) {
    return *static_cast<const __CFArray*>(cfrt::CheckedObject(array, cfrt::kArrayTypeID, caller));
}

__CFArray& CheckedMutable(CFMutableArrayRef array, const char* caller) {
    __CFArray& a = const_cast<__CFArray&>(Checked(array, caller));
    if (!a.mutable_) cfrt::MutationOfImmutable("CFArray");
    return a;
}

void CheckRange(const __CFArray& array, CFRange range, const char* caller) {
    CFIndex count = static_cast<CFIndex>(array.values_.size());
    if (range.location < 0 || range.length < 0 || range.location > count || range.length > count - range.location) {
        cfrt::Fatal(std::string(caller) + " called with a range outside the array");
    }
}

void CheckIndex(const __CFArray& array, CFIndex idx, CFIndex limit, const char* caller) {
    if (idx < 0 || idx >= static_cast<CFIndex>(array.values_.size()) + limit) {
        cfrt::Fatal(std::string(caller) + " called with an index outside the array");
    }
}

std::vector<const void*>::const_iterator At(const __CFArray& array, CFIndex idx) {
    return array.values_.begin() + idx;
}

}  // namespace

namespace cfrt {

void AppendArrayDescription(std::string& out, CFArrayRef theArray, int depth) {
    const __CFArray& array = *theArray;
    if (array.values_.empty()) {
        out += "()";
        return;
    }
    out += "(\n";
    for (std::size_t i = 0; i < array.values_.size(); ++i) {
        AppendIndent(out, depth + 1);
        AppendElementDescription(out, array.values_[i], array.callBacks_->copyDescription, depth + 1);
        out += i + 1 < array.values_.size() ? ",\n" : "\n";
    }
    AppendIndent(out, depth);
    out += ")";
}

}  // namespace cfrt

CFArrayRef CFArrayCreate(CFAllocatorRef, const void** values, CFIndex numValues, const CFArrayCallBacks* callBacks) {
    if (numValues < 0 || (values == nil && numValues > 0)) return nil;
    __CFArray* array = new __CFArray(callBacks, false);
    array->values_.reserve(static_cast<std::size_t>(numValues));
    for (CFIndex i = 0; i < numValues; ++i) array->values_.push_back(array->retainValue(values[i]));
    return array;
}

CFArrayRef CFArrayCreateCopy(CFAllocatorRef, CFArrayRef theArray) {
    const __CFArray& source = Checked(theArray, "CFArrayCreateCopy");
    __CFArray* array = new __CFArray(source.callBacks_, false);
    array->values_.reserve(source.values_.size());
    for (const void* value : source.values_) array->values_.push_back(array->retainValue(value));
    return array;
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex capacity, const CFArrayCallBacks* callBacks) {
    if (capacity < 0) return nil;
    __CFArray* array = new __CFArray(callBacks, true);
    // A hint only (and not trusted past a sane size): it still grows past it.
    array->values_.reserve(static_cast<std::size_t>(std::min<CFIndex>(capacity, 1 << 16)));
    return array;
}

CFMutableArrayRef CFArrayCreateMutableCopy(CFAllocatorRef, CFIndex capacity, CFArrayRef theArray) {
    const __CFArray& source = Checked(theArray, "CFArrayCreateMutableCopy");
    if (capacity < 0) return nil;
    __CFArray* array = new __CFArray(source.callBacks_, true);
    array->values_.reserve(source.values_.size());
    for (const void* value : source.values_) array->values_.push_back(array->retainValue(value));
    return array;
}

CFIndex CFArrayGetCount(CFArrayRef theArray) {
    return static_cast<CFIndex>(Checked(theArray, "CFArrayGetCount").values_.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx) {
    const __CFArray& array = Checked(theArray, "CFArrayGetValueAtIndex");
    CheckIndex(array, idx, 0, "CFArrayGetValueAtIndex");
    return array.values_[static_cast<std::size_t>(idx)];
}

void CFArrayGetValues(CFArrayRef theArray, CFRange range, const void** values) {
    const __CFArray& array = Checked(theArray, "CFArrayGetValues");
    CheckRange(array, range, "CFArrayGetValues");
    if (range.length > 0) std::copy(At(array, range.location), At(array, range.location + range.length), values);
}

CFIndex CFArrayGetFirstIndexOfValue(CFArrayRef theArray, CFRange range, const void* value) {
    const __CFArray& array = Checked(theArray, "CFArrayGetFirstIndexOfValue");
    CheckRange(array, range, "CFArrayGetFirstIndexOfValue");
    for (CFIndex i = range.location; i < range.location + range.length; ++i) {
        if (array.equalValues(array.values_[static_cast<std::size_t>(i)], value)) return i;
    }
    return kCFNotFound;
}

Boolean CFArrayContainsValue(CFArrayRef theArray, CFRange range, const void* value) {
    return CFArrayGetFirstIndexOfValue(theArray, range, value) != kCFNotFound;
}

CFIndex CFArrayBSearchValues(CFArrayRef theArray, CFRange range, const void* value, CFComparatorFunction comparator,
                             void* context) {
    const __CFArray& array = Checked(theArray, "CFArrayBSearchValues");
    CheckRange(array, range, "CFArrayBSearchValues");
    // The first place in the range whose value is not less than value.
    CFIndex low = range.location, high = range.location + range.length;
    while (low < high) {
        CFIndex middle = low + (high - low) / 2;
        if (comparator(array.values_[static_cast<std::size_t>(middle)], value, context) < 0) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

void CFArrayAppendValue(CFMutableArrayRef theArray, const void* value) {
    __CFArray& array = CheckedMutable(theArray, "CFArrayAppendValue");
    array.values_.push_back(array.retainValue(value));
}

void CFArrayRemoveValueAtIndex(CFMutableArrayRef theArray, CFIndex idx) {
    __CFArray& array = CheckedMutable(theArray, "CFArrayRemoveValueAtIndex");
    CheckIndex(array, idx, 0, "CFArrayRemoveValueAtIndex");
    const void* old = array.values_[static_cast<std::size_t>(idx)];
    array.values_.erase(At(array, idx));
    array.releaseValue(old);
}

void CFArraySortValues(CFMutableArrayRef theArray, CFRange range, CFComparatorFunction comparator, void* context) {
    __CFArray& array = CheckedMutable(theArray, "CFArraySortValues");
    CheckRange(array, range, "CFArraySortValues");
    auto begin = array.values_.begin() + range.location;
    std::stable_sort(begin, begin + range.length,
                     [&](const void* a, const void* b) { return comparator(a, b, context) < 0; });
}
