#include "ostra/provider/parsed_metadata.h"

#include <rapidjson/istreamwrapper.h>

#include <cstring>

#include "ostra/core/crc32.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

void ParseJson(std::istream& in, JsonDocument& document) {
  rapidjson::BasicIStreamWrapper<std::istream> wrapper(in);
  document.ParseStream<rapidjson::kParseDefaultFlags, rapidjson::UTF8<char>>(wrapper);
}

std::shared_ptr<ParsedMetadata> ParseStream(std::istream& in, std::list<BaseMessage>&) {
  auto parsed = std::make_shared<ParsedMetadata>();
  parsed->document = std::make_unique<JsonDocument>();
  ParseJson(in, *parsed->document);

  // Reading to the end leaves the stream failed; clear that so the rewind can happen.
  in.clear();
  in.seekg(0);
  std::string fingerprint = CRC32(in).Hexdigest();
  parsed->fingerprint.swap(fingerprint);
  return parsed;
}

JsonValue::ConstMemberIterator FindMember(const JsonValue& object, const char* name) {
  for (auto it = object.MemberBegin(); it != object.MemberEnd(); ++it) {
    if (std::strcmp(it->name.GetString(), name) == 0) return it;
  }
  return object.MemberEnd();
}

std::string ValToString(const JsonValue& value) {
  return std::string(value.GetString(), value.GetStringLength());
}

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
