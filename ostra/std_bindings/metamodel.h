// Metamodel records: an API surface as a tree of component, packages, services, operations,
// structures, enumerations and constants. Records are built once, then shared read-only.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <string>

#include <boost/optional.hpp>

#include "ostra/core/enum.h"
#include "ostra/core/type_converter.h"
#include "ostra/std_bindings/source.h"

namespace Com {
namespace Corvane {
namespace Ostra {
namespace Metadata {
namespace Metamodel {

namespace StructureInfoEnumerations {
struct TypeTable {
  enum Value { STRUCTURE, ERROR, UNKNOWN };
  struct Strings {
    static constexpr const char* const values[] = {"STRUCTURE", "ERROR", nullptr};
  };
};
using Type = ::Ostra::BasicEnum<TypeTable>;
}  // namespace StructureInfoEnumerations

namespace TypeEnumerations {
struct CategoryTable {
  enum Value { BUILTIN, USER_DEFINED, GENERIC, UNKNOWN };
  struct Strings {
    static constexpr const char* const values[] = {"BUILTIN", "USER_DEFINED", "GENERIC", nullptr};
  };
};
using Category = ::Ostra::BasicEnum<CategoryTable>;

struct BuiltinTypeTable {
  enum Value {
    VOID,
    BOOLEAN,
    LONG,
    DOUBLE,
    STRING,
    BINARY,
    SECRET,
    DATE_TIME,
    ID,
    URI,
    ANY_ERROR,
    DYNAMIC_STRUCTURE,
    OPAQUE,
    UNKNOWN
  };
  struct Strings {
    static constexpr const char* const values[] = {
        "VOID",   "BOOLEAN",   "LONG", "DOUBLE", "STRING",    "BINARY",
        "SECRET", "DATE_TIME", "ID",   "URI",    "ANY_ERROR", "DYNAMIC_STRUCTURE",
        "OPAQUE", nullptr};
  };
};
using BuiltinType = ::Ostra::BasicEnum<BuiltinTypeTable>;
}  // namespace TypeEnumerations

namespace GenericInstantiationEnumerations {
struct GenericTypeTable {
  enum Value { LIST, MAP, OPTIONAL, SET, UNKNOWN };
  struct Strings {
    static constexpr const char* const values[] = {"LIST", "MAP", "OPTIONAL", "SET", nullptr};
  };
};
using GenericType = ::Ostra::BasicEnum<GenericTypeTable>;
}  // namespace GenericInstantiationEnumerations

namespace ConstantValueEnumerations {
struct CategoryTable {
  enum Value { PRIMITIVE, LIST, UNKNOWN };
  struct Strings {
    static constexpr const char* const values[] = {"PRIMITIVE", "LIST", nullptr};
  };
};
using Category = ::Ostra::BasicEnum<CategoryTable>;
}  // namespace ConstantValueEnumerations

namespace PrimitiveValueEnumerations {
struct TypeTable {
  enum Value { BOOLEAN, DOUBLE, LONG, STRING, UNKNOWN };
  struct Strings {
    static constexpr const char* const values[] = {"BOOLEAN", "DOUBLE", "LONG", "STRING", nullptr};
  };
};
using Type = ::Ostra::BasicEnum<TypeTable>;
}  // namespace PrimitiveValueEnumerations

namespace ElementValueEnumerations {
struct TypeTable {
  enum Value { LONG, STRING, STRING_LIST, STRUCTURE_REFERENCE, STRUCTURE_REFERENCE_LIST, UNKNOWN };
  struct Strings {
    static constexpr const char* const values[] = {
        "LONG", "STRING", "STRING_LIST", "STRUCTURE_REFERENCE", "STRUCTURE_REFERENCE_LIST",
        nullptr};
  };
};
using Type = ::Ostra::BasicEnum<TypeTable>;
}  // namespace ElementValueEnumerations

// Metadata keys with a meaning of their own.
namespace MetadataIdentifierSvc {
struct Constants {
  static constexpr const char* RESOURCE = "Resource";
  static constexpr const char* MODEL = "Model";
};
}  // namespace MetadataIdentifierSvc

struct ElementValue {
  ElementValueEnumerations::Type type;
  boost::optional<std::int64_t> long_value;
  boost::optional<std::string> string_value;
  boost::optional<std::list<std::string>> list_value;
  boost::optional<std::string> structure_id;
  boost::optional<std::list<std::string>> structure_ids;
};

struct ElementMap {
  std::map<std::string, std::shared_ptr<const ElementValue>> elements;
};

// Metadata key to its element map.
using MetadataTable = std::map<std::string, std::shared_ptr<const ElementMap>>;

struct UserDefinedType {
  std::string resource_type;
  std::string resource_id;
};

struct GenericInstantiation;

struct Type {
  TypeEnumerations::Category category;
  boost::optional<TypeEnumerations::BuiltinType> builtin_type;
  std::shared_ptr<const UserDefinedType> user_defined_type;
  std::shared_ptr<const GenericInstantiation> generic_instantiation;
};

struct GenericInstantiation {
  GenericInstantiationEnumerations::GenericType generic_type;
  std::shared_ptr<const Type> element_type;
  std::shared_ptr<const Type> map_key_type;
  std::shared_ptr<const Type> map_value_type;
};

struct PrimitiveValue {
  PrimitiveValueEnumerations::Type type;
  boost::optional<bool> boolean_value;
  boost::optional<double> double_value;
  boost::optional<std::int64_t> long_value;
  boost::optional<std::string> string_value;
};

struct ConstantValue {
  ConstantValueEnumerations::Category category;
  std::shared_ptr<const PrimitiveValue> primitive_value;
  boost::optional<std::list<std::shared_ptr<const PrimitiveValue>>> list_value;
};

struct ConstantInfo {
  std::string name;
  std::shared_ptr<const Type> type;
  std::shared_ptr<const ConstantValue> value;
  std::string documentation;
};

struct FieldInfo {
  std::string name;
  std::shared_ptr<const Type> type;
  MetadataTable metadata;
  std::string documentation;
};

struct EnumerationValueInfo {
  std::string value;
  MetadataTable metadata;
  std::string documentation;
};

struct EnumerationInfo {
  std::string name;
  std::list<std::shared_ptr<const EnumerationValueInfo>> values;
  MetadataTable metadata;
  std::string documentation;
};

struct StructureInfo {
  std::string name;
  StructureInfoEnumerations::Type type;
  std::map<std::string, std::shared_ptr<const EnumerationInfo>> enumerations;
  std::map<std::string, std::shared_ptr<const ConstantInfo>> constants;
  std::list<std::shared_ptr<const FieldInfo>> fields;
  MetadataTable metadata;
  std::string documentation;
};

struct OperationResultInfo {
  std::shared_ptr<const Type> type;
  MetadataTable metadata;
  std::string documentation;
};

struct ErrorInfo {
  std::string structure_id;
  std::string documentation;
};

struct OperationInfo {
  std::string name;
  std::list<std::shared_ptr<const FieldInfo>> params;
  std::shared_ptr<const OperationResultInfo> output;
  std::list<std::shared_ptr<const ErrorInfo>> errors;
  MetadataTable metadata;
  std::string documentation;
};

struct ServiceInfo {
  std::string name;
  std::map<std::string, std::shared_ptr<const OperationInfo>> operations;
  std::map<std::string, std::shared_ptr<const StructureInfo>> structures;
  std::map<std::string, std::shared_ptr<const EnumerationInfo>> enumerations;
  std::map<std::string, std::shared_ptr<const ConstantInfo>> constants;
  MetadataTable metadata;
  std::string documentation;
};

struct PackageInfo {
  std::string name;
  std::map<std::string, std::shared_ptr<const StructureInfo>> structures;
  std::map<std::string, std::shared_ptr<const EnumerationInfo>> enumerations;
  std::map<std::string, std::shared_ptr<const ServiceInfo>> services;
  MetadataTable metadata;
  std::string documentation;
};

struct ComponentInfo {
  std::string name;
  std::map<std::string, std::shared_ptr<const PackageInfo>> packages;
  MetadataTable metadata;
  std::string documentation;
};

// A component together with the fingerprint of the source it came from.
struct ComponentData {
  std::shared_ptr<const ComponentInfo> info;
  std::string fingerprint;
};

struct MetamodelDomain {
  static constexpr const char* kSourceServiceName = "com.corvane.ostra.metadata.metamodel.source";
  static constexpr const char* kSourceCreateSpecName =
      "com.corvane.ostra.metadata.metamodel.source.create_spec";
  static constexpr const char* kSourceInfoName = "com.corvane.ostra.metadata.metamodel.source.info";
};

namespace SourceSvc {
using SourceType = Detail::SourceType<MetamodelDomain>;
using CreateSpec = Detail::SourceCreateSpec<MetamodelDomain>;
using Info = Detail::SourceInfo<MetamodelDomain>;
}  // namespace SourceSvc

}  // namespace Metamodel
}  // namespace Metadata
}  // namespace Ostra
}  // namespace Corvane
}  // namespace Com

namespace Ostra {
namespace Data {

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::ElementValue> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.element_value";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("type", r.type);
    field("long_value", r.long_value);
    field("string_value", r.string_value);
    field("list_value", r.list_value);
    field("structure_id", r.structure_id);
    field("structure_ids", r.structure_ids);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::ElementMap> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.element_map";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("elements", r.elements);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::UserDefinedType> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.user_defined_type";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("resource_type", r.resource_type);
    field("resource_id", r.resource_id);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::Type> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.type";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("category", r.category);
    field("builtin_type", r.builtin_type);
    field("user_defined_type", r.user_defined_type);
    field("generic_instantiation", r.generic_instantiation);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::GenericInstantiation> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.generic_instantiation";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("generic_type", r.generic_type);
    field("element_type", r.element_type);
    field("map_key_type", r.map_key_type);
    field("map_value_type", r.map_value_type);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::PrimitiveValue> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.primitive_value";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("type", r.type);
    field("boolean_value", r.boolean_value);
    field("double_value", r.double_value);
    field("long_value", r.long_value);
    field("string_value", r.string_value);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::ConstantValue> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.constant_value";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("category", r.category);
    field("primitive_value", r.primitive_value);
    field("list_value", r.list_value);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::ConstantInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.constant_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("name", r.name);
    field("type", r.type);
    field("value", r.value);
    field("documentation", r.documentation);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::FieldInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.field_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("name", r.name);
    field("type", r.type);
    field("metadata", r.metadata);
    field("documentation", r.documentation);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::EnumerationValueInfo> {
  static constexpr const char* kName =
      "com.corvane.ostra.metadata.metamodel.enumeration_value_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("value", r.value);
    field("metadata", r.metadata);
    field("documentation", r.documentation);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::EnumerationInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.enumeration_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("name", r.name);
    field("values", r.values);
    field("metadata", r.metadata);
    field("documentation", r.documentation);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::StructureInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.structure_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("name", r.name);
    field("type", r.type);
    field("enumerations", r.enumerations);
    field("constants", r.constants);
    field("fields", r.fields);
    field("metadata", r.metadata);
    field("documentation", r.documentation);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::OperationResultInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.operation_result_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("type", r.type);
    field("metadata", r.metadata);
    field("documentation", r.documentation);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::ErrorInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.error_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("structure_id", r.structure_id);
    field("documentation", r.documentation);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::OperationInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.operation_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("name", r.name);
    field("params", r.params);
    field("output", r.output);
    field("errors", r.errors);
    field("metadata", r.metadata);
    field("documentation", r.documentation);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::ServiceInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.service_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("name", r.name);
    field("operations", r.operations);
    field("structures", r.structures);
    field("enumerations", r.enumerations);
    field("constants", r.constants);
    field("metadata", r.metadata);
    field("documentation", r.documentation);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::PackageInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.package_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("name", r.name);
    field("structures", r.structures);
    field("enumerations", r.enumerations);
    field("services", r.services);
    field("metadata", r.metadata);
    field("documentation", r.documentation);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::ComponentInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.component_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("name", r.name);
    field("packages", r.packages);
    field("metadata", r.metadata);
    field("documentation", r.documentation);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Metamodel::ComponentData> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.metamodel.component_data";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("info", r.info);
    field("fingerprint", r.fingerprint);
  }
};

}  // namespace Data
}  // namespace Ostra
