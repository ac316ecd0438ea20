#include "ostra/json/json_member.h"

#include <locale>

namespace Ostra {
namespace Provider {
namespace Metadata {

bool CheckParsed(const JsonDocument& document, const char* parseErrorId, Messages& messages) {
  if (!document.HasParseError()) return true;
  AddMessage(messages, parseErrorId, static_cast<int>(document.GetParseError()),
             static_cast<unsigned long>(document.GetErrorOffset()));
  return false;
}

const JsonValue* FindMemberValue(const JsonValue& object, const char* name, Messages& messages) {
  if (object.IsObject()) {
    const auto it = FindMember(object, name);
    if (it != object.MemberEnd()) return &it->value;
  }
  AddMessageAt(messages, object, kMissingFieldId, name);
  return nullptr;
}

// What boost::algorithm::to_upper does under the default locale, character by character, with
// the locale's ctype facet looked up once rather than once per character.
std::string ToUpper(std::string text) {
  if (text.empty()) return text;
  const auto& ctype = std::use_facet<std::ctype<char>>(std::locale());
  ctype.toupper(&text[0], &text[0] + text.size());
  return text;
}

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
