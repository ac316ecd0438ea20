// ParseStream over arbitrary bytes, checked against rapidjson's own recursive parse of the same
// bytes: the same outcome within the nesting limit, and a stop at the limit only where the
// document really nests deeper.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include <rapidjson/memorystream.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "ostra/core/crc32.h"
#include "ostra/provider/parsed_metadata.h"

namespace {

using Ostra::Provider::Metadata::JsonDocument;

// Nesting depth of the bytes before `end`, counting brackets outside strings.
std::size_t DepthBefore(const std::string& text, std::size_t end) {
  std::size_t depth = 0;
  bool inString = false;
  for (std::size_t i = 0; i < end; ++i) {
    const char c = text[i];
    if (inString) {
      if (c == '\\') {
        ++i;
      } else if (c == '"') {
        inString = false;
      }
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      ++depth;
    } else if (c == ']' || c == '}') {
      --depth;
    }
  }
  return depth;
}

// The document written out again. rapidjson's operator== cannot compare documents here: it looks
// members up by name, so an object with a repeated name differs even from itself.
std::string Text(const JsonDocument& document) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  document.Accept(writer);
  return std::string(buffer.GetString(), buffer.GetSize());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::istringstream in(text);
  std::list<Ostra::BaseMessage> messages;
  const auto parsed = Ostra::Provider::Metadata::ParseStream(in, messages);
  const JsonDocument& document = *parsed->document;

  Ostra::CRC32 crc;
  crc.Update(text);
  if (parsed->fingerprint != crc.Hexdigest() || !messages.empty()) __builtin_trap();

  // The reference: rapidjson's recursive reader, fine on this thread for inputs of fuzzing size.
  JsonDocument reference;
  rapidjson::MemoryStream bytes(text.data(), text.size());
  reference.ParseStream<rapidjson::kParseDefaultFlags, rapidjson::UTF8<char>>(bytes);

  if (document.GetParseError() == rapidjson::kParseErrorTermination) {
    // Stopped at an opening bracket one level beyond the limit, before any error of the reference.
    const std::size_t at = document.GetErrorOffset();
    if (at >= text.size() || (text[at] != '[' && text[at] != '{') ||
        DepthBefore(text, at) != Ostra::Provider::Metadata::kMaxJsonNesting ||
        (reference.HasParseError() && reference.GetErrorOffset() < at)) {
      __builtin_trap();
    }
    return 0;
  }
  if (document.GetParseError() != reference.GetParseError() ||
      document.GetErrorOffset() != reference.GetErrorOffset()) {
    __builtin_trap();
  }
  if (!document.HasParseError() && Text(document) != Text(reference)) __builtin_trap();
  return 0;
}
