// ParseStream over arbitrary bytes, checked against rapidjson's own recursive parse of the same
// bytes: the same outcome within the nesting limit, and a stop at the limit only where the
// document really nests deeper. ParseSource over the bytes trickling through a pipe, and
// ParseSourceFile over them in a file, give the same.
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <streambuf>
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

// Hands out its text a few bytes at a time and cannot seek, as a pipe.
class TricklingBuffer : public std::streambuf {
 public:
  TricklingBuffer(std::string data, std::size_t piece) : data_(std::move(data)), piece_(piece) {}

 protected:
  int_type underflow() override {
    if (at_ == data_.size()) return traits_type::eof();
    char* begin = &data_[at_];
    at_ += std::min(piece_, data_.size() - at_);
    setg(begin, begin, &data_[0] + at_);
    return traits_type::to_int_type(*begin);
  }

 private:
  std::string data_;
  std::size_t piece_;
  std::size_t at_ = 0;
};

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

  // The stores' block-wise reading, through a pipe that delivers a few bytes at a time: the same
  // outcome, the fingerprint of the whole text when it is valid.
  TricklingBuffer pipe(text, 1 + size % 7);
  std::istream piped(&pipe);
  const auto read = Ostra::Provider::Metadata::ParseSource(piped);
  if (read->document->GetParseError() != document.GetParseError() ||
      read->document->GetErrorOffset() != document.GetErrorOffset() ||
      read->fingerprint != (document.HasParseError() ? "" : parsed->fingerprint) ||
      (!document.HasParseError() && Text(*read->document) != Text(document))) {
    __builtin_trap();
  }

  // A source file, read in one piece and parsed in place: the same again.
  static const struct TempFile {
    std::string path = "/tmp/ostra-parse-stream-fuzzer-" + std::to_string(getpid());
    ~TempFile() { unlink(path.c_str()); }
  } temp;
  std::ofstream(temp.path, std::ios::binary | std::ios::trunc) << text;
  const auto file = Ostra::Provider::Metadata::ParseSourceFile(temp.path);
  if (!file || file->document->GetParseError() != document.GetParseError() ||
      file->document->GetErrorOffset() != document.GetErrorOffset() ||
      file->fingerprint != read->fingerprint ||
      (!document.HasParseError() && Text(*file->document) != Text(document))) {
    __builtin_trap();
  }

  // The reference: rapidjson's recursive reader, fine on this thread for inputs of fuzzing size.
  JsonDocument reference;
  rapidjson::MemoryStream bytes(text.data(), text.size());
  reference.ParseStream<rapidjson::kParseDefaultFlags, rapidjson::UTF8<char>>(bytes);

  if (document.GetParseError() == rapidjson::kParseErrorTermination) {
    // Stopped at an opening bracket one level beyond the limit, before any error of the reference.
    const std::size_t at = document.GetErrorOffset();
    if (at >= text.size() || (text[at] != '[' && text[at] != '{') ||
        DepthBefore(text, at) != Ostra::kMaxDocumentJsonDepth ||
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
