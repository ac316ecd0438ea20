#include "json_writer.h"

#include <cmath>

namespace OstraTool {
namespace {

using Ostra::Data::ValueType;

// The length of the valid UTF-8 sequence at the start of `text`; 0 when none starts there.
std::size_t SequenceLength(std::string_view text) {
  const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned lead = byte(0);
  if (lead < 0x80) return 1;
  std::size_t length = 0;
  unsigned low = 0x80, high = 0xBF;  // the range of the second byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;   // overlong below
    if (lead == 0xED) high = 0x9F;  // surrogates above
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;   // overlong below
    if (lead == 0xF4) high = 0x8F;  // beyond U+10FFFF above
  } else {
    return 0;
  }
  if (text.size() < length || byte(1) < low || byte(1) > high) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if (byte(i) < 0x80 || byte(i) > 0xBF) return 0;
  }
  return length;
}

// The length of the valid UTF-8 prefix of `text`.
std::size_t ValidPrefix(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t length = SequenceLength(text.substr(at));
    if (length == 0) break;
    at += length;
  }
  return at;
}

template <class Write>
void WriteValid(std::string_view text, Write write) {
  if (ValidPrefix(text) == text.size()) {
    write(text);
  } else {
    const std::string valid = ValidUtf8(text);
    write(std::string_view(valid));
  }
}

}  // namespace

std::string ValidUtf8(std::string_view text) {
  static constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  std::string valid;
  valid.reserve(text.size());
  while (!text.empty()) {
    const std::size_t prefix = ValidPrefix(text);
    valid.append(text.substr(0, prefix));
    text.remove_prefix(prefix);
    if (text.empty()) break;
    valid.append(kReplacement);
    text.remove_prefix(1);
  }
  return valid;
}

void JsonWriter::Key(std::string_view name) {
  WriteValid(name, [this](std::string_view valid) {
    writer_.Key(valid.data(), static_cast<rapidjson::SizeType>(valid.size()));
  });
}

void JsonWriter::String(std::string_view text) {
  WriteValid(text, [this](std::string_view valid) {
    writer_.String(valid.data(), static_cast<rapidjson::SizeType>(valid.size()));
  });
}

void JsonWriter::Raw(std::string_view json) {
  writer_.RawValue(json.data(), json.size(), rapidjson::kNumberType);
}

void JsonWriter::Value(const Ostra::Data::DataValue& value) {
  namespace Data = Ostra::Data;
  switch (value.GetType()) {
    case ValueType::kInteger:
      writer_.Int64(static_cast<const Data::IntegerValue&>(value).GetValue());
      return;
    case ValueType::kDouble: {
      const double number = static_cast<const Data::DoubleValue&>(value).GetValue();
      if (std::isfinite(number)) {
        writer_.Double(number);
      } else {
        writer_.Null();
      }
      return;
    }
    case ValueType::kBoolean:
      writer_.Bool(static_cast<const Data::BooleanValue&>(value).GetValue());
      return;
    case ValueType::kString:
      String(static_cast<const Data::StringValue&>(value).GetValue());
      return;
    case ValueType::kList:
      writer_.StartArray();
      for (const auto& element : static_cast<const Data::ListValue&>(value).GetElements()) {
        if (element) {
          Value(*element);
        } else {
          writer_.Null();
        }
      }
      writer_.EndArray();
      return;
    case ValueType::kOptional: {
      const auto& inner = static_cast<const Data::OptionalValue&>(value).GetValue();
      if (inner) {
        Value(*inner);
      } else {
        writer_.Null();
      }
      return;
    }
    case ValueType::kStruct:
    case ValueType::kError:
      writer_.StartObject();
      for (const auto& field : static_cast<const Data::StructValue&>(value).GetFields()) {
        Key(field.first);
        if (field.second) {
          Value(*field.second);
        } else {
          writer_.Null();
        }
      }
      writer_.EndObject();
      return;
    case ValueType::kVoid:
      writer_.Null();
      return;
  }
}

}  // namespace OstraTool
