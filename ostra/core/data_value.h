// The framework's value model: immutable values shared as std::shared_ptr<const DataValue>.
//
// Values are built complete and never change afterwards, so they may be shared freely between
// threads. Enumerations travel as their text in a StringValue.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Ostra {
namespace Data {

enum class ValueType {
  kInteger,
  kDouble,
  kBoolean,
  kString,
  kList,
  kOptional,
  kStruct,
  kError,
  kVoid
};

class DataValue;
using ValuePtr = std::shared_ptr<const DataValue>;

class DataValue : public std::enable_shared_from_this<DataValue> {
 public:
  virtual ~DataValue() = default;
  ValueType GetType() const { return type_; }

  // Deep, structural equality (struct names included).
  virtual bool Equals(const DataValue& other) const = 0;
  friend bool operator==(const DataValue& a, const DataValue& b) { return a.Equals(b); }
  friend bool operator!=(const DataValue& a, const DataValue& b) { return !a.Equals(b); }

 protected:
  explicit DataValue(ValueType type) : type_(type) {}

 private:
  ValueType type_;
};

namespace Detail {
template <class T, ValueType kType>
class ScalarValue : public DataValue {
 public:
  explicit ScalarValue(T value) : DataValue(kType), value_(std::move(value)) {}
  const T& GetValue() const { return value_; }
  bool Equals(const DataValue& other) const override {
    return other.GetType() == kType && static_cast<const ScalarValue&>(other).value_ == value_;
  }

 private:
  T value_;
};
}  // namespace Detail

using IntegerValue = Detail::ScalarValue<std::int64_t, ValueType::kInteger>;
using DoubleValue = Detail::ScalarValue<double, ValueType::kDouble>;
using BooleanValue = Detail::ScalarValue<bool, ValueType::kBoolean>;
using StringValue = Detail::ScalarValue<std::string, ValueType::kString>;

class ListValue : public DataValue {
 public:
  explicit ListValue(std::vector<ValuePtr> elements = {});
  const std::vector<ValuePtr>& GetElements() const { return elements_; }
  bool Equals(const DataValue& other) const override;

 private:
  std::vector<ValuePtr> elements_;
};

// Set (holding a value) or unset.
class OptionalValue : public DataValue {
 public:
  OptionalValue() : DataValue(ValueType::kOptional) {}
  explicit OptionalValue(ValuePtr value);
  bool IsSet() const { return value_ != nullptr; }
  // Null when unset.
  const ValuePtr& GetValue() const { return value_; }
  bool Equals(const DataValue& other) const override;

 private:
  ValuePtr value_;
};

class VoidValue : public DataValue {
 public:
  VoidValue() : DataValue(ValueType::kVoid) {}
  bool Equals(const DataValue& other) const override { return other.GetType() == GetType(); }
};

// A named structure; its fields keep their declaration order. Field names are unique.
class StructValue : public DataValue {
 public:
  using Field = std::pair<std::string, ValuePtr>;

  StructValue(std::string name, std::vector<Field> fields);

  const std::string& GetName() const { return name_; }
  // Null when there is no field of that name.
  ValuePtr GetField(const std::string& name) const;
  bool HasField(const std::string& name) const { return GetField(name) != nullptr; }
  std::vector<std::string> GetFieldNames() const;
  const std::vector<Field>& GetFields() const { return fields_; }
  bool Equals(const DataValue& other) const override;

 protected:
  StructValue(ValueType type, std::string name, std::vector<Field> fields);

 private:
  std::string name_;
  std::vector<Field> fields_;
};

// A StructValue that is an error: the standard error structures convert to it.
class ErrorValue : public StructValue {
 public:
  ErrorValue(std::string name, std::vector<Field> fields);
  // A copy of this error whose field `name` holds `value` (appended when it is new).
  std::shared_ptr<const ErrorValue> WithField(const std::string& name, ValuePtr value) const;
};

// Opaque errors of the host's own; nothing in this library creates one.
class NativeError {
 public:
  virtual ~NativeError() = default;
};

}  // namespace Data
}  // namespace Ostra
