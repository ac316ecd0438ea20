// Native <-> value conversion ("native-to-value adapter").
//
// TypeConverter<T>::ToValue(native, localizer) builds a value; TypeConverter<T>::FromValue(value,
// native) fills a native and answers whether the value had the right shape. Records take part by
// describing their fields once in a RecordTraits specialization:
//
//   template <> struct RecordTraits<Identity> {
//     static constexpr const char* kName = "com.corvane.ostra.metadata.cli.namespace.identity";
//     template <class R, class F> static void Fields(R& record, F&& field) {
//       field("path", record.path);
//       field("name", record.name);
//     }
//   };
//
// A record becomes a StructValue named kName (an ErrorValue for records that declare a
// `kErrorType`). Optionals and shared pointers become OptionalValues (unset when empty or null);
// FromValue also accepts them bare, and a record field of either kind may be absent. Maps keyed by
// string become StructValues with an empty name whose fields are the keys in order.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <boost/optional.hpp>

#include "ostra/core/async_result.h"
#include "ostra/core/data_value.h"
#include "ostra/core/enum.h"
#include "ostra/core/l10n.h"

namespace Ostra {
namespace Data {

template <class R>
struct RecordTraits;

template <class T, class Enable = void>
struct TypeConverter;

namespace Detail {

template <class R, class = void>
struct IsErrorRecord : std::false_type {};
template <class R>
struct IsErrorRecord<R, std::void_t<decltype(R::kErrorType)>> : std::true_type {};

template <class T, ValueType kType>
struct ScalarConverter {
  static constexpr bool kMayBeAbsent = false;
  static ValuePtr ToValue(const T& value, const L10n::RequestLocalizer&) {
    return std::make_shared<const Data::Detail::ScalarValue<T, kType>>(value);
  }
  static bool FromValue(const DataValue& value, T& out) {
    if (value.GetType() != kType) return false;
    out = static_cast<const Data::Detail::ScalarValue<T, kType>&>(value).GetValue();
    return true;
  }
};

template <class C>
struct SequenceConverter {
  using Element = typename C::value_type;
  static constexpr bool kMayBeAbsent = false;
  static ValuePtr ToValue(const C& sequence, const L10n::RequestLocalizer& localizer) {
    std::vector<ValuePtr> elements;
    elements.reserve(sequence.size());
    for (const auto& element : sequence) {
      elements.push_back(TypeConverter<Element>::ToValue(element, localizer));
    }
    return std::make_shared<const ListValue>(std::move(elements));
  }
  static bool FromValue(const DataValue& value, C& out) {
    if (value.GetType() != ValueType::kList) return false;
    C result;
    for (const auto& element : static_cast<const ListValue&>(value).GetElements()) {
      Element native{};
      if (!element || !TypeConverter<Element>::FromValue(*element, native)) return false;
      result.insert(result.end(), std::move(native));
    }
    out = std::move(result);
    return true;
  }
};

// The value inside a set OptionalValue, the value itself when it is bare, null when unset.
inline const DataValue* Unwrap(const DataValue& value) {
  if (value.GetType() != ValueType::kOptional) return &value;
  return static_cast<const OptionalValue&>(value).GetValue().get();
}

}  // namespace Detail

// Records (the primary template).
template <class R, class Enable>
struct TypeConverter {
  static constexpr bool kMayBeAbsent = false;

  static ValuePtr ToValue(const R& record, const L10n::RequestLocalizer& localizer) {
    std::vector<StructValue::Field> fields;
    RecordTraits<R>::Fields(record, [&](const char* name, const auto& member) {
      using Member = std::decay_t<decltype(member)>;
      fields.emplace_back(name, TypeConverter<Member>::ToValue(member, localizer));
    });
    if constexpr (Detail::IsErrorRecord<R>::value) {
      return std::make_shared<const ErrorValue>(RecordTraits<R>::kName, std::move(fields));
    } else {
      return std::make_shared<const StructValue>(RecordTraits<R>::kName, std::move(fields));
    }
  }

  static bool FromValue(const DataValue& value, R& out) {
    if (value.GetType() != ValueType::kStruct && value.GetType() != ValueType::kError) return false;
    const auto& structure = static_cast<const StructValue&>(value);
    bool ok = true;
    RecordTraits<R>::Fields(out, [&](const char* name, auto& member) {
      using Member = std::decay_t<decltype(member)>;
      if (!ok) return;
      const ValuePtr field = structure.GetField(name);
      ok = field ? TypeConverter<Member>::FromValue(*field, member)
                 : TypeConverter<Member>::kMayBeAbsent;
    });
    return ok;
  }
};

template <>
struct TypeConverter<std::string> : Detail::ScalarConverter<std::string, ValueType::kString> {};
template <>
struct TypeConverter<bool> : Detail::ScalarConverter<bool, ValueType::kBoolean> {};
template <>
struct TypeConverter<std::int64_t> : Detail::ScalarConverter<std::int64_t, ValueType::kInteger> {};

template <>
struct TypeConverter<double> : Detail::ScalarConverter<double, ValueType::kDouble> {
  // Integers are numbers too.
  static bool FromValue(const DataValue& value, double& out) {
    if (value.GetType() == ValueType::kInteger) {
      out = static_cast<double>(static_cast<const IntegerValue&>(value).GetValue());
      return true;
    }
    return ScalarConverter::FromValue(value, out);
  }
};

// Enumerations travel as their text.
template <class E>
struct TypeConverter<E, std::enable_if_t<std::is_base_of<Enum, E>::value>> {
  static constexpr bool kMayBeAbsent = false;
  static ValuePtr ToValue(const E& value, const L10n::RequestLocalizer&) {
    return std::make_shared<const StringValue>(value.GetText());
  }
  static bool FromValue(const DataValue& value, E& out) {
    if (value.GetType() != ValueType::kString) return false;
    out = EnumConverter<E>::Convert(static_cast<const StringValue&>(value).GetValue());
    return true;
  }
};

template <>
struct TypeConverter<Void> {
  static constexpr bool kMayBeAbsent = true;
  static ValuePtr ToValue(const Void&, const L10n::RequestLocalizer&) {
    return std::make_shared<const VoidValue>();
  }
  static bool FromValue(const DataValue& value, Void&) {
    return value.GetType() == ValueType::kVoid || Detail::Unwrap(value) == nullptr;
  }
};

// A value held as it is (for example an error's optional data).
template <>
struct TypeConverter<ValuePtr> {
  static constexpr bool kMayBeAbsent = true;
  static ValuePtr ToValue(const ValuePtr& value, const L10n::RequestLocalizer&) {
    return value ? value : std::make_shared<const OptionalValue>();
  }
  // Needs a value that is held by a shared pointer, as every value reached through another is.
  static bool FromValue(const DataValue& value, ValuePtr& out) {
    out = value.weak_from_this().lock();
    return out != nullptr;
  }
};

template <class T>
struct TypeConverter<boost::optional<T>> {
  static constexpr bool kMayBeAbsent = true;
  static ValuePtr ToValue(const boost::optional<T>& value,
                          const L10n::RequestLocalizer& localizer) {
    if (!value) return std::make_shared<const OptionalValue>();
    return std::make_shared<const OptionalValue>(TypeConverter<T>::ToValue(*value, localizer));
  }
  static bool FromValue(const DataValue& value, boost::optional<T>& out) {
    const DataValue* inner = Detail::Unwrap(value);
    if (inner == nullptr) {
      out = boost::none;
      return true;
    }
    T native{};
    if (!TypeConverter<T>::FromValue(*inner, native)) return false;
    out = std::move(native);
    return true;
  }
};

// Records held by shared pointer; null is an unset optional.
template <class R>
struct TypeConverter<std::shared_ptr<R>, std::enable_if_t<!std::is_base_of<DataValue, R>::value>> {
  using Record = std::remove_const_t<R>;
  static constexpr bool kMayBeAbsent = true;
  static ValuePtr ToValue(const std::shared_ptr<R>& record,
                          const L10n::RequestLocalizer& localizer) {
    if (!record) return std::make_shared<const OptionalValue>();
    return TypeConverter<Record>::ToValue(*record, localizer);
  }
  static bool FromValue(const DataValue& value, std::shared_ptr<R>& out) {
    const DataValue* inner = Detail::Unwrap(value);
    if (inner == nullptr) {
      out.reset();
      return true;
    }
    auto record = std::make_shared<Record>();
    if (!TypeConverter<Record>::FromValue(*inner, *record)) return false;
    out = std::move(record);
    return true;
  }
};

template <class T>
struct TypeConverter<std::list<T>> : Detail::SequenceConverter<std::list<T>> {};
template <class T>
struct TypeConverter<std::vector<T>> : Detail::SequenceConverter<std::vector<T>> {};
template <class T>
struct TypeConverter<std::set<T>> : Detail::SequenceConverter<std::set<T>> {};

template <class T>
struct TypeConverter<std::map<std::string, T>> {
  static constexpr bool kMayBeAbsent = false;
  static ValuePtr ToValue(const std::map<std::string, T>& map,
                          const L10n::RequestLocalizer& localizer) {
    std::vector<StructValue::Field> fields;
    fields.reserve(map.size());
    for (const auto& entry : map) {
      fields.emplace_back(entry.first, TypeConverter<T>::ToValue(entry.second, localizer));
    }
    return std::make_shared<const StructValue>(std::string(), std::move(fields));
  }
  static bool FromValue(const DataValue& value, std::map<std::string, T>& out) {
    if (value.GetType() != ValueType::kStruct) return false;
    std::map<std::string, T> result;
    for (const auto& field : static_cast<const StructValue&>(value).GetFields()) {
      T native{};
      if (!field.second || !TypeConverter<T>::FromValue(*field.second, native)) return false;
      result.emplace(field.first, std::move(native));
    }
    out = std::move(result);
    return true;
  }
};

}  // namespace Data
}  // namespace Ostra
