#include "platform/corefoundation/CFRuntime.h"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/corefoundation/CFObjectsInternal.h"

namespace {

// Names of the types, indexed by type ID; built-in types first, then the
// ones registered at run time. Held in a function-local static so that it
// exists before any other static initialiser registers a type.
std::vector<std::string>& TypeNames() {
    static std::vector<std::string> names = [] {
        std::vector<std::string> initial(cfrt::kFirstRegisteredTypeID);
        initial[cfrt::kStringTypeID] = "CFString";
        initial[cfrt::kNumberTypeID] = "CFNumber";
        initial[cfrt::kBooleanTypeID] = "CFBoolean";
        initial[cfrt::kDataTypeID] = "CFData";
        initial[cfrt::kArrayTypeID] = "CFArray";
        initial[cfrt::kDictionaryTypeID] = "CFDictionary";
        return initial;
    }();
    return names;
}

std::string TypeName(CFTypeID typeID) {
    const std::vector<std::string>& names = TypeNames();
    if (typeID < names.size() && !names[typeID].empty()) return names[typeID];
    return "CFType";
}

__CFRuntimeBase* Object(CFTypeRef cf, const char* caller) {
    if (cf == nil) cfrt::Fatal(std::string(caller) + " called with a NULL reference");
    return const_cast<__CFRuntimeBase*>(_CFRuntimeBase(cf));
}

}  // namespace

namespace cfrt {

void Fatal(const std::string& message) {
    std::string line = "CoreFoundation: " + message + "\n";
    std::fputs(line.c_str(), stderr);
    std::fflush(stderr);
    std::abort();
}

void MutationOfImmutable(const char* typeName) {
    Fatal(std::string("attempt to mutate an immutable ") + typeName);
}

const __CFRuntimeBase* CheckedObject(CFTypeRef cf, CFTypeID typeID, const char* caller) {
    if (cf == nil) Fatal(std::string(caller) + " called with a NULL reference");
    const __CFRuntimeBase* object = _CFRuntimeBase(cf);
    if (object->typeID_ != typeID) {
        Fatal(std::string(caller) + " called with a " + TypeName(object->typeID_) + " instead of a " +
              TypeName(typeID));
    }
    return object;
}

CFStringRef MakeString(const std::string& utf8) {
    return CFStringCreateWithCString(kCFAllocatorDefault, utf8.c_str(), kCFStringEncodingUTF8);
}

std::string StringText(CFStringRef string) {
    if (string == nil) return std::string();
    CFIndex size = CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8) + 1;
    std::vector<char> buffer(static_cast<std::size_t>(size), '\0');
    if (!CFStringGetCString(string, buffer.data(), size, kCFStringEncodingUTF8)) return std::string();
    return std::string(buffer.data());
}

void AppendIndent(std::string& out, int depth) { out.append(static_cast<std::size_t>(depth) * 4, ' '); }

void AppendElementDescription(std::string& out, const void* value, DescriptionFunction describe, int depth) {
    if (describe == nil || value == nil) {
        char text[32];
        std::snprintf(text, sizeof text, "<%p>", value);
        out += text;
        return;
    }
    if (describe == CFCopyDescription) {
        CFTypeID typeID = CFGetTypeID(value);
        if (typeID == kArrayTypeID) {
            AppendArrayDescription(out, static_cast<CFArrayRef>(value), depth);
            return;
        }
        if (typeID == kDictionaryTypeID) {
            AppendDictionaryDescription(out, static_cast<CFDictionaryRef>(value), depth);
            return;
        }
    }
    CFStringRef description = describe(value);
    out += StringText(description);
    if (description != nil) CFRelease(description);
}

}  // namespace cfrt

CFStringRef __CFRuntimeBase::copyDescription() const {
    char address[32];
    std::snprintf(address, sizeof address, " %p>", static_cast<const void*>(this));
    std::string text = "<";
    text += TypeName(typeID_);
    text += address;
    return cfrt::MakeString(text);
}

CFTypeID _CFRuntimeRegisterClass(const char* className) {
    std::vector<std::string>& names = TypeNames();
    names.push_back(className != nil ? className : "CFType");
    return names.size() - 1;
}

CFTypeRef CFRetain(CFTypeRef cf) {
    __CFRuntimeBase* object = Object(cf, "CFRetain");
    if (object->immortal_) return cf;
    if (object->retainCount_ == INT32_MAX) cfrt::Fatal("CFRetain: too many references to one object");
    ++object->retainCount_;
    return cf;
}

void CFRelease(CFTypeRef cf) {
    __CFRuntimeBase* object = Object(cf, "CFRelease");
    if (object->immortal_) return;
    if (object->retainCount_ <= 0) cfrt::Fatal("CFRelease called on an object already freed");
    if (--object->retainCount_ == 0) delete object;
}

CFIndex CFGetRetainCount(CFTypeRef cf) {
    const __CFRuntimeBase* object = Object(cf, "CFGetRetainCount");
    return object->immortal_ ? LONG_MAX : object->retainCount_;
}

CFTypeID CFGetTypeID(CFTypeRef cf) { return Object(cf, "CFGetTypeID")->typeID_; }

Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2) {
    if (cf1 == cf2) return true;
    if (cf1 == nil || cf2 == nil) return false;
    const __CFRuntimeBase* a = _CFRuntimeBase(cf1);
    const __CFRuntimeBase* b = _CFRuntimeBase(cf2);
    return a->typeID_ == b->typeID_ && a->equal(b);
}

CFHashCode CFHash(CFTypeRef cf) { return Object(cf, "CFHash")->hash(); }

CFStringRef CFCopyDescription(CFTypeRef cf) {
    if (cf == nil) return cfrt::MakeString("(null)");
    return _CFRuntimeBase(cf)->copyDescription();
}

CFTypeID CFStringGetTypeID(void) { return cfrt::kStringTypeID; }
CFTypeID CFNumberGetTypeID(void) { return cfrt::kNumberTypeID; }
CFTypeID CFBooleanGetTypeID(void) { return cfrt::kBooleanTypeID; }
CFTypeID CFDataGetTypeID(void) { return cfrt::kDataTypeID; }
CFTypeID CFArrayGetTypeID(void) { return cfrt::kArrayTypeID; }
CFTypeID CFDictionaryGetTypeID(void) { return cfrt::kDictionaryTypeID; }
