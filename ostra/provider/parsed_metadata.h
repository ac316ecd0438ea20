// ParsedMetadata: one JSON metadata document together with the fingerprint of its bytes.
#pragma once

#include <cstddef>
#include <functional>
#include <istream>
#include <memory>
#include <string>
#include <vector>

#include "ostra/core/json_limits.h"
#include "ostra/provider/shared_types.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

struct ParsedMetadata {
  // The text the tree was parsed from in place, when it was read in one piece: the tree's strings
  // point into it. Null when the text was read block by block, or streamed (the tree then holds
  // copies of its strings).
  std::unique_ptr<char[]> text;
  // The parsed tree, or the parse failure it records (GetParseError(), GetErrorOffset()).
  std::unique_ptr<JsonDocument> document;
  // Whether the elements of a streamed array were handed over as they were read (see
  // StreamedArray): the tree then holds that array empty.
  bool streamed = false;
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

// One array of a document whose elements are read one at a time, so that the whole tree is never
// in memory: the value of member path[n-1] of ... of member path[0] of the root object, each
// the first member of its name as FindMember finds it. Each element is handed to `element` once
// it is complete and then freed; `element` answers false to stop the parse there (the document
// then records kParseErrorTermination).
struct StreamedArray {
  std::vector<const char*> path;
  std::function<bool(const JsonValue& element)> element;
};

// Reads the source file at `path` as ParseSource reads a stream. A regular file of at most
// kMaxWholeText bytes is read in one piece and parsed in place, which is faster and copies no
// strings (the result keeps the text); anything else (a pipe, a device, a larger file, a file that
// grows while it is read) is read block by block. With `streamed`, a file read in one piece has
// the elements of that array handed over as they are read (`streamed` is set in the result); other
// files are read whole. Null when the file cannot be opened or is a directory.
std::shared_ptr<ParsedMetadata> ParseSourceFile(const std::string& path,
                                                const StreamedArray* streamed = nullptr);

// The first member of `object` named `name` (compared as C strings), or object.MemberEnd(). The
// caller guarantees that `object` is an object.
JsonValue::ConstMemberIterator FindMember(const JsonValue& object, const char* name);

// The characters of a string value, embedded NULs included. The caller guarantees a string.
std::string ValToString(const JsonValue& value);

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
