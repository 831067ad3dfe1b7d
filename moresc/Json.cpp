#include "moresc/Json.h"

#include "moresc/Text.h"

namespace {

std::string Base64(const UInt8* bytes, CFIndex length) {
    static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve(static_cast<std::size_t>((length + 2) / 3 * 4));
    for (CFIndex i = 0; i < length; i += 3) {
        unsigned long group = static_cast<unsigned long>(bytes[i]) << 16;
        if (i + 1 < length) group |= static_cast<unsigned long>(bytes[i + 1]) << 8;
        if (i + 2 < length) group |= bytes[i + 2];
        text += kAlphabet[(group >> 18) & 0x3F];
        text += kAlphabet[(group >> 12) & 0x3F];
        text += i + 1 < length ? kAlphabet[(group >> 6) & 0x3F] : '=';
        text += i + 2 < length ? kAlphabet[group & 0x3F] : '=';
    }
    return text;
}

struct ObjectFiller {
    nlohmann::json* object;
};

void AddMember(const void* key, const void* value, void* context) {
    nlohmann::json& object = *static_cast<ObjectFiller*>(context)->object;
    object[TextOf(key)] = JsonOf(value);
}

// One line, strings escaped as JSON escapes them (and valid UTF-8 by
// construction).
std::string OneLine(const nlohmann::json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

nlohmann::json JsonOf(CFTypeRef value) {
    if (value == nil) return nullptr;
    CFTypeID type = CFGetTypeID(value);
    if (type == CFStringGetTypeID()) return TextOf(value);
    if (type == CFBooleanGetTypeID()) return static_cast<bool>(CFBooleanGetValue(static_cast<CFBooleanRef>(value)));
    if (type == CFNumberGetTypeID()) {
        CFNumberRef number = static_cast<CFNumberRef>(value);
        if (CFNumberIsFloatType(number)) {
            double real = 0;
            CFNumberGetValue(number, kCFNumberDoubleType, &real);
            return real;
        }
        SInt64 integer = 0;
        CFNumberGetValue(number, kCFNumberSInt64Type, &integer);
        return integer;
    }
    if (type == CFDataGetTypeID()) {
        CFDataRef data = static_cast<CFDataRef>(value);
        return Base64(CFDataGetBytePtr(data), CFDataGetLength(data));
    }
    if (type == CFArrayGetTypeID()) {
        CFArrayRef array = static_cast<CFArrayRef>(value);
        nlohmann::json elements = nlohmann::json::array();
        for (CFIndex i = 0, count = CFArrayGetCount(array); i < count; ++i) {
            elements.push_back(JsonOf(CFArrayGetValueAtIndex(array, i)));
        }
        return elements;
    }
    if (type == CFDictionaryGetTypeID()) {
        nlohmann::json object = nlohmann::json::object();
        ObjectFiller filler{&object};
        CFDictionaryApplyFunction(static_cast<CFDictionaryRef>(value), AddMember, &filler);
        return object;
    }
    return nullptr;
}

nlohmann::json JsonStringOrNull(CFTypeRef value) {
    if (value == nil || CFGetTypeID(value) != CFStringGetTypeID()) return nullptr;
    return TextOf(value);
}

std::string FieldText(const nlohmann::json& value) {
    return value.is_string() ? Escaped(value.get<std::string>()) : OneLine(value);
}

std::string FieldsText(const nlohmann::json& value) {
    if (!value.is_array()) return FieldText(value);
    std::string fields;
    bool first = true;
    for (const nlohmann::json& element : value) {
        if (!first) fields += '\t';
        fields += FieldText(element);
        first = false;
    }
    return fields;
}

std::string JsonDocument(const nlohmann::json& document) {
    return document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}
