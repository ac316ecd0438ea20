// Message lists written out for exact comparison.
#pragma once

#include <list>
#include <string>

#include "ostra/core/base_message.h"

namespace OstraTest {

// Messages as "id args; ...", the JSON toolkit's ids shortened to "missing", "invalid" and "enum".
inline std::string Brief(const std::list<Ostra::BaseMessage>& messages) {
  std::string text;
  for (const auto& message : messages) {
    const std::string& id = message.GetId();
    text += (text.empty() ? "" : "; ") +
            (id == "ostra.metadata.json.missing.field"        ? std::string("missing")
             : id == "ostra.metadata.json.invalid.field"      ? std::string("invalid")
             : id == "ostra.metadata.json.invalid.enum.value" ? std::string("enum")
                                                              : id);
    for (const auto& arg : message.GetArgs())
      text += " " + arg;
  }
  return text;
}

}  // namespace OstraTest
