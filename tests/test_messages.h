// Helpers for asserting exact message lists.
#pragma once

#include <list>
#include <string>
#include <vector>

#include "ostra/core/base_message.h"

namespace OstraTest {

// One expected message: its id and its arguments (the text comes from the catalogue).
struct Expected {
  std::string id;
  std::vector<std::string> args;
};

inline std::string Describe(const std::list<Ostra::BaseMessage>& messages) {
  std::string text;
  for (const auto& message : messages) {
    text += message.GetId() + "(";
    for (const auto& arg : message.GetArgs())
      text += arg + ",";
    text += ") ";
  }
  return text;
}

inline bool Matches(const std::list<Ostra::BaseMessage>& messages,
                    const std::vector<Expected>& expected) {
  if (messages.size() != expected.size()) return false;
  auto it = messages.begin();
  for (const auto& want : expected) {
    if (it->GetId() != want.id || it->GetArgs() != want.args) return false;
    ++it;
  }
  return true;
}

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

#define EXPECT_MESSAGES(messages, ...) \
  EXPECT_TRUE(OstraTest::Matches(messages, __VA_ARGS__)) << OstraTest::Describe(messages)
