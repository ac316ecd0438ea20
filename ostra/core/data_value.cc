#include "ostra/core/data_value.h"

#include <algorithm>

namespace Ostra {
namespace Data {
namespace {

bool SameValue(const ValuePtr& a, const ValuePtr& b) {
  if (a == nullptr || b == nullptr) return a == b;
  return a->Equals(*b);
}

}  // namespace

ListValue::ListValue(std::vector<ValuePtr> elements)
    : DataValue(ValueType::kList), elements_(std::move(elements)) {}

bool ListValue::Equals(const DataValue& other) const {
  if (other.GetType() != GetType()) return false;
  const auto& theirs = static_cast<const ListValue&>(other).elements_;
  return std::equal(elements_.begin(), elements_.end(), theirs.begin(), theirs.end(), SameValue);
}

OptionalValue::OptionalValue(ValuePtr value)
    : DataValue(ValueType::kOptional), value_(std::move(value)) {}

bool OptionalValue::Equals(const DataValue& other) const {
  return other.GetType() == GetType() &&
         SameValue(value_, static_cast<const OptionalValue&>(other).value_);
}

StructValue::StructValue(std::string name, std::vector<Field> fields)
    : StructValue(ValueType::kStruct, std::move(name), std::move(fields)) {}

StructValue::StructValue(ValueType type, std::string name, std::vector<Field> fields)
    : DataValue(type), name_(std::move(name)), fields_(std::move(fields)) {}

ValuePtr StructValue::GetField(const std::string& name) const {
  for (const auto& field : fields_) {
    if (field.first == name) return field.second;
  }
  return nullptr;
}

std::vector<std::string> StructValue::GetFieldNames() const {
  std::vector<std::string> names;
  names.reserve(fields_.size());
  for (const auto& field : fields_)
    names.push_back(field.first);
  return names;
}

bool StructValue::Equals(const DataValue& other) const {
  if (other.GetType() != GetType()) return false;
  const auto& theirs = static_cast<const StructValue&>(other);
  return name_ == theirs.name_ &&
         std::equal(fields_.begin(), fields_.end(), theirs.fields_.begin(), theirs.fields_.end(),
                    [](const Field& a, const Field& b) {
                      return a.first == b.first && SameValue(a.second, b.second);
                    });
}

ErrorValue::ErrorValue(std::string name, std::vector<Field> fields)
    : StructValue(ValueType::kError, std::move(name), std::move(fields)) {}

std::shared_ptr<const ErrorValue> ErrorValue::WithField(const std::string& name,
                                                        ValuePtr value) const {
  std::vector<Field> fields = GetFields();
  auto it = std::find_if(fields.begin(), fields.end(),
                         [&](const Field& field) { return field.first == name; });
  if (it != fields.end()) {
    it->second = std::move(value);
  } else {
    fields.emplace_back(name, std::move(value));
  }
  return std::make_shared<const ErrorValue>(GetName(), std::move(fields));
}

}  // namespace Data
}  // namespace Ostra
