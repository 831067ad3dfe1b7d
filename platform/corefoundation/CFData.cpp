// Byte buffers, immutable or growable; two data objects are equal when
// they hold the same bytes.
#include <cstdio>
#include <vector>

#include "platform/corefoundation/CFObjectsInternal.h"

struct __CFData : __CFRuntimeBase {
    __CFData(std::vector<UInt8> bytes, bool isMutable)
        : __CFRuntimeBase(cfrt::kDataTypeID), bytes_(std::move(bytes)), mutable_(isMutable) {}

    bool equal(const __CFRuntimeBase* other) const override {
        return bytes_ == static_cast<const __CFData*>(other)->bytes_;
    }
    CFHashCode hash() const override {
        // FNV-1a over the length and at most the first 80 bytes.
        CFHashCode h = 14695981039346656037ULL ^ bytes_.size();
        std::size_t n = bytes_.size() < 80 ? bytes_.size() : 80;
        for (std::size_t i = 0; i < n; ++i) h = (h ^ bytes_[i]) * 1099511628211ULL;
        return h;
    }
    // The bytes in hexadecimal between angle brackets, as property lists
    // write data: <0a1b2c3d 4e>.
    CFStringRef copyDescription() const override {
        std::string text = "<";
        for (std::size_t i = 0; i < bytes_.size(); ++i) {
            if (i > 0 && i % 4 == 0) text += ' ';
            char hex[3];
            std::snprintf(hex, sizeof hex, "%02x", bytes_[i]);
            text += hex;
        }
        text += '>';
        return cfrt::MakeString(text);
    }

    std::vector<UInt8> bytes_;
    bool mutable_;
};

namespace {

const __CFData& Checked(CFDataRef data, const char* caller) {
    return *static_cast<const __CFData*>(cfrt::CheckedObject(data, cfrt::kDataTypeID, caller));
}

}  // namespace

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length) {
    if (length < 0 || (bytes == nil && length > 0)) return nil;
    return new __CFData(std::vector<UInt8>(bytes, bytes + length), false);
}

CFMutableDataRef CFDataCreateMutable(CFAllocatorRef, CFIndex capacity) {
    if (capacity < 0) return nil;
    return new __CFData(std::vector<UInt8>(), true);
}

CFIndex CFDataGetLength(CFDataRef theData) {
    return static_cast<CFIndex>(Checked(theData, "CFDataGetLength").bytes_.size());
}

const UInt8* CFDataGetBytePtr(CFDataRef theData) {
    // An empty buffer still hands out a valid address, so that callers may
    // pass it straight to memcpy with a length of zero.
    static const UInt8 kNoBytes = 0;
    const __CFData& data = Checked(theData, "CFDataGetBytePtr");
    return data.bytes_.empty() ? &kNoBytes : data.bytes_.data();
}

void CFDataAppendBytes(CFMutableDataRef theData, const UInt8* bytes, CFIndex length) {
    __CFData& data = const_cast<__CFData&>(Checked(theData, "CFDataAppendBytes"));
    if (!data.mutable_) cfrt::MutationOfImmutable("CFData");
    if (length < 0 || (bytes == nil && length > 0)) cfrt::Fatal("CFDataAppendBytes called with a bad byte range");
    data.bytes_.insert(data.bytes_.end(), bytes, bytes + length);
}
