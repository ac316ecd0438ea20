// CRC32: the standard CRC-32 (as in zlib and gzip) used for source fingerprints.
#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>

namespace Ostra {

class CRC32 {
 public:
  // The checksum of no data ("00000000").
  CRC32() = default;
  // Reads `in` from its current position to its end. It reads through the stream's buffer, so the
  // stream's state flags neither stop the reading nor change.
  explicit CRC32(const std::istream& in);

  void Update(const std::string& data) { Update(data.data(), data.size()); }
  void Update(const char* data, std::size_t size);

  // Eight lower-case hexadecimal digits.
  std::string Hexdigest() const;
  std::uint32_t Value() const { return crc_; }

 private:
  std::uint32_t crc_ = 0;
};

}  // namespace Ostra
