#include "ostra/provider/keyed_hash.h"

#include <chrono>
#include <cstring>
#include <exception>
#include <random>

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace {

struct Key {
  std::uint64_t k0;
  std::uint64_t k1;
};

// Drawn from the system's random source; should it fail, from the clock and an address, which
// still differ from process to process.
Key DrawKey() {
  try {
    std::random_device random;
    const auto draw = [&random] {
      return (static_cast<std::uint64_t>(random()) << 32) ^ static_cast<std::uint64_t>(random());
    };
    return Key{draw(), draw()};
  } catch (const std::exception&) {
    static const int here = 0;
    const auto now =
        static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    return Key{now, reinterpret_cast<std::uintptr_t>(&here) * 0x9e3779b97f4a7c15u};
  }
}

inline std::uint64_t Rotate(std::uint64_t x, int bits) {
  return (x << bits) | (x >> (64 - bits));
}

struct State {
  std::uint64_t v0, v1, v2, v3;
  void Round() {
    v0 += v1;
    v1 = Rotate(v1, 13) ^ v0;
    v0 = Rotate(v0, 32);
    v2 += v3;
    v3 = Rotate(v3, 16) ^ v2;
    v0 += v3;
    v3 = Rotate(v3, 21) ^ v0;
    v2 += v1;
    v1 = Rotate(v1, 17) ^ v2;
    v2 = Rotate(v2, 32);
  }
  // One compression round per word.
  void Absorb(std::uint64_t word) {
    v3 ^= word;
    Round();
    v0 ^= word;
  }
};

// The last, partial word, little-endian as SipHash reads words. Whole words are read in the
// machine's order, which is the same on the machines this runs on and only changes which keyed
// function it is elsewhere.
inline std::uint64_t TailAt(const unsigned char* bytes, std::size_t count) {
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < count; ++i)
    word |= static_cast<std::uint64_t>(bytes[i]) << (8 * i);
  return word;
}

}  // namespace

std::uint64_t KeyedHash(std::string_view text) {
  static const Key key = DrawKey();
  State state{key.k0 ^ 0x736f6d6570736575u, key.k1 ^ 0x646f72616e646f6du,
              key.k0 ^ 0x6c7967656e657261u, key.k1 ^ 0x7465646279746573u};
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  const std::size_t whole = text.size() / 8 * 8;
  for (std::size_t i = 0; i < whole; i += 8) {
    std::uint64_t word;
    std::memcpy(&word, bytes + i, sizeof word);
    state.Absorb(word);
  }
  state.Absorb((static_cast<std::uint64_t>(text.size()) << 56) |
               TailAt(bytes + whole, text.size() - whole));
  state.v2 ^= 0xff;
  state.Round();
  state.Round();
  state.Round();
  return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
}

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
