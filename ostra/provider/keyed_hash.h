// KeyedHash: the hash of identifiers that documents bring, for the tables that parsers and source
// indexes keep. Documents come from outside: with a fixed hash function, a document could name
// thousands of identifiers made to share one hash and turn every table lookup into a walk of all
// of them. SipHash-1-3 under a key drawn once per process leaves nothing to aim at.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Ostra {
namespace Provider {
namespace Metadata {

// SipHash-1-3 of `text` under the process's key.
std::uint64_t KeyedHash(std::string_view text);

// As a hash functor of standard containers keyed by text.
struct KeyedTextHash {
  std::size_t operator()(std::string_view text) const { return KeyedHash(text); }
  std::size_t operator()(const std::string& text) const { return KeyedHash(text); }
};

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
