// ParsedMetadata: one JSON metadata document together with the fingerprint of its bytes.
#pragma once

#include <cstddef>
#include <istream>
#include <list>
#include <memory>
#include <string>

#include <rapidjson/document.h>

#include "ostra/core/base_message.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

using JsonDocument =
    rapidjson::GenericDocument<rapidjson::UTF8<char>,
                               rapidjson::MemoryPoolAllocator<rapidjson::CrtAllocator>,
                               rapidjson::CrtAllocator>;
using JsonValue = rapidjson::GenericValue<rapidjson::UTF8<char>,
                                          rapidjson::MemoryPoolAllocator<rapidjson::CrtAllocator>>;

// The deepest nesting of arrays and objects that a metadata document may have. Real metadata nests
// a few dozen levels at most (a generic type reference takes one level per element type); the
// limit is far above that, yet low enough that readers walking a document recursively stay within
// a small thread stack. A deeper document fails to parse with kParseErrorTermination at the offset
// of the first bracket beyond the limit.
constexpr std::size_t kMaxJsonNesting = 512;

struct ParsedMetadata {
  // The parsed tree, or the parse failure it records (GetParseError(), GetErrorOffset()).
  std::unique_ptr<JsonDocument> document;
  // Hex CRC32 of every byte of the source text, white space included; also set when the parse
  // failed. Empty until computed.
  std::string fingerprint;
};

// Parses all of `in` into `document` with the default (strict) flags; the outcome is recorded in
// the document. The one place where metadata JSON is read from a stream.
void ParseJson(std::istream& in, JsonDocument& document);

// Parses all of `in` as one JSON document (strict JSON, nothing but white space after the root),
// then rewinds `in` and fingerprints it from the start. A syntax error is not reported here: it
// stays recorded in the document. `messages` is never written. A stream that cannot be rewound
// gets the fingerprint of whatever it still delivers. Never returns null; throws only when memory
// is exhausted.
std::shared_ptr<ParsedMetadata> ParseStream(std::istream& in, std::list<BaseMessage>& messages);

// The first member of `object` named `name` (compared as C strings), or object.MemberEnd(). The
// caller guarantees that `object` is an object.
JsonValue::ConstMemberIterator FindMember(const JsonValue& object, const char* name);

// The characters of a string value, embedded NULs included. The caller guarantees a string.
std::string ValToString(const JsonValue& value);

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
