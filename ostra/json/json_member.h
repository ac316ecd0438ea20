// The JSON member-mapping toolkit: reading members of a JSON object into binding records, with
// uniform failure messages.
//
// Every reader appends to the caller's message list and never clears it:
//   - a member that is absent: "ostra.metadata.json.missing.field" (member name). This is recorded
//     for optional members too, although they succeed: the messages only surface when the load as
//     a whole fails, and then they show which optional members were absent before the fault;
//   - a member of the wrong JSON type (null included): the invalid-field id (member name);
//   - an enumeration text not in the table: "ostra.metadata.json.invalid.enum.value" (member
//     name, not the text).
// Enumeration texts are upper-cased first, so they are case-insensitive; member names are not.
//
// In reading order: the message ids and lookups; the readers of a value in hand (JsonParseString,
// JsonParseArray); the member wrappers, which do their work when constructed and then hold a
// success flag (explicit operator bool) and the value (Value(), Take()); and RecordReader, the base
// of the domain parsers, which reads each record as one chain of member reads through the same
// functions and stops at the first that fails. Converters and element parsers are callables of
// (const JsonValue&, Messages&) returning a shared pointer (null = failure) or a bool; map fillers
// take (const JsonValue&, Map&, Messages&) and return a bool.
#pragma once

#include <istream>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include <boost/optional.hpp>

#include "ostra/core/enum.h"
#include "ostra/json/load_trace.h"
#include "ostra/provider/messages.h"
#include "ostra/provider/parsed_metadata.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

constexpr const char* kMissingFieldId = "ostra.metadata.json.missing.field";
constexpr const char* kInvalidFieldId = "ostra.metadata.json.invalid.field";
constexpr const char* kInvalidNodeTypeId = "ostra.metadata.json.invalid.node.type";
constexpr const char* kInvalidEnumValueId = "ostra.metadata.json.invalid.enum.value";

// The id a reader reports a member of the wrong JSON type with. Domains with their own id supply
// their own policy.
struct JsonIds {
  static constexpr const char* kInvalidField = kInvalidFieldId;
};

// Appends the catalogue message `id` with its arguments.
template <class... Args>
void AddMessage(Messages& messages, const std::string& id, const Args&... args) {
  messages.push_back(MetadataMessage(id, args...));
  LoadTrace::Note(messages, nullptr);
}

// The same for a message about value `at` of the document (a member name, for a malformed one), so
// that a LoadTrace can tell where it is.
template <class... Args>
void AddMessageAt(Messages& messages, const JsonValue& at, const std::string& id,
                  const Args&... args) {
  messages.push_back(MetadataMessage(id, args...));
  LoadTrace::Note(messages, &at);
}

// The parse-error message of a document that failed to parse ({1} code, {2} offset), or nothing.
// Answers whether the document parsed.
bool CheckParsed(const JsonDocument& document, const char* parseErrorId, Messages& messages);

// FindMember that records "missing field" when the member is absent. `object` must be an object.
template <class Value>
typename Value::ConstMemberIterator FindMember(const Value& object, const char* name,
                                               Messages& messages) {
  const auto it = FindMember(static_cast<const JsonValue&>(object), name);
  if (it == object.MemberEnd()) AddMessageAt(messages, object, kMissingFieldId, name);
  return it;
}

// The value of member `name`, or null (recording "missing field") when it is absent. Any JSON
// value may be given: one that is not an object has no members. The wrappers look members up here.
const JsonValue* FindMemberValue(const JsonValue& object, const char* name, Messages& messages);

// Whether a value in hand has JSON type `type` (string, array or object); otherwise records
// Ids::kInvalidField with `name`.
template <class Ids = JsonIds, class Name>
bool CheckType(const JsonValue& value, rapidjson::Type type, const Name& name, Messages& messages) {
  if (value.GetType() == type) return true;
  AddMessageAt(messages, value, Ids::kInvalidField, name);
  return false;
}

// The value of member `name` when it has JSON type `type`; otherwise null, with the message of a
// missing member or of a wrong type. Nothing is copied.
template <class Ids = JsonIds>
const JsonValue* FindTypedMember(const JsonValue& object, const char* name, rapidjson::Type type,
                                 Messages& messages) {
  const JsonValue* member = FindMemberValue(object, name, messages);
  if (member == nullptr || CheckType<Ids>(*member, type, name, messages)) return member;
  return nullptr;
}

// Upper case under the default locale, as enumeration texts are compared.
std::string ToUpper(std::string text);

// Appends the invalid-enum message for E's unknown value; answers whether `value` is known.
template <class E>
bool CheckEnum(const E& value, const char* name, Messages& messages) {
  if (!value.IsUnknown()) return true;
  AddMessage(messages, kInvalidEnumValueId, name);
  return false;
}
// The same, the message being about the text `at`.
template <class E>
bool CheckEnum(const E& value, const char* name, Messages& messages, const JsonValue& at) {
  if (!value.IsUnknown()) return true;
  AddMessageAt(messages, at, kInvalidEnumValueId, name);
  return false;
}

// Converters from an (already upper-cased, for enumerations) text to a value.
struct ParseString {
  std::string operator()(std::string text) const { return text; }
};
// Walks E's name table; a text not in it gives the unknown value keeping the text.
template <class E>
struct ParseEnum {
  E operator()(const std::string& text) const { return EnumConverter<E>::Convert(text); }
};

namespace Detail {

template <class T>
struct IsEnum : std::is_base_of<Enum, T> {};

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<boost::optional<T>> : std::true_type {};

template <class C, class = void>
struct IsMap : std::false_type {};
template <class C>
struct IsMap<C, std::void_t<typename C::mapped_type>> : std::true_type {};

// Runs an object callable: one that fills `value` (a map filler), one that answers a bool, or one
// that answers a shared pointer stored in `value`.
template <class T, class Fill>
bool ApplyObject(const JsonValue& object, T& value, Fill& fill, Messages& messages) {
  if constexpr (std::is_invocable_r_v<bool, Fill&, const JsonValue&, T&, Messages&>) {
    return fill(object, value, messages);
  } else {
    auto result = fill(object, messages);
    if constexpr (std::is_same_v<decltype(result), bool>) {
      return result;
    } else {
      const bool ok = result != nullptr;
      value = std::move(result);
      return ok;
    }
  }
}

// Adds a parsed element at the end of a list, or under its name to a map (keeping an element
// already there under that name).
template <class C, class E>
void AddElement(C& container, E&& element) {
  if constexpr (IsMap<C>::value) {
    std::string key = element->name;
    container.emplace(std::move(key), std::forward<E>(element));
  } else if constexpr (IsOptional<std::decay_t<E>>::value) {
    container.insert(container.end(), std::move(*element));
  } else {
    container.insert(container.end(), std::forward<E>(element));
  }
}

}  // namespace Detail

// A value in hand that must be a string; `convert` turns its text into T (enumerations: the
// upper-cased text, checked with CheckEnum under `name`).
template <class T, class Converter = ParseString, class Ids = JsonIds>
bool JsonParseString(const JsonValue& value, const char* name, T& out, Messages& messages,
                     Converter convert = Converter()) {
  if (!CheckType<Ids>(value, rapidjson::kStringType, name, messages)) return false;
  if constexpr (Detail::IsEnum<T>::value) {
    out = convert(ToUpper(ValToString(value)));
    return CheckEnum(out, name, messages, value);
  } else {
    out = convert(ValToString(value));
    return true;
  }
}

// A value in hand that must be an array; each element goes through `parse` in order and the first
// failure ends the walk (what was added stays; the caller drops it).
template <class C, class ElementParser, class Ids = JsonIds>
bool JsonParseArray(const JsonValue& value, const char* name, C& out, ElementParser parse,
                    Messages& messages) {
  if (!CheckType<Ids>(value, rapidjson::kArrayType, name, messages)) return false;
  for (const auto& element : value.GetArray()) {
    auto parsed = parse(element, messages);
    if constexpr (std::is_same_v<decltype(parsed), bool>) {
      if (!parsed) return false;
    } else {
      if (!parsed) return false;
      Detail::AddElement(out, std::move(parsed));
    }
  }
  return true;
}

// Shared frame of the wrappers: the flag and the value.
template <class T>
class JsonReading {
 public:
  explicit operator bool() const { return ok_; }
  const T& Value() const { return value_; }
  T Take() { return std::move(value_); }

 protected:
  bool ok_ = false;
  T value_{};
};

// A required string or enumeration member.
template <class T, class Ids = JsonIds>
class JsonMember : public JsonReading<T> {
 public:
  JsonMember(const JsonValue& object, const char* name, Messages& messages)
      : JsonMember(object, name, DefaultConverter(), messages) {}

  template <class Converter>
  JsonMember(const JsonValue& object, const char* name, Converter convert, Messages& messages) {
    const JsonValue* member = FindMemberValue(object, name, messages);
    if (member == nullptr) return;
    this->ok_ = JsonParseString<T, Converter, Ids>(*member, name, this->value_, messages, convert);
  }

 private:
  using DefaultConverter = std::conditional_t<Detail::IsEnum<T>::value, ParseEnum<T>, ParseString>;
};

// An optional string member: absent is success with an empty value.
template <class T, class Ids = JsonIds>
class JsonOptMember;

template <class Ids>
class JsonOptMember<boost::optional<std::string>, Ids>
    : public JsonReading<boost::optional<std::string>> {
 public:
  JsonOptMember(const JsonValue& object, const char* name, Messages& messages) {
    const JsonValue* member = FindMemberValue(object, name, messages);
    ok_ = member == nullptr || JsonParseString<boost::optional<std::string>, ParseString, Ids>(
                                   *member, name, value_, messages);
  }
};

namespace Detail {

// Reads an object member with `fill`; an absent member is a failure only when it is required.
template <class Ids, class T, class Fill>
bool ReadObjectMember(const JsonValue& object, const char* name, bool required, T& value,
                      Fill& fill, Messages& messages) {
  const JsonValue* member = FindMemberValue(object, name, messages);
  if (member == nullptr) return !required;
  return CheckType<Ids>(*member, rapidjson::kObjectType, name, messages) &&
         ApplyObject(*member, value, fill, messages);
}

// Reads an array member element by element; an absent member is a failure only when required.
template <class Ids, class C, class ElementParser>
bool ReadArrayMember(const JsonValue& object, const char* name, bool required, C& value,
                     ElementParser& parse, Messages& messages) {
  const JsonValue* member = FindMemberValue(object, name, messages);
  if (member == nullptr) return !required;
  return JsonParseArray<C, ElementParser&, Ids>(*member, name, value, parse, messages);
}

}  // namespace Detail

// A required object member, read by `fill`. JsonObjectMember<void> only reports success.
template <class T, class Ids = JsonIds>
class JsonObjectMember : public JsonReading<T> {
 public:
  template <class Fill>
  JsonObjectMember(const JsonValue& object, const char* name, Fill fill, Messages& messages) {
    this->ok_ = Detail::ReadObjectMember<Ids>(object, name, true, this->value_, fill, messages);
  }
};

template <class Ids>
class JsonObjectMember<void, Ids> {
 public:
  template <class Fill>
  JsonObjectMember(const JsonValue& object, const char* name, Fill fill, Messages& messages) {
    bool filled = false;
    auto check = [&fill](const JsonValue& value, Messages& m) -> bool { return fill(value, m); };
    ok_ = Detail::ReadObjectMember<Ids>(object, name, true, filled, check, messages);
  }
  explicit operator bool() const { return ok_; }

 private:
  bool ok_ = false;
};

// An optional object member filling a map: absent is success with an empty map.
template <class Map, class Ids = JsonIds>
class JsonOptObjectMember : public JsonReading<Map> {
 public:
  template <class Fill>
  JsonOptObjectMember(const JsonValue& object, const char* name, Fill fill, Messages& messages) {
    this->ok_ = Detail::ReadObjectMember<Ids>(object, name, false, this->value_, fill, messages);
  }
};

// A required array member; each element through `parse` (see JsonParseArray).
template <class C, class Ids = JsonIds>
class JsonArrayMember : public JsonReading<C> {
 public:
  template <class ElementParser>
  JsonArrayMember(const JsonValue& object, const char* name, ElementParser parse,
                  Messages& messages) {
    this->ok_ = Detail::ReadArrayMember<Ids>(object, name, true, this->value_, parse, messages);
  }
};

// An optional array member: absent is success with an empty container.
template <class C, class Ids = JsonIds>
class JsonOptArrayMember : public JsonReading<C> {
 public:
  template <class ElementParser>
  JsonOptArrayMember(const JsonValue& object, const char* name, ElementParser parse,
                     Messages& messages) {
    this->ok_ = Detail::ReadArrayMember<Ids>(object, name, false, this->value_, parse, messages);
  }
};

// The base of a domain parser: reads a record member by member, each into its field, so that the
// reading of a record is the table of its document:
//
//   return Text(json, "name", info.name) && OptText(json, "short_option", info.short_option) &&
//          OptArray(json, "options", info.options, &Reader::ParseOptionInfo);
//
// Each reader records its messages as the wrappers above do (a wrong JSON type under
// Ids::kInvalidField) and answers whether it succeeded, so that the first failure ends the chain;
// on failure a field may hold part of what was read, and the caller drops the record. Element
// parsers and object readers take the JSON value alone, as a member function of Derived or any
// callable; they answer a bool, or a pointer or optional (empty: failure) that is stored.
template <class Derived, class Ids = JsonIds>
class RecordReader {
 public:
  // Reads a document with a Derived made of (callbacks, messages), through its Document(root)
  // step. A document that failed to parse gives its parse-error message ({1} code, {2} offset)
  // alone. The stream form parses `in` first.
  template <class Callbacks>
  static bool Read(const JsonDocument& document, const char* parseErrorId,
                   const Callbacks& callbacks, Messages& messages) {
    return CheckParsed(document, parseErrorId, messages) &&
           Derived(callbacks, messages).Document(document);
  }
  template <class Callbacks>
  static bool Read(std::istream& in, const char* parseErrorId, const Callbacks& callbacks,
                   Messages& messages) {
    JsonDocument document;
    ParseJson(in, document);
    return Read(document, parseErrorId, callbacks, messages);
  }

 protected:
  explicit RecordReader(Messages& messages) : messages_(messages) {}

  // A required string member.
  bool Text(const JsonValue& json, const char* name, std::string& out) {
    const JsonValue* member = FindMemberValue(json, name, messages_);
    return member != nullptr &&
           JsonParseString<std::string, ParseString, Ids>(*member, name, out, messages_);
  }
  // A required string member left in the document: `out` points at it.
  bool TextRef(const JsonValue& json, const char* name, const JsonValue*& out) {
    out = FindTypedMember<Ids>(json, name, rapidjson::kStringType, messages_);
    return out != nullptr;
  }
  // An optional string member: absent leaves `out` as it was.
  bool OptText(const JsonValue& json, const char* name, boost::optional<std::string>& out) {
    const JsonValue* member = FindMemberValue(json, name, messages_);
    return member == nullptr || JsonParseString<boost::optional<std::string>, ParseString, Ids>(
                                    *member, name, out, messages_);
  }
  // A required enumeration member: its upper-cased text through `convert`, then CheckEnum.
  template <class E, class Converter = ParseEnum<E>>
  bool Enumerated(const JsonValue& json, const char* name, E& out,
                  Converter convert = Converter()) {
    const JsonValue* member = FindMemberValue(json, name, messages_);
    return member != nullptr &&
           JsonParseString<E, Converter, Ids>(*member, name, out, messages_, convert);
  }

  // A value in hand that must be an object; `name` is what a fault is reported under.
  bool CheckObject(const JsonValue& value, const char* name) {
    return CheckType<Ids>(value, rapidjson::kObjectType, name, messages_);
  }
  // A required object member that `read` reads, or whose record it makes into `out`.
  template <class Read>
  bool Object(const JsonValue& json, const char* name, Read read) {
    bool unused = false;
    return Object(json, name, unused, read);
  }
  template <class T, class Read>
  bool Object(const JsonValue& json, const char* name, T& out, Read read) {
    auto fill = Bind(read);
    return Detail::ReadObjectMember<Ids>(json, name, true, out, fill, messages_);
  }
  // An optional object member that `read` reads: absent is success.
  template <class Read>
  bool OptObject(const JsonValue& json, const char* name, Read read) {
    bool unused = false;
    auto fill = Bind(read);
    return Detail::ReadObjectMember<Ids>(json, name, false, unused, fill, messages_);
  }
  // A required array member whose elements `read` reads; a list keeps document order, a map
  // stores by name and keeps the first record of a name (see JsonParseArray).
  template <class Read>
  bool Array(const JsonValue& json, const char* name, Read read) {
    bool unused = false;
    return Array(json, name, unused, read);
  }
  template <class C, class Read>
  bool Array(const JsonValue& json, const char* name, C& out, Read read) {
    auto parse = Bind(read);
    return Detail::ReadArrayMember<Ids>(json, name, true, out, parse, messages_);
  }
  // An optional array member: absent is success with `out` as it was.
  template <class C, class Read>
  bool OptArray(const JsonValue& json, const char* name, C& out, Read read) {
    auto parse = Bind(read);
    return Detail::ReadArrayMember<Ids>(json, name, false, out, parse, messages_);
  }

  Messages& messages_;

 private:
  // `read` as the wrappers call converters: with the value and the message list.
  template <class Read>
  auto Bind(Read& read) {
    if constexpr (std::is_member_function_pointer_v<Read>) {
      return [this, &read](const JsonValue& value, Messages&) -> decltype(auto) {
        return (static_cast<Derived*>(this)->*read)(value);
      };
    } else {
      return [&read](const JsonValue& value, Messages&) -> decltype(auto) { return read(value); };
    }
  }
};

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
