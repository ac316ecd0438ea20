// JSON text for data values.
//
// The mapping, value to JSON: integer and double to a number (a double that is not finite to
// null), boolean to true/false, string to a string, list to an array, struct and error to an
// object of their fields in order, a set optional to its value, an unset optional and void to null.
//
// JSON to value: null to an unset optional, an object to a struct with an empty name, an array to a
// list, a string to a string, a number that fits a signed 64-bit integer to an integer and any
// other number to a double, true/false to a boolean.
//
// So FromJson(ToJson(v)) equals v for values without struct names, optionals and void, and
// ToJson(FromJson(text)) is `text` in compact form for every JSON text FromJson accepts.
#pragma once

#include <cstddef>
#include <string>

#include "ostra/core/data_value.h"
#include "ostra/core/json_limits.h"

namespace Ostra {
namespace Data {

std::string ToJson(const DataValue& value);

// Null when `text` is not one JSON value or nests deeper than kMaxRequestJsonDepth; then `error`
// (when given) tells why and where.
ValuePtr FromJson(const std::string& text, std::string* error = nullptr);

}  // namespace Data
}  // namespace Ostra
