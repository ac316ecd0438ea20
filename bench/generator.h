// Deterministic metadata documents of a chosen size for the benchmarks: the same bytes on every
// run and machine, with the shapes real documents have (long documentation, nested generic types,
// many services and operations, deep namespace trees).
#pragma once

#include <cstddef>
#include <string>

namespace OstraBench {

// A Metamodel document of at least `bytes` bytes, its component named `component`.
std::string MetamodelDocument(std::size_t bytes, const std::string& component = "com.bench");
// An Authentication document of at least `bytes` bytes over the same services.
std::string AuthenticationDocument(std::size_t bytes, const std::string& component = "com.bench");
// A Cli document of at least `bytes` bytes whose commands call the same operations.
std::string CliDocument(std::size_t bytes, const std::string& root = "bench");

// Writes `text` to a file in the temporary directory and answers its path.
std::string WriteTemp(const std::string& name, const std::string& text);

constexpr std::size_t kMiB = 1 << 20;

}  // namespace OstraBench
