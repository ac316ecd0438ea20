#include "ostra/core/crc32.h"

#include <zlib.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <streambuf>

namespace Ostra {

CRC32::CRC32(const std::istream& in) {
  std::streambuf* buffer = in.rdbuf();
  if (buffer == nullptr) return;
  char chunk[64 * 1024];
  for (;;) {
    const std::streamsize got = buffer->sgetn(chunk, sizeof chunk);
    if (got <= 0) break;
    Update(chunk, static_cast<std::size_t>(got));
  }
}

void CRC32::Update(const char* data, std::size_t size) {
  // zlib takes a uInt length; feed larger inputs in pieces.
  const auto* bytes = reinterpret_cast<const Bytef*>(data);
  while (size > 0) {
    const auto piece = static_cast<uInt>(std::min<std::size_t>(size, UINT_MAX));
    crc_ = static_cast<std::uint32_t>(::crc32(crc_, bytes, piece));
    bytes += piece;
    size -= piece;
  }
}

std::string CRC32::Hexdigest() const {
  char text[9];
  std::snprintf(text, sizeof text, "%08x", static_cast<unsigned>(crc_));
  return text;
}

}  // namespace Ostra
