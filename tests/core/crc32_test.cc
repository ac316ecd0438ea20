#include "ostra/core/crc32.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

// Known checksums, by one update, by updates in pieces and by reading a stream from its current
// position to its end whatever its state.
TEST(CRC32, KnownVectorsWhicheverWayTheBytesCome) {
  const struct {
    std::string text, crc;
  } cases[] = {
      {"", "00000000"},
      {"123456789", "cbf43926"},
      {"The quick brown fox jumps over the lazy dog", "414fa339"},
      {"665", "00081566"},                 // leading zeros are kept
      {std::string(200 * 1024, 'a'), ""},  // longer than a chunk: as one update
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text.substr(0, 20));
    Ostra::CRC32 whole, pieces;
    whole.Update(c.text);
    EXPECT_EQ(c.crc.empty() ? "" : whole.Hexdigest(), c.crc);
    pieces.Update(c.text.substr(0, c.text.size() / 3));
    pieces.Update("", 0);
    pieces.Update(c.text.data() + c.text.size() / 3, c.text.size() - c.text.size() / 3);
    EXPECT_EQ(pieces.Hexdigest(), whole.Hexdigest());
    std::istringstream in("xx" + c.text);
    in.seekg(2);
    in.setstate(std::ios::failbit);
    EXPECT_EQ(Ostra::CRC32(in).Hexdigest(), whole.Hexdigest());
  }
}

}  // namespace
