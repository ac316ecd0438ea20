#include "ostra/provider/format.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <vector>

#include "ostra/core/format_category.h"

namespace Ostra {
namespace Detail {
namespace {

// "%" + spec + suffix as the 16-byte buffer holds it: cut to 15 characters.
std::string BuildCFormat(string_view spec, const char* suffix) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%%%.*s%s", static_cast<int>(spec.size()), spec.data(),
                suffix);
  return buffer;
}

enum class Length { kDefault, kChar, kShort, kLong, kLongLong, kMax, kSize, kPtrdiff, kInvalid };

// What a C format asks of its one argument.
struct Conversion {
  int count = 0;  // conversions that consume an argument
  char kind = 0;  // the conversion letter of the first one
  Length length = Length::kDefault;
};

// Reads a C format; count is -1 when the format is one this formatter does not pass to printf.
Conversion Inspect(const std::string& format) {
  Conversion result;
  for (std::size_t i = 0; i < format.size(); ++i) {
    if (format[i] != '%') continue;
    ++i;
    if (i < format.size() && format[i] == '%') continue;
    while (i < format.size() && std::strchr("-+ #0'", format[i]) != nullptr)
      ++i;
    while (i < format.size() && std::isdigit(static_cast<unsigned char>(format[i])))
      ++i;
    if (i < format.size() && format[i] == '.') {
      ++i;
      while (i < format.size() && std::isdigit(static_cast<unsigned char>(format[i])))
        ++i;
    }
    Length length = Length::kDefault;
    auto next = [&](char c) { return i < format.size() && format[i] == c; };
    if (next('h')) {
      ++i;
      length = next('h') ? (++i, Length::kChar) : Length::kShort;
    } else if (next('l')) {
      ++i;
      length = next('l') ? (++i, Length::kLongLong) : Length::kLong;
    } else if (next('q')) {
      ++i;
      length = Length::kLongLong;
    } else if (next('j')) {
      ++i;
      length = Length::kMax;
    } else if (next('z')) {
      ++i;
      length = Length::kSize;
    } else if (next('t')) {
      ++i;
      length = Length::kPtrdiff;
    } else if (next('L')) {
      ++i;
      length = Length::kInvalid;
    }
    if (i >= format.size() || std::strchr("diouxXcs", format[i]) == nullptr) {
      result.count = -1;
      return result;
    }
    if (++result.count == 1) {
      result.kind = format[i];
      result.length = length;
    }
  }
  if (result.count > 1 || result.length == Length::kInvalid) result.count = -1;
  return result;
}

// snprintf into a string of the measured size; false when printf refuses.
template <class... Args>
bool Print(std::ostream& out, const std::string& format, Args... args) {
  const int size = std::snprintf(nullptr, 0, format.c_str(), args...);
  if (size < 0) return false;
  std::vector<char> text(static_cast<std::size_t>(size) + 1);
  std::snprintf(text.data(), text.size(), format.c_str(), args...);
  out.write(text.data(), size);
  return true;
}

// Passes `value` as the type the conversion expects, as a C varargs call would read it.
bool PrintInteger(std::ostream& out, const std::string& format, const Conversion& c,
                  std::int64_t value) {
  const bool isSigned = c.kind == 'd' || c.kind == 'i' || c.kind == 'c';
  if (c.kind == 'c' && c.length != Length::kDefault) return false;
  switch (c.length) {
    case Length::kDefault:
    case Length::kChar:
    case Length::kShort:
      return isSigned ? Print(out, format, static_cast<int>(value))
                      : Print(out, format, static_cast<unsigned>(value));
    case Length::kLong:
      return isSigned ? Print(out, format, static_cast<long>(value))
                      : Print(out, format, static_cast<unsigned long>(value));
    case Length::kLongLong:
      return isSigned ? Print(out, format, static_cast<long long>(value))
                      : Print(out, format, static_cast<unsigned long long>(value));
    case Length::kMax:
      return isSigned ? Print(out, format, static_cast<std::intmax_t>(value))
                      : Print(out, format, static_cast<std::uintmax_t>(value));
    case Length::kSize:
      return isSigned ? Print(out, format, static_cast<std::make_signed_t<std::size_t>>(value))
                      : Print(out, format, static_cast<std::size_t>(value));
    case Length::kPtrdiff:
      return isSigned
                 ? Print(out, format, static_cast<std::ptrdiff_t>(value))
                 : Print(out, format, static_cast<std::make_unsigned_t<std::ptrdiff_t>>(value));
    case Length::kInvalid:
      break;
  }
  return false;
}

// A number with a non-empty spec; false when that spec makes no valid format for it.
bool WriteNumber(std::ostream& out, string_view spec, const char* suffix, std::int64_t value) {
  const bool endsInLetter = std::isalpha(static_cast<unsigned char>(spec.back())) != 0;
  const std::string format = BuildCFormat(spec, endsInLetter ? "" : suffix);
  const Conversion conversion = Inspect(format);
  if (conversion.count == 0) return Print(out, format, 0);
  return conversion.count == 1 && conversion.kind != 's' &&
         PrintInteger(out, format, conversion, value);
}

void WriteString(std::ostream& out, string_view spec, const char* chars, std::size_t size) {
  if (!spec.empty() && spec != "s") {
    const std::string format = BuildCFormat(spec, "s");
    const Conversion conversion = Inspect(format);
    if (conversion.count == 0 && Print(out, format, 0)) return;
    if (conversion.count == 1 && conversion.kind == 's' && conversion.length == Length::kDefault &&
        Print(out, format, chars)) {
      return;
    }
  }
  out.write(chars, static_cast<std::streamsize>(size));
}

}  // namespace

void formatter<const char*, false>::call(std::ostream& out, string_view spec, const void* value) {
  const char* chars = value ? static_cast<const char*>(value) : "";
  WriteString(out, spec, chars, std::strlen(chars));
}

void formatter<std::string, false>::call(std::ostream& out, string_view spec, const void* value) {
  const auto& text = *static_cast<const std::string*>(value);
  // With a spec the text goes through printf, which stops at an embedded NUL.
  WriteString(out, spec, text.c_str(), text.size());
}

void formatter<int, true>::call(std::ostream& out, string_view spec, const void* value) {
  const int number = *static_cast<const int*>(value);
  if (spec.empty() || !WriteNumber(out, spec, "d", number)) Print(out, "%d", number);
}

void formatter<unsigned long, true>::call(std::ostream& out, string_view spec, const void* value) {
  const unsigned long number = *static_cast<const unsigned long*>(value);
  if (spec.empty() || !WriteNumber(out, spec, "lu", static_cast<std::int64_t>(number))) {
    Print(out, "%lu", number);
  }
}

void formatter<boost::optional<std::string>, false>::call(std::ostream& out, string_view,
                                                          const void* value) {
  const auto& optional = *static_cast<const boost::optional<std::string>*>(value);
  if (optional) {
    out.write(optional->data(), static_cast<std::streamsize>(optional->size()));
  } else {
    out << "optinal<T> is unset";
  }
}

unsigned long format_atoi(string_view text, std::size_t* used) {
  const std::size_t limit = std::min<std::size_t>(text.size(), 20);
  unsigned long number = 0;
  std::size_t i = 0;
  for (; i < limit && text[i] >= '0' && text[i] <= '9'; ++i) {
    number = number * 10 + static_cast<unsigned long>(text[i] - '0');
  }
  if (used) *used = i;
  return number;
}

string_view format_substr(string_view text, std::size_t begin, std::size_t end) {
  begin = std::min(begin, text.size());
  end = std::max(begin, std::min(end, text.size()));
  return text.substr(begin, end - begin);
}

void FormatTo(std::ostream& out, string_view format, const format_arg* args, std::size_t count,
              std::error_code& ec) {
  ec.clear();
  std::size_t counter = 0;
  std::size_t i = 0;
  while (i < format.size()) {
    const std::size_t brace = format.find_first_of("{}", i);
    if (brace == string_view::npos) {
      out.write(format.data() + i, static_cast<std::streamsize>(format.size() - i));
      return;
    }
    out.write(format.data() + i, static_cast<std::streamsize>(brace - i));
    if (brace + 1 < format.size() && format[brace + 1] == format[brace]) {
      out.put(format[brace]);
      i = brace + 2;
      continue;
    }
    const std::size_t close = format.find('}', brace + 1);
    const string_view field = format_substr(format, brace + 1, close);
    i = close == string_view::npos ? format.size() : close + 1;

    const std::size_t colon = field.find(':');
    const unsigned long index = format_atoi(format_substr(field, 0, colon));
    const string_view spec =
        colon == string_view::npos ? string_view() : format_substr(field, colon + 1, field.size());
    const std::size_t position = index == 0 ? counter : index - 1;
    if (position >= count) {
      ec = make_error_code(FormatErrc::kArgumentIndexOutOfRange);
      return;
    }
    args[position].Write(out, spec);
    ++counter;
  }
}

// Each thread formats into one stream of its own: making a stream costs more than a short message.
std::string Format(string_view format, const format_arg* args, std::size_t count,
                   std::error_code& ec) {
  thread_local std::ostringstream out;
  out.clear();
  out.str(std::string());
  FormatTo(out, format, args, count, ec);
  return out.str();
}

}  // namespace Detail
}  // namespace Ostra
