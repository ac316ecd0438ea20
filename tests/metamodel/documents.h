// Builders of small Metamodel documents for tests; every record gets all its required members.
#pragma once

#include <string>

namespace OstraTest {
namespace MetamodelDocs {

// A component with a name of its own and the given packages.
inline std::string NamedDoc(const std::string& component, const std::string& packages,
                            const std::string& metadata = "{}") {
  return R"({"metamodel":{"component":{"name":")" + component +
         R"(","documentation":"d","metadata":)" + metadata + R"(,"packages":[)" + packages + "]}}}";
}
inline std::string Doc(const std::string& packages, const std::string& metadata = "{}") {
  return NamedDoc("comp", packages, metadata);
}
inline std::string Package(const std::string& name, const std::string& structures = "",
                           const std::string& services = "", const std::string& metadata = "{}",
                           const std::string& enumerations = "") {
  return R"({"name":")" + name + R"(","documentation":"","metadata":)" + metadata +
         R"(,"enumerations":[)" + enumerations + R"(],"structures":[)" + structures +
         R"(],"services":[)" + services + "]}";
}
inline std::string Structure(const std::string& name, const std::string& fields,
                             const std::string& metadata = "{}",
                             const std::string& type = "STRUCTURE",
                             const std::string& constants = "",
                             const std::string& enumerations = "") {
  return R"({"name":")" + name + R"(","type":")" + type + R"(","documentation":"","metadata":)" +
         metadata + R"(,"enumerations":[)" + enumerations + R"(],"constants":[)" + constants +
         R"(],"fields":[)" + fields + "]}";
}
inline std::string Field(
    const std::string& name,
    const std::string& type = R"({"category":"BUILTIN","primitive_type":"STRING"})",
    const std::string& metadata = "{}") {
  return R"({"name":")" + name + R"(","documentation":"","metadata":)" + metadata + R"(,"type":)" +
         type + "}";
}
inline std::string Constant(const std::string& type, const std::string& value,
                            const std::string& name = "K") {
  return R"({"name":")" + name + R"(","documentation":"","type":)" + type + R"(,"value":)" + value +
         "}";
}

// A service with the given operations (each an operation record).
inline std::string Service(const std::string& name, const std::string& operations = "",
                           const std::string& structures = "",
                           const std::string& enumerations = "") {
  return R"({"name":")" + name + R"(","documentation":"","metadata":{},"enumerations":[)" +
         enumerations + R"(],"structures":[)" + structures + R"(],"constants":[],"operations":[)" +
         operations + "]}";
}
inline std::string Operation(const std::string& name) {
  return R"({"name":")" + name + R"(","documentation":"","metadata":{},"params":[],)" +
         R"("result":{"documentation":"","metadata":{},"type":{"category":"BUILTIN",)" +
         R"("primitive_type":"VOID"}},"errors":[]})";
}
inline std::string Enumeration(const std::string& name) {
  return R"({"name":")" + name + R"(","documentation":"","metadata":{},"values":[]})";
}
}  // namespace MetamodelDocs
}  // namespace OstraTest
