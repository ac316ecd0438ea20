#include "ostra/cli/json_metadata_parser.h"

#include <list>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ostra/provider/keyed_hash.h"

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
  AddMessageAt(messages, value, CliIds::kInvalidField, name);
  return false;
}

// The value of required string member `name`, checked as Text checks it but not copied: null,
// with the same message, when it is missing or not a string.
const JsonValue* TextValue(const JsonValue& object, const char* name, Messages& messages) {
  const JsonValue* member = FindMemberValue(object, name, messages);
  if (member == nullptr || member->IsString()) return member;
  AddMessageAt(messages, *member, CliIds::kInvalidField, name);
  return nullptr;
}

}  // namespace

// Output lists by their content: a document shows the same structure the same way for many
// commands, and records are immutable, so one record serves them all.
class MetadataParser::Outputs {
 public:
  using Fields = std::vector<std::pair<const JsonValue*, const JsonValue*>>;

  // The record of `structure` shown with `fields`, which the caller gathered.
  std::shared_ptr<const Binding::CommandSvc::OutputInfo> Get(const JsonValue& structure) {
    // Every text with its length, so that different lists give different keys.
    key_.clear();
    const auto append = [this](const JsonValue& text) {
      const rapidjson::SizeType length = text.GetStringLength();
      key_.append(reinterpret_cast<const char*>(&length), sizeof length);
      key_.append(text.GetString(), length);
    };
    append(structure);
    for (const auto& field : fields) {
      append(*field.first);
      append(*field.second);
    }
    auto& output = byContent_[key_];
    if (!output) {
      auto made = std::make_shared<Binding::CommandSvc::OutputInfo>();
      made->structure_id = ValToString(structure);
      for (const auto& field : fields) {
        made->output_fields.push_back(std::make_shared<const Binding::CommandSvc::OutputFieldInfo>(
            Binding::CommandSvc::OutputFieldInfo{ValToString(*field.first),
                                                 ValToString(*field.second)}));
      }
      output = std::move(made);
    }
    return output;
  }

  // The fields of the list being read (see ParseFieldInfo).
  Fields fields;

 private:
  std::unordered_map<std::string, std::shared_ptr<const Binding::CommandSvc::OutputInfo>,
                     KeyedTextHash>
      byContent_;
  std::string key_;
};

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
    AddMessageAt(messages, *nodes, CliIds::kInvalidField, "cli");
    return false;
  }
  Outputs outputs;
  for (const auto& node : nodes->GetArray()) {
    if (!ParseNode(node, callbacks, outputs, messages)) return false;
  }
  return true;
}

bool MetadataParser::ParseNode(const JsonValue& node, const RegisterCallbacks& callbacks,
                               Outputs& outputs, Messages& messages) {
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
    if (metadata == nullptr || !ParseCommandMetadata(*metadata, *info, outputs, messages)) {
      return false;
    }
    callbacks.command(info);
    return true;
  }
  AddMessageAt(messages, FindMember(node, "type")->value, CliIds::kInvalidNodeType, "type");
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
                                          Binding::CommandSvc::Info& command, Outputs& outputs,
                                          Messages& messages) {
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
  JsonOptArrayMember<decltype(command.output_field_list), CliIds> outputList(
      metadata, "output_field_list",
      [&outputs](const JsonValue& entry, Messages& m) { return ParseFieldInfo(entry, outputs, m); },
      messages);
  if (!outputList) return false;

  command.service_id = service.Take();
  command.operation_id = operation.Take();
  if (formatter.Value()) command.formatter = ParseFormatterType(*formatter.Value());
  command.options = options.Take();
  command.output_field_list = outputList.Take();
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
    const JsonValue& entry, Outputs& outputs, Messages& messages) {
  // The same argument as option entries give.
  if (!CheckObject(entry, "options_entry", messages)) return nullptr;
  const JsonValue* structure = TextValue(entry, "structure_id", messages);
  if (structure == nullptr) return nullptr;
  // "output_fields" is optional, as JsonOptArrayMember reads it.
  outputs.fields.clear();
  if (const JsonValue* fields = FindMemberValue(entry, "output_fields", messages)) {
    if (!fields->IsArray()) {
      AddMessageAt(messages, *fields, CliIds::kInvalidField, "output_fields");
      return nullptr;
    }
    for (const auto& field : fields->GetArray()) {
      const auto texts = ParseMemberInfo(field, messages);
      if (texts.second == nullptr) return nullptr;
      outputs.fields.push_back(texts);
    }
  }
  return outputs.Get(*structure);
}

std::pair<const JsonValue*, const JsonValue*> MetadataParser::ParseMemberInfo(
    const JsonValue& entry, Messages& messages) {
  if (!CheckObject(entry, "output_fields", messages)) return {};
  const JsonValue* field = TextValue(entry, "field_name", messages);
  if (field == nullptr) return {};
  const JsonValue* display = TextValue(entry, "display_name", messages);
  if (display == nullptr) return {};
  return {field, display};
}

}  // namespace Cli
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
