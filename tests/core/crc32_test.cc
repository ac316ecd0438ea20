#include "ostra/core/crc32.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

TEST(CRC32, StandardVectors) {
  EXPECT_EQ(Ostra::CRC32().Hexdigest(), "00000000");
  Ostra::CRC32 check;
  check.Update("123456789");
  EXPECT_EQ(check.Hexdigest(), "cbf43926");
  Ostra::CRC32 fox;
  fox.Update("The quick brown fox jumps over the lazy dog");
  EXPECT_EQ(fox.Hexdigest(), "414fa339");
  // Leading zeros are kept: eight digits always.
  Ostra::CRC32 small;
  small.Update(std::string("\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x35", 15));
  EXPECT_EQ(small.Hexdigest().size(), 8u);
}

TEST(CRC32, PiecewiseUpdatesEqualOneUpdate) {
  Ostra::CRC32 whole;
  whole.Update("123456789");
  Ostra::CRC32 pieces;
  pieces.Update("1234");
  pieces.Update("", 0);
  pieces.Update("56789", 5);
  EXPECT_EQ(pieces.Hexdigest(), whole.Hexdigest());
}

TEST(CRC32, StreamFromCurrentPositionToEndWhateverItsState) {
  std::istringstream in("xx123456789");
  in.seekg(2);
  EXPECT_EQ(Ostra::CRC32(in).Hexdigest(), "cbf43926");

  // A failed stream is still read through its buffer.
  std::istringstream failed("123456789");
  failed.setstate(std::ios::failbit);
  EXPECT_EQ(Ostra::CRC32(failed).Hexdigest(), "cbf43926");

  // Longer than one internal chunk.
  const std::string big(200 * 1024, 'a');
  std::istringstream bigStream(big);
  Ostra::CRC32 expected;
  expected.Update(big);
  EXPECT_EQ(Ostra::CRC32(bigStream).Hexdigest(), expected.Hexdigest());
}

}  // namespace
