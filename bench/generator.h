// Deterministic metadata documents of a chosen size for the benchmarks: the same bytes on every
// run and machine, in two shapes that real documents have:
//   - documented: long documentation, generic types nested four deep, no metadata tables, many
//     operations per service, Cli namespaces with one implied level;
//   - dense: short documentation, a metadata table on most records, many small structures,
//     enumerations and constants, types naming many distinct structures, resources and models;
//     Authentication operations in no particular order under services and packages that are only
//     partly listed; Cli trees several levels deep with namespaces declared twice.
#pragma once

#include <cstddef>
#include <string>

namespace OstraBench {

enum class Shape { kDocumented, kDense };

// A Metamodel document of at least `bytes` bytes, its component named `component`.
std::string MetamodelDocument(std::size_t bytes, const std::string& component = "com.bench",
                              Shape shape = Shape::kDocumented);
// An Authentication document of at least `bytes` bytes over the same services.
std::string AuthenticationDocument(std::size_t bytes, const std::string& component = "com.bench",
                                   Shape shape = Shape::kDocumented);
// A Cli document of at least `bytes` bytes whose commands call the same operations.
std::string CliDocument(std::size_t bytes, const std::string& root = "bench",
                        Shape shape = Shape::kDocumented);

// Writes `text` to a file in the temporary directory and answers its path.
std::string WriteTemp(const std::string& name, const std::string& text);

constexpr std::size_t kMiB = 1 << 20;

}  // namespace OstraBench
