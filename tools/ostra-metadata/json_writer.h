// JsonWriter: JSON text written through rapidjson's Writer, always valid UTF-8.
//
// Texts from documents and requests are bytes: a document may hold any, and an escape such as a
// lone "\udc00" decodes to bytes that are not UTF-8. Every string and key written here comes out as
// UTF-8 all the same, each byte that does not belong to a valid sequence replaced by U+FFFD.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "ostra/core/data_value.h"

namespace OstraTool {

class JsonWriter {
 public:
  JsonWriter() : writer_(buffer_) {}
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;

  void StartObject() { writer_.StartObject(); }
  void EndObject() { writer_.EndObject(); }
  void StartArray() { writer_.StartArray(); }
  void EndArray() { writer_.EndArray(); }
  void Key(std::string_view name);
  void String(std::string_view text);
  void Int(std::int64_t number) { writer_.Int64(number); }
  void Null() { writer_.Null(); }
  // One JSON value written as it is. The caller guarantees valid JSON in UTF-8 (such as the text
  // of a number that a parser accepted).
  void Raw(std::string_view json);
  // A data value, mapped as Ostra::Data::ToJson maps it.
  void Value(const Ostra::Data::DataValue& value);

  // The bytes written so far.
  std::size_t Size() const { return buffer_.GetSize(); }
  std::string Text() const { return std::string(buffer_.GetString(), buffer_.GetSize()); }

 private:
  rapidjson::StringBuffer buffer_;
  rapidjson::Writer<rapidjson::StringBuffer> writer_;
};

// `text` with every byte that does not belong to a valid UTF-8 sequence replaced by U+FFFD.
// Surrogates, overlong forms and code points above U+10FFFF are not valid.
std::string ValidUtf8(std::string_view text);

}  // namespace OstraTool
