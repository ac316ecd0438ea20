#include "ostra/cli/json_metadata_parser.h"

#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include <boost/optional.hpp>

#include "ostra/provider/keyed_hash.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Cli {
namespace {

using namespace Binding::CommandSvc;
using Callbacks = MetadataParser::RegisterCallbacks;

constexpr const char* kParseErrorId = "ostra.metadata.cli.parse.error";

// Formatter texts: upper-cased and looked up; an unknown text is kept in the unknown value.
FormatterType ParseFormatterType(const std::string& text) {
  return EnumConverter<FormatterType>::Convert(ToUpper(text));
}

// Generic texts: empty means the first value; otherwise as for formatters.
GenericType ParseGenericType(const std::string& text) {
  if (text.empty()) return GenericType(GenericType::Value(0));
  return EnumConverter<GenericType>::Convert(ToUpper(text));
}

// One element of "output_fields": its "field_name" and "display_name" strings in the document.
using Field = std::pair<const JsonValue*, const JsonValue*>;

// Output lists by their content: a document shows the same structure the same way for many
// commands, and records are immutable, so one record serves them all.
class Outputs {
 public:
  // The record of `structure` shown with `fields`.
  std::shared_ptr<const OutputInfo> Get(const JsonValue& structure,
                                        const std::vector<Field>& fields) {
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
      auto made = std::make_shared<OutputInfo>();
      made->structure_id = ValToString(structure);
      for (const auto& field : fields) {
        made->output_fields.push_back(std::make_shared<const OutputFieldInfo>(
            OutputFieldInfo{ValToString(*field.first), ValToString(*field.second)}));
      }
      output = std::move(made);
    }
    return output;
  }

 private:
  std::unordered_map<std::string, std::shared_ptr<const OutputInfo>, KeyedTextHash> byContent_;
  std::string key_;
};

// One read of one document: the callbacks to fire, the messages to append to and the output
// lists made so far.
class Reader : public RecordReader<Reader, CliIds> {
 public:
  Reader(const Callbacks& callbacks, Messages& messages)
      : RecordReader(messages), callbacks_(callbacks) {}

  bool Document(const JsonValue& document) { return Array(document, "cli", &Reader::ParseNode); }

 private:
  // One element of "cli": a namespace or a command, registered when read without fault.
  bool ParseNode(const JsonValue& node) {
    std::string type;
    if (!Text(node, "type", type)) return false;
    if (type == "namespace") {
      auto info = ParseInfoNode<Binding::Namespace_Svc::Info>(node);
      if (info) callbacks_.ns(info);
      return info != nullptr;
    }
    if (type == "command") {
      auto info = ParseInfoNode<Info>(node);
      const bool ok = info && ParseCommandMetadata(node, *info);
      if (ok) callbacks_.command(info);
      return ok;
    }
    AddMessageAt(messages_, FindMember(node, "type")->value, CliIds::kInvalidNodeType, "type");
    return false;
  }

  // "path", "name" and "description" of a node, as a Namespace_Svc::Info or CommandSvc::Info.
  template <class NodeInfo>
  std::shared_ptr<NodeInfo> ParseInfoNode(const JsonValue& node) {
    using Identity = std::remove_const_t<typename decltype(NodeInfo::identity)::element_type>;
    auto identity = std::make_shared<Identity>();
    auto info = std::make_shared<NodeInfo>();
    const bool ok = Text(node, "path", identity->path) && Text(node, "name", identity->name) &&
                    Text(node, "description", info->description);
    if (!ok) return nullptr;
    info->identity = std::move(identity);
    return info;
  }

  // The command node's "node_metadata" object, into `command`.
  bool ParseCommandMetadata(const JsonValue& node, Info& command) {
    const JsonValue* metadata = FindMemberValue(node, "node_metadata", messages_);
    boost::optional<std::string> formatter;
    // A non-object is reported under "path", although the member at fault is "node_metadata".
    const bool ok = metadata != nullptr && CheckObject(*metadata, "path") &&
                    Text(*metadata, "service_id", command.service_id) &&
                    Text(*metadata, "operation_id", command.operation_id) &&
                    OptText(*metadata, "formatter", formatter) &&
                    OptArray(*metadata, "options", command.options, &Reader::ParseOptionInfo) &&
                    OptArray(*metadata, "output_field_list", command.output_field_list,
                             &Reader::ParseFieldInfo);
    if (ok && formatter) command.formatter = ParseFormatterType(*formatter);
    return ok;
  }

  std::shared_ptr<const OptionInfo> ParseOptionInfo(const JsonValue& entry) {
    auto option = std::make_shared<OptionInfo>();
    std::string generic;
    const bool ok = CheckObject(entry, "options_entry") &&
                    Text(entry, "long_option", option->long_option) &&
                    OptText(entry, "short_option", option->short_option) &&
                    Text(entry, "field_name", option->field_name) &&
                    Text(entry, "description", option->description) &&
                    Text(entry, "type", option->type) && Text(entry, "generic", generic);
    if (!ok) return nullptr;
    option->generic = ParseGenericType(generic);
    return option;
  }

  // One element of "output_field_list". Commands that show a structure alike share one record.
  std::shared_ptr<const OutputInfo> ParseFieldInfo(const JsonValue& entry) {
    const JsonValue* structure = nullptr;
    fields_.clear();
    // A non-object gets the same argument as option entries.
    const bool ok = CheckObject(entry, "options_entry") &&
                    TextRef(entry, "structure_id", structure) &&
                    OptArray(entry, "output_fields", fields_, &Reader::ParseMemberInfo);
    return ok ? outputs_.Get(*structure, fields_) : nullptr;
  }

  boost::optional<Field> ParseMemberInfo(const JsonValue& entry) {
    Field field;
    const bool ok = CheckObject(entry, "output_fields") &&
                    TextRef(entry, "field_name", field.first) &&
                    TextRef(entry, "display_name", field.second);
    if (!ok) return boost::none;
    return field;
  }

  const Callbacks& callbacks_;
  Outputs outputs_;
  std::vector<Field> fields_;  // of the output entry being read
};

}  // namespace

bool MetadataParser::LoadMetadata(std::istream& in, const RegisterCallbacks& callbacks,
                                  Messages& messages) {
  return Reader::Read(in, kParseErrorId, callbacks, messages);
}

bool MetadataParser::LoadMetadataFromDoc(const JsonDocument& document,
                                         const RegisterCallbacks& callbacks, Messages& messages) {
  return Reader::Read(document, kParseErrorId, callbacks, messages);
}

}  // namespace Cli
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
