// How the tool shows errors and positions.
#pragma once

#include <cstddef>
#include <list>
#include <ostream>
#include <string>

#include "host.h"

namespace OstraTool {

// {"kind": "NOT_FOUND", "messages": [{"id": ..., "text": ..., "args": [...]}]}
std::string ErrorJson(const Ostra::Data::ErrorValue& error);

// One message per line: "<prefix>id: text [args]".
void PrintMessages(std::ostream& out, const std::string& prefix,
                   const std::list<Ostra::BaseMessage>& messages);

struct TextPosition {
  std::size_t line;
  std::size_t column;
};
// 1-based line and column of a byte offset; columns count characters, not UTF-8 bytes.
TextPosition Locate(const std::string& text, std::size_t offset);

// The whole content of a file, or none when it cannot be read.
boost::optional<std::string> ReadFile(const std::string& path);

// A JSON string literal of `text`.
std::string Quote(const std::string& text);

}  // namespace OstraTool
