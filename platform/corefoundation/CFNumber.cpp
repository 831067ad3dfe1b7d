// Numbers keep one of two representations: a signed 64-bit integer for
// every integer type, or a double for the floating types. Reads convert to
// the asked type and say whether the conversion kept the value exactly.
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "platform/corefoundation/CFObjectsInternal.h"

struct __CFNumber : __CFRuntimeBase {
    explicit __CFNumber(SInt64 value) : __CFRuntimeBase(cfrt::kNumberTypeID), isFloat_(false), integer_(value) {}
    explicit __CFNumber(double value) : __CFRuntimeBase(cfrt::kNumberTypeID), isFloat_(true), real_(value) {}

    bool equal(const __CFRuntimeBase* other) const override;
    CFHashCode hash() const override;
    CFStringRef copyDescription() const override;

    bool isFloat_;
    SInt64 integer_ = 0;
    double real_ = 0;
};

namespace {

constexpr double kTwoTo63 = 9223372036854775808.0;

const __CFNumber& Checked(CFNumberRef number, const char* caller) {
    return *static_cast<const __CFNumber*>(cfrt::CheckedObject(number, cfrt::kNumberTypeID, caller));
}

// Orders an integer against a double exactly, without rounding either.
CFComparisonResult CompareIntegerToReal(SInt64 i, double d) {
    if (std::isnan(d)) return kCFCompareGreaterThan;  // NaN sorts before every other number
    if (d >= kTwoTo63) return kCFCompareLessThan;
    if (d < -kTwoTo63) return kCFCompareGreaterThan;
    double whole = std::trunc(d);
    SInt64 wholeInteger = static_cast<SInt64>(whole);
    if (i < wholeInteger) return kCFCompareLessThan;
    if (i > wholeInteger) return kCFCompareGreaterThan;
    double fraction = d - whole;
    if (fraction > 0) return kCFCompareLessThan;
    if (fraction < 0) return kCFCompareGreaterThan;
    return kCFCompareEqualTo;
}

CFComparisonResult CompareReals(double a, double b) {
    bool aNaN = std::isnan(a), bNaN = std::isnan(b);
    if (aNaN || bNaN) return aNaN == bNaN ? kCFCompareEqualTo : (aNaN ? kCFCompareLessThan : kCFCompareGreaterThan);
    if (a < b) return kCFCompareLessThan;
    if (a > b) return kCFCompareGreaterThan;
    return kCFCompareEqualTo;
}

CFComparisonResult Compare(const __CFNumber& a, const __CFNumber& b) {
    if (!a.isFloat_ && !b.isFloat_) {
        return a.integer_ < b.integer_ ? kCFCompareLessThan
                                       : (a.integer_ > b.integer_ ? kCFCompareGreaterThan : kCFCompareEqualTo);
    }
    if (a.isFloat_ && b.isFloat_) return CompareReals(a.real_, b.real_);
    if (!a.isFloat_) return CompareIntegerToReal(a.integer_, b.real_);
    return -CompareIntegerToReal(b.integer_, a.real_);
}

template <class T>
void Store(void* valuePtr, T value) {
    std::memcpy(valuePtr, &value, sizeof value);
}

template <class T>
T Load(const void* valuePtr) {
    T value;
    std::memcpy(&value, valuePtr, sizeof value);
    return value;
}

// Integer to integer type T: wraps like a C conversion when out of range.
template <class T>
bool IntegerAs(SInt64 value, void* valuePtr) {
    T converted = static_cast<T>(value);
    Store(valuePtr, converted);
    return static_cast<SInt64>(converted) == value;
}

// Double to integer type T: truncated toward zero, saturated at the type's
// limits (NaN reads as 0).
template <class T>
bool RealAs(double value, void* valuePtr) {
    if (std::isnan(value)) {
        Store(valuePtr, T(0));
        return false;
    }
    double whole = std::trunc(value);
    constexpr double low = static_cast<double>(std::numeric_limits<T>::min());
    // The largest value of T plus one, exactly representable as a double.
    constexpr double highExclusive = 2.0 * static_cast<double>(std::numeric_limits<T>::max() / 2 + 1);
    T converted;
    bool exact = whole == value;
    if (whole < low) {
        converted = std::numeric_limits<T>::min();
        exact = false;
    } else if (whole >= highExclusive) {
        converted = std::numeric_limits<T>::max();
        exact = false;
    } else {
        converted = static_cast<T>(whole);
    }
    Store(valuePtr, converted);
    return exact;
}

template <class T>
bool AsInteger(const __CFNumber& number, void* valuePtr) {
    return number.isFloat_ ? RealAs<T>(number.real_, valuePtr) : IntegerAs<T>(number.integer_, valuePtr);
}

bool AsDouble(const __CFNumber& number, void* valuePtr) {
    if (number.isFloat_) {
        Store(valuePtr, number.real_);
        return true;
    }
    double converted = static_cast<double>(number.integer_);
    Store(valuePtr, converted);
    return converted < kTwoTo63 && static_cast<SInt64>(converted) == number.integer_;
}

bool AsFloat(const __CFNumber& number, void* valuePtr) {
    double source;
    bool exact = AsDouble(number, &source);
    float converted;
    if (std::isnan(source)) {
        converted = std::numeric_limits<float>::quiet_NaN();
    } else if (std::fabs(source) > static_cast<double>(std::numeric_limits<float>::max()) && std::isfinite(source)) {
        converted = source > 0 ? std::numeric_limits<float>::infinity() : -std::numeric_limits<float>::infinity();
        exact = false;
    } else {
        converted = static_cast<float>(source);
        if (static_cast<double>(converted) != source) exact = false;
    }
    Store(valuePtr, converted);
    return exact;
}

}  // namespace

bool __CFNumber::equal(const __CFRuntimeBase* other) const {
    return Compare(*this, *static_cast<const __CFNumber*>(other)) == kCFCompareEqualTo;
}

// Equal numbers hash alike: a double holding a whole number in the 64-bit
// range hashes as that integer.
CFHashCode __CFNumber::hash() const {
    if (!isFloat_) return cfrt::MixHash(static_cast<CFHashCode>(integer_));
    if (std::trunc(real_) == real_ && real_ >= -kTwoTo63 && real_ < kTwoTo63) {
        return cfrt::MixHash(static_cast<CFHashCode>(static_cast<SInt64>(real_)));
    }
    if (std::isnan(real_)) return 0x7ff8;
    UInt64 bits;
    std::memcpy(&bits, &real_, sizeof bits);
    return cfrt::MixHash(bits);
}

CFStringRef __CFNumber::copyDescription() const {
    char text[64];
    std::to_chars_result written = isFloat_ ? std::to_chars(text, text + sizeof text - 1, real_)
                                            : std::to_chars(text, text + sizeof text - 1, integer_);
    *written.ptr = '\0';
    return cfrt::MakeString(text);
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType theType, const void* valuePtr) {
    if (valuePtr == nil) return nil;
    switch (theType) {
        case kCFNumberSInt8Type: return new __CFNumber(static_cast<SInt64>(Load<SInt8>(valuePtr)));
        case kCFNumberSInt16Type: return new __CFNumber(static_cast<SInt64>(Load<SInt16>(valuePtr)));
        case kCFNumberSInt32Type: return new __CFNumber(static_cast<SInt64>(Load<SInt32>(valuePtr)));
        case kCFNumberSInt64Type: return new __CFNumber(Load<SInt64>(valuePtr));
        case kCFNumberCharType: return new __CFNumber(static_cast<SInt64>(Load<char>(valuePtr)));
        case kCFNumberShortType: return new __CFNumber(static_cast<SInt64>(Load<short>(valuePtr)));
        case kCFNumberIntType: return new __CFNumber(static_cast<SInt64>(Load<int>(valuePtr)));
        case kCFNumberLongType: return new __CFNumber(static_cast<SInt64>(Load<long>(valuePtr)));
        case kCFNumberLongLongType: return new __CFNumber(static_cast<SInt64>(Load<long long>(valuePtr)));
        case kCFNumberCFIndexType: return new __CFNumber(static_cast<SInt64>(Load<CFIndex>(valuePtr)));
        case kCFNumberFloat32Type:
        case kCFNumberFloatType: return new __CFNumber(static_cast<double>(Load<float>(valuePtr)));
        case kCFNumberFloat64Type:
        case kCFNumberDoubleType: return new __CFNumber(Load<double>(valuePtr));
        default: return nil;
    }
}

Boolean CFNumberIsFloatType(CFNumberRef number) { return Checked(number, "CFNumberIsFloatType").isFloat_; }

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr) {
    const __CFNumber& n = Checked(number, "CFNumberGetValue");
    if (valuePtr == nil) return false;
    switch (theType) {
        case kCFNumberSInt8Type: return AsInteger<SInt8>(n, valuePtr);
        case kCFNumberSInt16Type: return AsInteger<SInt16>(n, valuePtr);
        case kCFNumberSInt32Type: return AsInteger<SInt32>(n, valuePtr);
        case kCFNumberSInt64Type: return AsInteger<SInt64>(n, valuePtr);
        case kCFNumberCharType: return AsInteger<char>(n, valuePtr);
        case kCFNumberShortType: return AsInteger<short>(n, valuePtr);
        case kCFNumberIntType: return AsInteger<int>(n, valuePtr);
        case kCFNumberLongType: return AsInteger<long>(n, valuePtr);
        case kCFNumberLongLongType: return AsInteger<long long>(n, valuePtr);
        case kCFNumberCFIndexType: return AsInteger<CFIndex>(n, valuePtr);
        case kCFNumberFloat32Type:
        case kCFNumberFloatType: return AsFloat(n, valuePtr);
        case kCFNumberFloat64Type:
        case kCFNumberDoubleType: return AsDouble(n, valuePtr);
        default: return false;
    }
}
