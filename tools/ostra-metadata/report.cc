#include "report.h"

#include <fstream>
#include <sstream>

#include "json_writer.h"

namespace OstraTool {

std::string ErrorKind(const Ostra::Data::ErrorValue& error) {
  using Com::Corvane::Ostra::Std::Errors::ErrorType;
  return ErrorType(Com::Corvane::Ostra::Std::Errors::KindOf(error)).GetText();
}

void WriteError(JsonWriter& out, const Ostra::Data::ErrorValue& error) {
  out.StartObject();
  out.Key("kind");
  out.String(ErrorKind(error));
  out.Key("messages");
  out.StartArray();
  for (const auto& message : Ostra::Data::ErrorFactory::GetMessages(error)) {
    out.StartObject();
    out.Key("id");
    out.String(message.GetId());
    out.Key("text");
    out.String(message.GetDefaultMessage());
    out.Key("args");
    out.StartArray();
    for (const auto& arg : message.GetArgs())
      out.String(arg);
    out.EndArray();
    out.EndObject();
  }
  out.EndArray();
  out.EndObject();
}

std::string ErrorJson(const Ostra::Data::ErrorValue& error) {
  JsonWriter out;
  WriteError(out, error);
  return out.Text();
}

void PrintMessages(std::ostream& out, const std::string& prefix,
                   const std::list<Ostra::BaseMessage>& messages) {
  for (const auto& message : messages) {
    out << prefix << message.GetId() << ": " << message.GetDefaultMessage();
    if (!message.GetArgs().empty()) {
      out << " [";
      const char* separator = "";
      for (const auto& arg : message.GetArgs()) {
        out << separator << arg;
        separator = ", ";
      }
      out << "]";
    }
    out << "\n";
  }
}

TextPosition Locate(const std::string& text, std::size_t offset) {
  TextPosition position{1, 1};
  for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
    if (text[i] == '\n') {
      ++position.line;
      position.column = 1;
    } else if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) {
      ++position.column;
    }
  }
  return position;
}

boost::optional<std::string> ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return boost::none;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::shared_ptr<Ostra::Provider::Metadata::ParsedMetadata> ParseFile(const std::string& path) {
  return Ostra::Provider::Metadata::ParseSourceFile(path);
}

}  // namespace OstraTool
