// Cli records: the command-line presentation of the services, namespaces and commands.
#pragma once

#include <list>
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
namespace Cli {

namespace Namespace_Svc {
// `path` is the dotted path of the enclosing namespace, empty at the top.
struct Identity {
  std::string path;
  std::string name;
};

struct Info {
  std::shared_ptr<const Identity> identity;
  std::string description;
  std::list<std::shared_ptr<const Identity>> children;
};
}  // namespace Namespace_Svc

namespace CommandSvc {
struct FormatterTypeTable {
  enum Value { SIMPLE, TABLE, JSON, XML, CSV, HTML, UNKNOWN };
  struct Strings {
    static constexpr const char* const values[] = {"SIMPLE", "TABLE", "JSON", "XML",
                                                   "CSV",    "HTML",  nullptr};
  };
};
using FormatterType = ::Ostra::BasicEnum<FormatterTypeTable>;

struct GenericTypeTable {
  enum Value { NONE, OPTIONAL, LIST, OPTIONAL_LIST, LIST_OPTIONAL, UNKNOWN };
  struct Strings {
    static constexpr const char* const values[] = {"NONE",          "OPTIONAL",      "LIST",
                                                   "OPTIONAL_LIST", "LIST_OPTIONAL", nullptr};
  };
};
using GenericType = ::Ostra::BasicEnum<GenericTypeTable>;

struct Identity {
  std::string path;
  std::string name;
};

struct OptionInfo {
  std::string long_option;
  boost::optional<std::string> short_option;
  std::string field_name;
  std::string description;
  std::string type;
  GenericType generic;
};

struct OutputFieldInfo {
  std::string field_name;
  std::string display_name;
};

struct OutputInfo {
  std::string structure_id;
  std::list<std::shared_ptr<const OutputFieldInfo>> output_fields;
};

struct Info {
  std::shared_ptr<const Identity> identity;
  std::string description;
  std::string service_id;
  std::string operation_id;
  boost::optional<FormatterType> formatter;
  std::list<std::shared_ptr<const OptionInfo>> options;
  std::list<std::shared_ptr<const OutputInfo>> output_field_list;
};
}  // namespace CommandSvc

struct CliDomain {
  static constexpr const char* kSourceServiceName = "com.corvane.ostra.metadata.cli.source";
  static constexpr const char* kSourceCreateSpecName =
      "com.corvane.ostra.metadata.cli.source.create_spec";
  static constexpr const char* kSourceInfoName = "com.corvane.ostra.metadata.cli.source.info";
};

namespace SourceSvc {
using SourceType = Detail::SourceType<CliDomain>;
using CreateSpec = Detail::SourceCreateSpec<CliDomain>;
using Info = Detail::SourceInfo<CliDomain>;
}  // namespace SourceSvc

}  // namespace Cli
}  // namespace Metadata
}  // namespace Ostra
}  // namespace Corvane
}  // namespace Com

namespace Ostra {
namespace Data {

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Cli::Namespace_Svc::Identity> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.cli.namespace.identity";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("path", r.path);
    field("name", r.name);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Cli::Namespace_Svc::Info> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.cli.namespace.info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("identity", r.identity);
    field("description", r.description);
    field("children", r.children);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Cli::CommandSvc::Identity> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.cli.command.identity";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("path", r.path);
    field("name", r.name);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Cli::CommandSvc::OptionInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.cli.command.option_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("long_option", r.long_option);
    field("short_option", r.short_option);
    field("field_name", r.field_name);
    field("description", r.description);
    field("type", r.type);
    field("generic", r.generic);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Cli::CommandSvc::OutputFieldInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.cli.command.output_field_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("field_name", r.field_name);
    field("display_name", r.display_name);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Cli::CommandSvc::OutputInfo> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.cli.command.output_info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("structure_id", r.structure_id);
    field("output_fields", r.output_fields);
  }
};

template <>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Cli::CommandSvc::Info> {
  static constexpr const char* kName = "com.corvane.ostra.metadata.cli.command.info";
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("identity", r.identity);
    field("description", r.description);
    field("service_id", r.service_id);
    field("operation_id", r.operation_id);
    field("formatter", r.formatter);
    field("options", r.options);
    field("output_field_list", r.output_field_list);
  }
};

}  // namespace Data
}  // namespace Ostra
