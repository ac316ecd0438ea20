#include "ostra/json/json_member.h"

#include <boost/algorithm/string/case_conv.hpp>

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
  AddMessage(messages, kMissingFieldId, name);
  return nullptr;
}

std::string ToUpper(std::string text) {
  boost::algorithm::to_upper(text, std::locale());
  return text;
}

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
