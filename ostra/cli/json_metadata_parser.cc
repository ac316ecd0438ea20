#include "ostra/cli/json_metadata_parser.h"

#include <list>
#include <string>
#include <utility>

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Cli {
namespace {

using Binding::CommandSvc::FormatterType;
using Binding::CommandSvc::GenericType;

constexpr const char* kParseErrorId = "ostra.metadata.cli.parse.error";

// A required string member, reported with the Cli invalid-field id.
using Text = JsonMember<std::string, CliIds>;
using OptText = JsonOptMember<boost::optional<std::string>, CliIds>;

// The element readers of the arrays and objects below report a non-object element with the Cli
// invalid-field id and `name`.
bool CheckObject(const JsonValue& value, const char* name, Messages& messages) {
  if (value.IsObject()) return true;
  AddMessage(messages, CliIds::kInvalidField, name);
  return false;
}

}  // namespace

FormatterType ParseFormatterType(const std::string& text) {
  return EnumConverter<FormatterType>::Convert(ToUpper(text));
}

GenericType ParseGenericType(const std::string& text) {
  if (text.empty()) return GenericType(GenericType::Value(0));
  return EnumConverter<GenericType>::Convert(ToUpper(text));
}

bool MetadataParser::LoadMetadata(std::istream& in, const RegisterCallbacks& callbacks,
                                  Messages& messages) {
  JsonDocument document;
  ParseJson(in, document);
  return LoadMetadataFromDoc(document, callbacks, messages);
}

bool MetadataParser::LoadMetadataFromDoc(const JsonDocument& document,
                                         const RegisterCallbacks& callbacks, Messages& messages) {
  if (!CheckParsed(document, kParseErrorId, messages)) return false;
  const JsonValue* nodes = FindMemberValue(document, "cli", messages);
  if (nodes == nullptr) return false;
  if (!nodes->IsArray()) {
    AddMessage(messages, CliIds::kInvalidField, "cli");
    return false;
  }
  for (const auto& node : nodes->GetArray()) {
    if (!ParseNode(node, callbacks, messages)) return false;
  }
  return true;
}

bool MetadataParser::ParseNode(const JsonValue& node, const RegisterCallbacks& callbacks,
                               Messages& messages) {
  const Text type(node, "type", messages);
  if (!type) return false;
  if (type.Value() == "namespace") {
    auto info = ParseInfoNode<Binding::Namespace_Svc::Info>(node, messages);
    if (!info) return false;
    callbacks.ns(info);
    return true;
  }
  if (type.Value() == "command") {
    auto info = ParseInfoNode<Binding::CommandSvc::Info>(node, messages);
    if (!info) return false;
    const JsonValue* metadata = FindMemberValue(node, "node_metadata", messages);
    if (metadata == nullptr || !ParseCommandMetadata(*metadata, *info, messages)) return false;
    callbacks.command(info);
    return true;
  }
  AddMessage(messages, CliIds::kInvalidNodeType, "type");
  return false;
}

template <class Info>
std::shared_ptr<Info> MetadataParser::ParseInfoNode(const JsonValue& node, Messages& messages) {
  Text path(node, "path", messages);
  if (!path) return nullptr;
  Text name(node, "name", messages);
  if (!name) return nullptr;
  Text description(node, "description", messages);
  if (!description) return nullptr;
  using Identity = typename decltype(Info::identity)::element_type;
  auto info = std::make_shared<Info>();
  info->identity = std::make_shared<Identity>(Identity{path.Take(), name.Take()});
  info->description = description.Take();
  return info;
}

template std::shared_ptr<Binding::Namespace_Svc::Info>
MetadataParser::ParseInfoNode<Binding::Namespace_Svc::Info>(const JsonValue&, Messages&);
template std::shared_ptr<Binding::CommandSvc::Info>
MetadataParser::ParseInfoNode<Binding::CommandSvc::Info>(const JsonValue&, Messages&);

bool MetadataParser::ParseCommandMetadata(const JsonValue& metadata,
                                          Binding::CommandSvc::Info& command, Messages& messages) {
  // Reported as "path", although the member at fault is "node_metadata".
  if (!CheckObject(metadata, "path", messages)) return false;
  Text service(metadata, "service_id", messages);
  if (!service) return false;
  Text operation(metadata, "operation_id", messages);
  if (!operation) return false;
  OptText formatter(metadata, "formatter", messages);
  if (!formatter) return false;
  JsonOptArrayMember<decltype(command.options), CliIds> options(metadata, "options",
                                                                &ParseOptionInfo, messages);
  if (!options) return false;
  JsonOptArrayMember<decltype(command.output_field_list), CliIds> outputs(
      metadata, "output_field_list", &ParseFieldInfo, messages);
  if (!outputs) return false;

  command.service_id = service.Take();
  command.operation_id = operation.Take();
  if (formatter.Value()) command.formatter = ParseFormatterType(*formatter.Value());
  command.options = options.Take();
  command.output_field_list = outputs.Take();
  return true;
}

std::shared_ptr<const Binding::CommandSvc::OptionInfo> MetadataParser::ParseOptionInfo(
    const JsonValue& entry, Messages& messages) {
  if (!CheckObject(entry, "options_entry", messages)) return nullptr;
  Text longOption(entry, "long_option", messages);
  if (!longOption) return nullptr;
  OptText shortOption(entry, "short_option", messages);
  if (!shortOption) return nullptr;
  Text field(entry, "field_name", messages);
  if (!field) return nullptr;
  Text description(entry, "description", messages);
  if (!description) return nullptr;
  Text type(entry, "type", messages);
  if (!type) return nullptr;
  Text generic(entry, "generic", messages);
  if (!generic) return nullptr;

  auto option = std::make_shared<Binding::CommandSvc::OptionInfo>();
  option->long_option = longOption.Take();
  option->short_option = shortOption.Take();
  option->field_name = field.Take();
  option->description = description.Take();
  option->type = type.Take();
  option->generic = ParseGenericType(generic.Value());
  return option;
}

std::shared_ptr<const Binding::CommandSvc::OutputInfo> MetadataParser::ParseFieldInfo(
    const JsonValue& entry, Messages& messages) {
  // The same argument as option entries give.
  if (!CheckObject(entry, "options_entry", messages)) return nullptr;
  Text structure(entry, "structure_id", messages);
  if (!structure) return nullptr;
  JsonOptArrayMember<std::list<std::shared_ptr<const Binding::CommandSvc::OutputFieldInfo>>, CliIds>
      fields(entry, "output_fields", &ParseMemberInfo, messages);
  if (!fields) return nullptr;

  auto output = std::make_shared<Binding::CommandSvc::OutputInfo>();
  output->structure_id = structure.Take();
  output->output_fields = fields.Take();
  return output;
}

std::shared_ptr<const Binding::CommandSvc::OutputFieldInfo> MetadataParser::ParseMemberInfo(
    const JsonValue& entry, Messages& messages) {
  if (!CheckObject(entry, "output_fields", messages)) return nullptr;
  Text field(entry, "field_name", messages);
  if (!field) return nullptr;
  Text display(entry, "display_name", messages);
  if (!display) return nullptr;
  return std::make_shared<const Binding::CommandSvc::OutputFieldInfo>(
      Binding::CommandSvc::OutputFieldInfo{field.Take(), display.Take()});
}

}  // namespace Cli
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
