#include "ostra/provider/parsed_metadata.h"

#include <rapidjson/istreamwrapper.h>
#include <rapidjson/memorystream.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "ostra/core/crc32.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

namespace {

// Reads the rest of a seekable stream into `text` in large blocks, sized up front where the
// stream tells a plausible end. Answers false, reading nothing, for a stream that is not good or
// cannot tell its position (a pipe, say): those are parsed through the stream wrapper instead.
// A read error ends the text where it happened (the stream buffer throws what an istream would
// have caught).
bool ReadRest(std::istream& in, std::string& text) {
  if (!in.good()) return false;
  const std::streamoff start = in.tellg();
  if (start < 0) return false;
  std::streambuf& buffer = *in.rdbuf();
  const std::streamoff end = buffer.pubseekoff(0, std::ios::end, std::ios::in);
  if (buffer.pubseekpos(start, std::ios::in) != start) return false;
  std::size_t filled = 0;  // bytes read so far
  try {
    // Some files tell no true end (a directory may claim an end near 2^63); such ends are not
    // trusted, the blocks below read what is really there.
    constexpr std::streamoff kTrustedSize = std::streamoff(1) << 32;
    if (end > start && end - start <= kTrustedSize) {
      // Read what the stream said it holds; stop there unless it holds more after all.
      text.resize(static_cast<std::size_t>(end - start));
      const std::streamsize got = buffer.sgetn(&text[0], static_cast<std::streamsize>(text.size()));
      filled = static_cast<std::size_t>(std::max<std::streamsize>(got, 0));
      text.resize(filled);
      if (buffer.sgetc() == std::char_traits<char>::eof()) return true;
    }
    constexpr std::size_t kBlock = 1 << 16;
    for (;;) {
      text.resize(filled + kBlock);
      const std::streamsize got = buffer.sgetn(&text[filled], static_cast<std::streamsize>(kBlock));
      filled += static_cast<std::size_t>(std::max<std::streamsize>(got, 0));
      text.resize(filled);
      if (got <= 0) return true;
    }
  } catch (const std::ios_base::failure&) {
    text.resize(filled);
    in.setstate(std::ios::badbit);
    return true;
  }
}

// rapidjson sets a document's parse result only from the reader it runs itself, with the document
// as the only handler. The depth-limited parse below runs its own reader, so it records the outcome
// through the one private member it needs; an explicit instantiation may name a private member.
using ParseResultMember = rapidjson::ParseResult JsonDocument::*;
ParseResultMember ParseResultOf();
template <ParseResultMember Member>
struct ParseResultAccess {
  friend ParseResultMember ParseResultOf() { return Member; }
};
template struct ParseResultAccess<&JsonDocument::parseResult_>;

// Passes every event on to the document and stops the parse at the first array or object nested
// deeper than kMaxJsonNesting. The reader then reports kParseErrorTermination at that bracket.
class NestingLimit {
 public:
  explicit NestingLimit(JsonDocument& document) : document_(document) {}

  bool Null() { return document_.Null(); }
  bool Bool(bool b) { return document_.Bool(b); }
  bool Int(int i) { return document_.Int(i); }
  bool Uint(unsigned u) { return document_.Uint(u); }
  bool Int64(std::int64_t i) { return document_.Int64(i); }
  bool Uint64(std::uint64_t u) { return document_.Uint64(u); }
  bool Double(double d) { return document_.Double(d); }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool copy) {
    return document_.RawNumber(text, length, copy);
  }
  bool String(const char* text, rapidjson::SizeType length, bool copy) {
    return document_.String(text, length, copy);
  }
  bool Key(const char* text, rapidjson::SizeType length, bool copy) {
    return document_.Key(text, length, copy);
  }
  bool StartObject() { return Open() && document_.StartObject(); }
  bool EndObject(rapidjson::SizeType members) {
    --depth_;
    return document_.EndObject(members);
  }
  bool StartArray() { return Open() && document_.StartArray(); }
  bool EndArray(rapidjson::SizeType elements) {
    --depth_;
    return document_.EndArray(elements);
  }

 private:
  bool Open() { return ++depth_ <= kMaxJsonNesting; }

  JsonDocument& document_;
  std::size_t depth_ = 0;
};

// Parses `input` into `document` with the strict default flags, giving the error codes and offsets
// of rapidjson's recursive reader. Its iterative reader keeps nesting off the call stack; the
// nesting limit bounds the memory a deep document can take.
template <typename Stream>
void ParseLimited(Stream& input, JsonDocument& document) {
  rapidjson::ParseResult result;
  auto parse = [&input, &result](JsonDocument& target) {
    rapidjson::GenericReader<rapidjson::UTF8<char>, rapidjson::UTF8<char>, rapidjson::CrtAllocator>
        reader;
    NestingLimit handler(target);
    result = reader.Parse<rapidjson::kParseDefaultFlags | rapidjson::kParseIterativeFlag>(input,
                                                                                          handler);
    return !result.IsError();
  };
  document.Populate(parse);
  // The iterative reader calls a document that starts with "]", "}", "," or ":" empty; the
  // recursive reader, whose codes are the ones reported, finds an invalid value there.
  if (result.Code() == rapidjson::kParseErrorDocumentEmpty && input.Peek() != '\0') {
    result.Set(rapidjson::kParseErrorValueInvalid, result.Offset());
  }
  document.*ParseResultOf() = result;
}

// The same reading through rapidjson's stream wrapper, which takes one character at a time.
void ParseWrapped(std::istream& in, JsonDocument& document) {
  rapidjson::BasicIStreamWrapper<std::istream> wrapper(in);
  ParseLimited(wrapper, document);
}

// Parses bytes in memory. This gives the same document, error code and offset as the stream
// wrapper: both read the bytes as they are (a byte-order mark is not skipped, unlike rapidjson's
// Parse(text, length)) and show a NUL both at the end and for an embedded NUL byte.
void ParseBytes(const std::string& text, JsonDocument& document) {
  rapidjson::MemoryStream bytes(text.data(), text.size());
  ParseLimited(bytes, document);
}

}  // namespace

void ParseJson(std::istream& in, JsonDocument& document) {
  std::string text;
  if (!ReadRest(in, text)) {
    ParseWrapped(in, document);
    return;
  }
  ParseBytes(text, document);
}

std::shared_ptr<ParsedMetadata> ParseStream(std::istream& in, std::list<BaseMessage>&) {
  auto parsed = std::make_shared<ParsedMetadata>();
  parsed->document = std::make_unique<JsonDocument>();

  // A stream at its start is read once: parsed and fingerprinted from the same bytes.
  std::string text;
  if (in.good() && in.tellg() == 0 && ReadRest(in, text)) {
    ParseBytes(text, *parsed->document);
    CRC32 crc;
    crc.Update(text);
    std::string fingerprint = crc.Hexdigest();
    parsed->fingerprint.swap(fingerprint);
    in.clear();
    return parsed;
  }

  ParseJson(in, *parsed->document);
  // Reading to the end leaves the stream failed; clear that so the rewind can happen. A stream
  // that cannot be rewound is fingerprinted over whatever it still delivers.
  in.clear();
  in.seekg(0);
  std::string fingerprint = CRC32(in).Hexdigest();
  parsed->fingerprint.swap(fingerprint);
  return parsed;
}

// Equal as C strings: the member name up to its first NUL equals `name`. Comparing lengths first
// gives the same answer as strcmp without reading most names to their end.
JsonValue::ConstMemberIterator FindMember(const JsonValue& object, const char* name) {
  const std::size_t length = std::strlen(name);
  for (auto it = object.MemberBegin(); it != object.MemberEnd(); ++it) {
    const std::size_t memberLength = it->name.GetStringLength();
    if (memberLength < length) continue;
    const char* member = it->name.GetString();
    if (std::memcmp(member, name, length) == 0 &&
        (memberLength == length || member[length] == '\0')) {
      return it;
    }
  }
  return object.MemberEnd();
}

std::string ValToString(const JsonValue& value) {
  return std::string(value.GetString(), value.GetStringLength());
}

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
