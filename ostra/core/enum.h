// Enumerations of the bindings: an ordinal into a table of upper-case names plus a text.
//
// A binding enumeration is declared as a table and an alias:
//
//   struct CategoryTable {
//     enum Value { BUILTIN, USER_DEFINED, GENERIC, UNKNOWN };
//     struct Strings {
//       static constexpr const char* const values[] = {"BUILTIN", "USER_DEFINED", "GENERIC",
//                                                      nullptr};
//     };
//   };
//   using Category = Ostra::BasicEnum<CategoryTable>;
//
// `UNKNOWN` always follows the named values, so its ordinal is the table's length.
#pragma once

#include <cstddef>
#include <string>
#include <utility>

namespace Ostra {

class Enum {
 public:
  std::size_t GetOrdinal() const { return ordinal_; }
  // A known value's name from the table; for the unknown value, the text that was read.
  const std::string& GetText() const { return text_; }

  friend bool operator==(const Enum& a, const Enum& b) {
    return a.ordinal_ == b.ordinal_ && a.text_ == b.text_;
  }
  friend bool operator!=(const Enum& a, const Enum& b) { return !(a == b); }

 protected:
  Enum(std::size_t ordinal, std::string text) : ordinal_(ordinal), text_(std::move(text)) {}

 private:
  std::size_t ordinal_;
  std::string text_;
};

template <class Table>
class BasicEnum : public Enum, public Table {
 public:
  using Value = typename Table::Value;

  // The unknown value with an empty text.
  BasicEnum() : Enum(Table::UNKNOWN, std::string()) {}
  BasicEnum(Value value) : Enum(value, NameOf(value)) {}  // NOLINT: implicit by design

  // The unknown value, keeping the text that was read.
  static BasicEnum Unknown(std::string text) { return BasicEnum(std::move(text)); }

  Value GetValue() const { return static_cast<Value>(GetOrdinal()); }
  bool IsUnknown() const { return GetOrdinal() == Table::UNKNOWN; }

 private:
  explicit BasicEnum(std::string text) : Enum(Table::UNKNOWN, std::move(text)) {}

  static const char* NameOf(Value value) {
    return value >= Value{} && value < Table::UNKNOWN ? Table::Strings::values[value] : "";
  }
};

// Text to value by exact lookup in the table; any other text gives the unknown value with it.
template <class E>
struct EnumConverter {
  static E Convert(const std::string& text) {
    for (std::size_t i = 0; E::Strings::values[i] != nullptr; ++i) {
      if (text == E::Strings::values[i]) return E(static_cast<typename E::Value>(i));
    }
    return E::Unknown(text);
  }
};

}  // namespace Ostra
