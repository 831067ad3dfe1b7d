// Property-list values as JSON, and as the fields of moresc's text lines.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "MoreSC.h"

// The JSON of a property-list value: a dictionary is an object (keys in
// sorted order), an array an array, a string a string, an integer or real
// number a number, a boolean true or false, data a string of its bytes in
// base64; nil is null.
nlohmann::json JsonOf(CFTypeRef value);

// The JSON of a string value, or null when value is nil or not a string.
nlohmann::json JsonStringOrNull(CFTypeRef value);

// A JSON value as one field of a text line: a string escaped (see
// Escaped), anything else as its JSON text on one line.
std::string FieldText(const nlohmann::json& value);

// A JSON value as the fields of a text line: the fields of an array's
// elements joined by tabs, or the value's one field.
std::string FieldsText(const nlohmann::json& value);

// The document, indented, and a newline: what --json prints on standard
// output.
std::string JsonDocument(const nlohmann::json& document);
