#include "ostra/core/json.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <unordered_set>

namespace Ostra {
namespace Data {
namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void Write(const DataValue& value, Writer& out) {
  switch (value.GetType()) {
    case ValueType::kInteger:
      out.Int64(static_cast<const IntegerValue&>(value).GetValue());
      return;
    case ValueType::kDouble: {
      const double number = static_cast<const DoubleValue&>(value).GetValue();
      if (std::isfinite(number)) {
        out.Double(number);
      } else {
        out.Null();
      }
      return;
    }
    case ValueType::kBoolean:
      out.Bool(static_cast<const BooleanValue&>(value).GetValue());
      return;
    case ValueType::kString: {
      const std::string& text = static_cast<const StringValue&>(value).GetValue();
      out.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
      return;
    }
    case ValueType::kList:
      out.StartArray();
      for (const auto& element : static_cast<const ListValue&>(value).GetElements()) {
        if (element) {
          Write(*element, out);
        } else {
          out.Null();
        }
      }
      out.EndArray();
      return;
    case ValueType::kOptional: {
      const auto& inner = static_cast<const OptionalValue&>(value).GetValue();
      if (inner) {
        Write(*inner, out);
      } else {
        out.Null();
      }
      return;
    }
    case ValueType::kStruct:
    case ValueType::kError:
      out.StartObject();
      for (const auto& field : static_cast<const StructValue&>(value).GetFields()) {
        out.Key(field.first.data(), static_cast<rapidjson::SizeType>(field.first.size()));
        if (field.second) {
          Write(*field.second, out);
        } else {
          out.Null();
        }
      }
      out.EndObject();
      return;
    case ValueType::kVoid:
      out.Null();
      return;
  }
}

ValuePtr Read(const rapidjson::Value& json, std::size_t depth) {
  if ((json.IsArray() || json.IsObject()) && depth >= kMaxRequestJsonDepth) return nullptr;
  switch (json.GetType()) {
    case rapidjson::kNullType:
      return std::make_shared<const OptionalValue>();
    case rapidjson::kFalseType:
    case rapidjson::kTrueType:
      return std::make_shared<const BooleanValue>(json.GetBool());
    case rapidjson::kStringType:
      return std::make_shared<const StringValue>(
          std::string(json.GetString(), json.GetStringLength()));
    case rapidjson::kNumberType:
      if (json.IsInt64()) return std::make_shared<const IntegerValue>(json.GetInt64());
      return std::make_shared<const DoubleValue>(json.GetDouble());
    case rapidjson::kArrayType: {
      std::vector<ValuePtr> elements;
      elements.reserve(json.Size());
      for (const auto& element : json.GetArray()) {
        elements.push_back(Read(element, depth + 1));
        if (!elements.back()) return nullptr;
      }
      return std::make_shared<const ListValue>(std::move(elements));
    }
    case rapidjson::kObjectType: {
      std::vector<StructValue::Field> fields;
      std::unordered_set<std::string> seen;
      for (const auto& member : json.GetObject()) {
        std::string name(member.name.GetString(), member.name.GetStringLength());
        ValuePtr field = Read(member.value, depth + 1);
        if (!field) return nullptr;
        // A repeated member name keeps its first value, as member lookup does elsewhere.
        if (seen.insert(name).second) fields.emplace_back(std::move(name), std::move(field));
      }
      return std::make_shared<const StructValue>(std::string(), std::move(fields));
    }
  }
  return nullptr;
}

}  // namespace

std::string ToJson(const DataValue& value) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  Write(value, writer);
  return std::string(buffer.GetString(), buffer.GetSize());
}

ValuePtr FromJson(const std::string& text, std::string* error) {
  rapidjson::Document document;
  // The iterative parser keeps deep input off the call stack.
  document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
  if (document.HasParseError()) {
    if (error) {
      *error = std::string(rapidjson::GetParseError_En(document.GetParseError())) + " at offset " +
               std::to_string(document.GetErrorOffset());
    }
    return nullptr;
  }
  ValuePtr value = Read(document, 0);
  if (!value && error) *error = "nesting deeper than " + std::to_string(kMaxRequestJsonDepth);
  return value;
}

}  // namespace Data
}  // namespace Ostra
