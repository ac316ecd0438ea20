// How deeply the JSON texts that reach the library from outside may nest arrays and objects.
// Both readers refuse anything deeper with an error value, so that code walking what they read
// recursively stays within a small thread stack.
#pragma once

#include <cstddef>

namespace Ostra {

// Request inputs read into data values (Data::FromJson and the tool's JSON-RPC reader).
constexpr std::size_t kMaxRequestJsonDepth = 1000;

// Metadata documents read by the loaders (Provider::Metadata::ParseStream and ParseSource). Real
// metadata nests a few dozen levels at most (a generic type reference takes one level per element
// type). A deeper document fails to parse with kParseErrorTermination at the offset of the first
// bracket beyond the limit.
constexpr std::size_t kMaxDocumentJsonDepth = 512;

}  // namespace Ostra
