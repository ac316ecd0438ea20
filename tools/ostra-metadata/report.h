// How the tool shows errors and positions.
#pragma once

#include <cstddef>
#include <list>
#include <ostream>
#include <string>

#include "host.h"

namespace OstraTool {

class JsonWriter;

// The name of an error's kind, such as "NOT_FOUND".
std::string ErrorKind(const Ostra::Data::ErrorValue& error);

// {"kind": "NOT_FOUND", "messages": [{"id": ..., "text": ..., "args": [...]}]}
void WriteError(JsonWriter& out, const Ostra::Data::ErrorValue& error);
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

// A file parsed as a source is (read once, parsed and fingerprinted from the same bytes; see
// Ostra::Provider::Metadata::ParseSource); null when it cannot be opened.
std::shared_ptr<Ostra::Provider::Metadata::ParsedMetadata> ParseFile(const std::string& path);

}  // namespace OstraTool
