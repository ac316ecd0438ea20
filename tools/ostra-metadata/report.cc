#include "report.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <fstream>
#include <sstream>

namespace OstraTool {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

namespace {
void String(Writer& writer, const std::string& text) {
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}
}  // namespace

std::string ErrorJson(const Ostra::Data::ErrorValue& error) {
  using Com::Corvane::Ostra::Std::Errors::ErrorType;
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartObject();
  writer.Key("kind");
  String(writer, ErrorType(Com::Corvane::Ostra::Std::Errors::KindOf(error)).GetText());
  writer.Key("messages");
  writer.StartArray();
  for (const auto& message : Ostra::Data::ErrorFactory::GetMessages(error)) {
    writer.StartObject();
    writer.Key("id");
    String(writer, message.GetId());
    writer.Key("text");
    String(writer, message.GetDefaultMessage());
    writer.Key("args");
    writer.StartArray();
    for (const auto& arg : message.GetArgs())
      String(writer, arg);
    writer.EndArray();
    writer.EndObject();
  }
  writer.EndArray();
  writer.EndObject();
  return buffer.GetString();
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

std::string Quote(const std::string& text) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  String(writer, text);
  return buffer.GetString();
}

}  // namespace OstraTool
