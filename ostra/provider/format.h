// The positional message formatter: fills "{1}", "{2}", ... placeholders of a default text.
//
// Grammar, read left to right with a position counter starting at 0:
//   - text without braces is copied; "{{" and "}}" write one brace;
//   - any other brace opens a placeholder whose field runs to the next "}" (or to the end);
//   - the field is "index[:spec]"; index k >= 1 takes argument k, an empty or non-numeric index
//     takes the argument at the counter; the counter advances after every placeholder;
//   - an index past the arguments stops the output there and reports error value 3 of
//     Ostra::GetFormatCategory().
// Each argument type formats itself with its spec (see formatter below). Bad formats never throw.
#pragma once

#include <array>
#include <cstddef>
#include <ostream>
#include <string>
#include <system_error>
#include <type_traits>

#include <boost/optional.hpp>
#include <boost/utility/string_view.hpp>

namespace Ostra {
namespace Detail {

using string_view = boost::basic_string_view<char, std::char_traits<char>>;

// How one argument type writes itself. Defined for: C strings (`value` points to the characters),
// std::string, int, unsigned long and boost::optional<std::string> (`value` points to the object).
//
// A non-empty spec is used as a C format: "%" + spec + "s" for strings, "%" + spec + "d" for int
// and "%" + spec + "lu" for unsigned long (no suffix when a spec ends in a letter), built in a
// 16-byte buffer, so a spec longer than 13 characters is cut. A spec that does not make a valid
// format for the argument (several conversions, "*", "%n", a conversion of another type) is ignored
// and the argument is written as with an empty spec.
template <class T, bool IsNumeric = std::is_arithmetic<T>::value>
struct formatter;

template <>
struct formatter<const char*, false> {
  static void call(std::ostream& out, string_view spec, const void* value);
};
template <>
struct formatter<std::string, false> {
  static void call(std::ostream& out, string_view spec, const void* value);
};
template <>
struct formatter<int, true> {
  static void call(std::ostream& out, string_view spec, const void* value);
};
template <>
struct formatter<unsigned long, true> {
  static void call(std::ostream& out, string_view spec, const void* value);
};
// Set: the string (spec ignored); unset: "optinal<T> is unset".
template <>
struct formatter<boost::optional<std::string>, false> {
  static void call(std::ostream& out, string_view spec, const void* value);
};

// One argument: a pointer to it and its type's formatting operation.
class format_arg {
 public:
  template <class T>
  format_arg(const T& value)  // NOLINT: converting by design
      : value_(&value), call_(&formatter<T>::call), numeric_(std::is_arithmetic<T>::value) {}
  format_arg(const char* value)  // NOLINT
      : value_(value), call_(&formatter<const char*>::call), numeric_(false) {}
  template <std::size_t N>
  format_arg(const char (&value)[N])  // NOLINT
      : format_arg(static_cast<const char*>(value)) {}

  void Write(std::ostream& out, string_view spec) const { call_(out, spec, value_); }
  bool IsNumeric() const { return numeric_; }

 private:
  const void* value_;
  void (*call_)(std::ostream&, string_view, const void*);
  bool numeric_;
};

// Writes `format` with `args` to `out`. Clears `ec`, or sets it when formatting stopped early.
void FormatTo(std::ostream& out, string_view format, const format_arg* args, std::size_t count,
              std::error_code& ec);
std::string Format(string_view format, const format_arg* args, std::size_t count,
                   std::error_code& ec);

// The unsigned decimal number that the leading digits among the first 20 characters of `text`
// spell (0 when there are none); `used` receives the number of digits read.
unsigned long format_atoi(string_view text, std::size_t* used = nullptr);

// text[begin, end) with both positions clamped to the text (and end to at least begin).
string_view format_substr(string_view text, std::size_t begin, std::size_t end);

}  // namespace Detail
}  // namespace Ostra
