// The message formatter over arbitrary formats and arguments of every supported type, and the
// catalogue lookup over arbitrary ids.
#include <boost/optional.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>
#include <vector>

#include "ostra/provider/format.h"
#include "ostra/provider/messages.h"

namespace {

// Splits the input at NUL bytes: the first piece is the format, the others the arguments.
std::vector<std::string> Pieces(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> pieces(1);
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == 0) {
      pieces.emplace_back();
    } else {
      pieces.back() += static_cast<char>(data[i]);
    }
  }
  return pieces;
}

// Whether `text` holds a number of seven digits or more. A spec's width or precision is honoured
// as printf honours it, so a width of a billion makes a billion characters; such inputs would only
// measure the allocator and are left out.
bool HasHugeNumber(const std::string& text) {
  std::size_t digits = 0;
  for (const char c : text) {
    digits = (c >= '0' && c <= '9') ? digits + 1 : 0;
    if (digits >= 7) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> pieces = Pieces(data, size);
  const std::string& format = pieces.front();
  if (HasHugeNumber(format)) return -1;

  // Arguments of each type, their values taken from the pieces; the first byte of a piece picks
  // the type.
  std::vector<std::string> strings;
  std::vector<int> ints;
  std::vector<unsigned long> longs;
  std::vector<boost::optional<std::string>> optionals;
  strings.reserve(pieces.size());
  ints.reserve(pieces.size());
  longs.reserve(pieces.size());
  optionals.reserve(pieces.size());
  std::vector<Ostra::Detail::format_arg> args;
  for (std::size_t i = 1; i < pieces.size(); ++i) {
    const std::string& piece = pieces[i];
    const int kind = piece.empty() ? 0 : static_cast<unsigned char>(piece[0]) % 5;
    const unsigned long number =
        Ostra::Detail::format_atoi(piece.empty() ? piece : piece.substr(1));
    switch (kind) {
      case 0:
        strings.push_back(piece);
        args.emplace_back(strings.back());
        break;
      case 1:
        args.emplace_back(piece.c_str());
        break;
      case 2:
        ints.push_back(static_cast<int>(number) * (piece.size() % 2 ? -1 : 1));
        args.emplace_back(ints.back());
        break;
      case 3:
        longs.push_back(number);
        args.emplace_back(longs.back());
        break;
      default:
        optionals.push_back(piece.size() % 2 ? boost::optional<std::string>(piece) : boost::none);
        args.emplace_back(optionals.back());
        break;
    }
  }
  std::error_code ec;
  const std::string text = Ostra::Detail::Format(format, args.data(), args.size(), ec);
  if (!ec && format.find('{') == std::string::npos && format.find('}') == std::string::npos &&
      text != format) {
    __builtin_trap();  // a format without braces is copied as it is
  }
  const auto message = Ostra::Message<Ostra::Provider::Metadata::MetadataSvc>(format, format);
  if (message.GetArgs().size() != 1 || message.GetArgs().front() != format) __builtin_trap();
  return 0;
}
