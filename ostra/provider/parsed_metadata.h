// ParsedMetadata: one JSON metadata document together with the fingerprint of its bytes.
#pragma once

#include <cstddef>
#include <istream>
#include <memory>
#include <string>

#include "ostra/core/json_limits.h"
#include "ostra/provider/shared_types.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

struct ParsedMetadata {
  // The text the tree was parsed from in place, when it was read in one piece: the tree's strings
  // point into it. Null when the text was read block by block.
  std::unique_ptr<char[]> text;
  // The parsed tree, or the parse failure it records (GetParseError(), GetErrorOffset()).
  std::unique_ptr<JsonDocument> document;
  // Hex CRC32 of every byte of the source text, white space included; also set when the parse
  // failed. Empty until computed.
  std::string fingerprint;
};

// Metadata text from a stream is read in blocks of at most this many bytes; the parser and the
// fingerprint take each block in turn, so that reading never holds more of the text than one block.
constexpr std::size_t kReadBlock = 64 * 1024;
// The largest source file read in one piece (see ParseSourceFile).
constexpr std::size_t kMaxWholeText = 64 * 1024 * 1024;

// Parses `in` from its position into `document` with the default (strict) flags; the outcome is
// recorded in the document. Reading stops where the parse stops. A read error of the stream
// buffer ends the text where it happened.
void ParseJson(std::istream& in, JsonDocument& document);

// Parses all of `in` as one JSON document (strict JSON, nothing but white space after the root),
// then rewinds `in` and fingerprints it from the start. A syntax error is not reported here: it
// stays recorded in the document. `messages` is never written. A stream that cannot be rewound
// gets the fingerprint of whatever it still delivers. A read error of the stream buffer ends the
// text where it happened. Never returns null; throws only when memory is exhausted.
std::shared_ptr<ParsedMetadata> ParseStream(std::istream& in, Messages& messages);

// Reads a source text from `in` (from its position on) once, block by block, parsing and
// fingerprinting the same bytes. Reading stops at the first byte that cannot continue the document:
// a text that never ends (a device, a pipe whose writer stays open) fails as soon as it stops
// being JSON. The document records the same outcome as ParseStream gives (error code and byte
// offset included). The fingerprint covers every byte read, which for a valid document is the whole
// text; it stays empty when the parse failed. A read error of the stream buffer ends the text
// where it happened. Never returns null; throws only when memory is exhausted.
std::shared_ptr<ParsedMetadata> ParseSource(std::istream& in);

// Reads the source file at `path` as ParseSource reads a stream. A regular file of at most
// kMaxWholeText bytes is read in one piece and parsed in place, which is faster and copies no
// strings (the result keeps the text); anything else (a pipe, a device, a larger file, a file that
// grows while it is read) is read block by block. Null when the file cannot be opened or is a
// directory.
std::shared_ptr<ParsedMetadata> ParseSourceFile(const std::string& path);

// The first member of `object` named `name` (compared as C strings), or object.MemberEnd(). The
// caller guarantees that `object` is an object.
JsonValue::ConstMemberIterator FindMember(const JsonValue& object, const char* name);

// The characters of a string value, embedded NULs included. The caller guarantees a string.
std::string ValToString(const JsonValue& value);

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
