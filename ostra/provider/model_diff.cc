#include "ostra/provider/model_diff.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <sstream>
#include <tuple>
#include <utility>

namespace Ostra {
namespace Provider {
namespace Metadata {

const char* ChangeLevelName(ChangeLevel level) {
  switch (level) {
    case ChangeLevel::kSafe:
      return "safe";
    case ChangeLevel::kDangerous:
      return "dangerous";
    case ChangeLevel::kBreaking:
      return "breaking";
  }
  return "";
}

namespace {

namespace M = Com::Corvane::Ostra::Metadata::Metamodel;
namespace A = Com::Corvane::Ostra::Metadata::Authentication;
namespace C = Com::Corvane::Ostra::Metadata::Cli;

constexpr const char* kMetamodel = "metamodel";
constexpr const char* kAuthentication = "authentication";
constexpr const char* kCli = "cli";

template <class Record>
using ById = std::map<std::string, std::shared_ptr<const Record>>;
using Text = boost::optional<std::string>;

// One model as its stores answer it: every identifier once, with its record.
struct Snapshot {
  ById<M::ComponentInfo> components;
  ById<M::PackageInfo> packages;
  ById<M::ServiceInfo> services;
  ById<M::StructureInfo> structures;
  ById<M::EnumerationInfo> enumerations;
  // The schemes required at each level, by scheme identifier; one map per kind of level, since a
  // package and a service may share an identifier.
  using Schemes = ById<A::AuthenticationInfo>;
  std::map<std::string, Schemes> package_schemes;
  std::map<std::string, Schemes> service_schemes;
  std::map<std::string, Schemes> operation_schemes;
  ById<C::Namespace_Svc::Info> namespaces;  // by dotted path; the root is left out
  ById<C::CommandSvc::Info> commands;       // by dotted path
};

// Looks up each distinct identifier of `ids` once; one the store no longer answers (a source
// deleted meanwhile) is left out.
template <class Record, class Ids, class Lookup>
ById<Record> Collect(const Ids& ids, Lookup lookup) {
  ById<Record> records;
  for (const auto& id : ids) {
    if (records.count(id) != 0) continue;
    std::shared_ptr<const Record> record = lookup(id);
    if (record) records.emplace(id, std::move(record));
  }
  return records;
}

// The records of a list keyed by `key`; the first of a key wins. Null entries are skipped.
template <class Record, class Key>
ById<Record> Index(const std::list<std::shared_ptr<const Record>>& records, Key key) {
  ById<Record> index;
  for (const auto& record : records) {
    if (record) index.emplace(key(*record), record);
  }
  return index;
}

template <class Record>
ById<Record> Index(const std::map<std::string, std::shared_ptr<const Record>>& records) {
  ById<Record> index;
  for (const auto& entry : records) {
    if (entry.second) index.insert(entry);
  }
  return index;
}

void ReadMetamodel(const Metamodel::MetadataContainer& store, Snapshot& model) {
  model.components = Collect<M::ComponentInfo>(
      store.ListComponents(),
      [&](const std::string& id) -> std::shared_ptr<const M::ComponentInfo> {
        const auto data = store.ComponentInfo(id);
        return data ? data->info : nullptr;
      });
  model.packages = Collect<M::PackageInfo>(
      store.ListPackages(), [&](const std::string& id) { return store.PackageInfo(id); });
  model.services = Collect<M::ServiceInfo>(
      store.ListServices(), [&](const std::string& id) { return store.ServiceInfo(id); });
  model.structures = Collect<M::StructureInfo>(
      store.ListStructures(), [&](const std::string& id) { return store.StructureInfo(id); });
  model.enumerations = Collect<M::EnumerationInfo>(
      store.ListEnumerations(), [&](const std::string& id) { return store.EnumerationInfo(id); });
}

Snapshot::Schemes SchemesOf(const A::SchemeList& list) {
  return Index(list, [](const A::AuthenticationInfo& scheme) { return scheme.scheme; });
}

void ReadAuthentication(const Authentication::MetadataContainer& store, Snapshot& model) {
  for (const auto& id : store.ListPackages()) {
    if (model.package_schemes.count(id) != 0) continue;
    if (const auto package = store.PackageInfo(id)) {
      model.package_schemes.emplace(id, SchemesOf(package->schemes));
    }
  }
  for (const auto& id : store.ListServices()) {
    if (model.service_schemes.count(id) != 0) continue;
    const auto service = store.ServiceInfo(id);
    if (!service) continue;
    model.service_schemes.emplace(id, SchemesOf(service->schemes));
    // What ListOperations and OperationInfo answer for this service: its own operations.
    for (const auto& operation : service->operations) {
      if (operation.second) {
        model.operation_schemes.emplace(id + "#" + operation.first,
                                        SchemesOf(operation.second->schemes));
      }
    }
  }
}

template <class Identity>
std::string Dotted(const Identity& identity) {
  return identity.path.empty() ? identity.name : identity.path + "." + identity.name;
}

void ReadCli(const Cli::MetadataContainer& store, Snapshot& model) {
  for (const auto& identity : store.ListNamespaces()) {
    if (!identity || (identity->path.empty() && identity->name.empty())) continue;
    const std::string path = Dotted(*identity);
    if (model.namespaces.count(path) != 0) continue;
    if (auto info = store.NamespaceInfo(identity)) model.namespaces.emplace(path, std::move(info));
  }
  for (const auto& identity : store.ListCommands(boost::none)) {
    if (!identity) continue;
    const std::string path = Dotted(*identity);
    if (model.commands.count(path) != 0) continue;
    if (auto info = store.CommandInfo(identity)) model.commands.emplace(path, std::move(info));
  }
}

Snapshot Read(const MetadataModel& stores) {
  Snapshot model;
  if (stores.metamodel) ReadMetamodel(*stores.metamodel, model);
  if (stores.authentication) ReadAuthentication(*stores.authentication, model);
  if (stores.cli) ReadCli(*stores.cli, model);
  return model;
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// "string", "com.example.Item", "list<id>", "map<string, optional<long>>". Written without
// recursion: a type may nest as deep as its document.
std::string TypeText(const std::shared_ptr<const M::Type>& root) {
  struct Item {
    const M::Type* type;
    const char* literal;  // written instead of a type when set
  };
  std::string text;
  std::vector<Item> pending{{root.get(), nullptr}};
  while (!pending.empty()) {
    const Item item = pending.back();
    pending.pop_back();
    if (item.literal) {
      text += item.literal;
      continue;
    }
    const M::Type* type = item.type;
    if (!type) {
      text += "?";
      continue;
    }
    switch (type->category.GetValue()) {
      case M::TypeEnumerations::Category::BUILTIN:
        text += type->builtin_type ? Lower(type->builtin_type->GetText()) : "?";
        break;
      case M::TypeEnumerations::Category::USER_DEFINED:
        text += type->user_defined_type ? type->user_defined_type->resource_id : "?";
        break;
      case M::TypeEnumerations::Category::GENERIC: {
        const auto& generic = type->generic_instantiation;
        if (!generic) {
          text += "?";
          break;
        }
        text += Lower(generic->generic_type.GetText()) + "<";
        pending.push_back({nullptr, ">"});
        if (generic->generic_type.GetValue() ==
            M::GenericInstantiationEnumerations::GenericType::MAP) {
          pending.push_back({generic->map_value_type.get(), nullptr});
          pending.push_back({nullptr, ", "});
          pending.push_back({generic->map_key_type.get(), nullptr});
        } else {
          pending.push_back({generic->element_type.get(), nullptr});
        }
        break;
      }
      default:
        text += "?";
        break;
    }
  }
  return text;
}

bool IsOptional(const std::shared_ptr<const M::Type>& type) {
  return type && type->category.GetValue() == M::TypeEnumerations::Category::GENERIC &&
         type->generic_instantiation &&
         type->generic_instantiation->generic_type.GetValue() ==
             M::GenericInstantiationEnumerations::GenericType::OPTIONAL;
}

// Adds the identifiers of the definitions that `root` refers to, at any depth.
void AddReferences(const std::shared_ptr<const M::Type>& root, std::set<std::string>& ids) {
  std::vector<const M::Type*> pending{root.get()};
  while (!pending.empty()) {
    const M::Type* type = pending.back();
    pending.pop_back();
    if (!type) continue;
    if (type->user_defined_type) ids.insert(type->user_defined_type->resource_id);
    if (const auto& generic = type->generic_instantiation) {
      pending.push_back(generic->element_type.get());
      pending.push_back(generic->map_key_type.get());
      pending.push_back(generic->map_value_type.get());
    }
  }
}

// The structures that a parameter of some operation reaches, directly or through fields.
std::set<std::string> ReachedByParameters(const Snapshot& model) {
  std::set<std::string> reached;
  for (const auto& service : model.services) {
    for (const auto& operation : service.second->operations) {
      if (!operation.second) continue;
      for (const auto& param : operation.second->params) {
        if (param) AddReferences(param->type, reached);
      }
    }
  }
  std::vector<std::string> pending(reached.begin(), reached.end());
  while (!pending.empty()) {
    const auto structure = model.structures.find(pending.back());
    pending.pop_back();
    if (structure == model.structures.end()) continue;
    for (const auto& field : structure->second->fields) {
      if (!field) continue;
      std::set<std::string> referenced;
      AddReferences(field->type, referenced);
      for (const auto& id : referenced) {
        if (reached.insert(id).second) pending.push_back(id);
      }
    }
  }
  return reached;
}

std::string Quote(const std::string& text) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
  return buffer.GetString();
}

std::string PrimitiveText(const std::shared_ptr<const M::PrimitiveValue>& value) {
  if (!value) return "?";
  if (value->string_value) return Quote(*value->string_value);
  if (value->long_value) return std::to_string(*value->long_value);
  if (value->boolean_value) return *value->boolean_value ? "true" : "false";
  if (value->double_value) {
    std::ostringstream text;
    text.precision(17);
    text << *value->double_value;
    return text.str();
  }
  return "?";
}

// `string "32"`, `list<string> ["a", "b"]`.
std::string ConstantText(const M::ConstantInfo& constant) {
  std::string text = TypeText(constant.type) + " ";
  const auto& value = constant.value;
  if (value && value->list_value) {
    text += "[";
    const char* separator = "";
    for (const auto& element : *value->list_value) {
      text += separator + PrimitiveText(element);
      separator = ", ";
    }
    return text + "]";
  }
  return text + PrimitiveText(value ? value->primitive_value : nullptr);
}

std::string SchemeText(const A::AuthenticationInfo& scheme) {
  switch (scheme.schemeType.GetValue()) {
    case A::AuthenticationInfoEnumerations::SchemeType::SESSIONLESS:
      return scheme.scheme + " (sessionless)";
    case A::AuthenticationInfoEnumerations::SchemeType::SESSION_AWARE:
      return scheme.scheme + " (session-aware, manager " + scheme.sessionManager.value_or("") + ")";
    default:
      return scheme.scheme + " (" + scheme.schemeType.GetText() + ")";
  }
}

std::string OptionText(const C::CommandSvc::OptionInfo& option) {
  if (option.generic.GetValue() == C::CommandSvc::GenericType::NONE) return option.type;
  return option.type + " (" + Lower(option.generic.GetText()) + ")";
}

// Calls removed(key, old record), added(key, new record) or both(key, old, new) for every key of
// either map.
template <class Record, class Removed, class Added, class Both>
void Match(const ById<Record>& before, const ById<Record>& after, Removed removed, Added added,
           Both both) {
  for (const auto& entry : before) {
    const auto found = after.find(entry.first);
    if (found == after.end()) {
      removed(entry.first, *entry.second);
    } else {
      both(entry.first, *entry.second, *found->second);
    }
  }
  for (const auto& entry : after) {
    if (before.count(entry.first) == 0) added(entry.first, *entry.second);
  }
}

class Differ {
 public:
  Differ(const Snapshot& before, const Snapshot& after)
      : before_(before), after_(after), reached_(ReachedByParameters(after)) {}

  std::vector<ModelChange> Run() {
    Metamodel();
    Authentication();
    Cli();
    std::sort(changes_.begin(), changes_.end(), [](const ModelChange& a, const ModelChange& b) {
      return std::tie(a.path, a.rule, a.domain, a.old_value, a.new_value) <
             std::tie(b.path, b.rule, b.domain, b.old_value, b.new_value);
    });
    return std::move(changes_);
  }

 private:
  using Level = ChangeLevel;

  void Add(std::string rule, Level level, const char* domain, std::string path,
           Text old_value = boost::none, Text new_value = boost::none) {
    changes_.push_back({std::move(rule), level, domain, std::move(path), std::move(old_value),
                        std::move(new_value)});
  }

  void Documentation(const char* domain, const std::string& path, const std::string& before,
                     const std::string& after) {
    if (before != after) Add("documentation-changed", Level::kSafe, domain, path, before, after);
  }

  // Additions and removals of a definition without a value; `both` compares one found on each
  // side.
  template <class Record, class Both>
  void Definitions(const ById<Record>& before, const ById<Record>& after, const char* kind,
                   Both both) {
    Match(
        before, after,
        [&](const std::string& id, const Record&) {
          Add(std::string(kind) + "-removed", Level::kBreaking, kMetamodel, id);
        },
        [&](const std::string& id, const Record&) {
          Add(std::string(kind) + "-added", Level::kSafe, kMetamodel, id);
        },
        both);
  }

  void Metamodel() {
    const auto documentation = [this](const std::string& id, const auto& a, const auto& b) {
      Documentation(kMetamodel, id, a.documentation, b.documentation);
    };
    Definitions(before_.components, after_.components, "component", documentation);
    Definitions(before_.packages, after_.packages, "package", documentation);
    Definitions(before_.services, after_.services, "service",
                [this](const std::string& id, const M::ServiceInfo& a, const M::ServiceInfo& b) {
                  Documentation(kMetamodel, id, a.documentation, b.documentation);
                  Operations(id, a, b);
                  Constants(id, a.constants, b.constants);
                });
    Definitions(
        before_.structures, after_.structures, "structure",
        [this](const std::string& id, const M::StructureInfo& a, const M::StructureInfo& b) {
          Documentation(kMetamodel, id, a.documentation, b.documentation);
          Fields(id, a, b);
          Constants(id, a.constants, b.constants);
        });
    Definitions(
        before_.enumerations, after_.enumerations, "enumeration",
        [this](const std::string& id, const M::EnumerationInfo& a, const M::EnumerationInfo& b) {
          Documentation(kMetamodel, id, a.documentation, b.documentation);
          Values(id, a, b);
        });
  }

  void Operations(const std::string& service, const M::ServiceInfo& a, const M::ServiceInfo& b) {
    Match(
        Index(a.operations), Index(b.operations),
        [&](const std::string& name, const M::OperationInfo&) {
          Add("operation-removed", Level::kBreaking, kMetamodel, service + "#" + name);
        },
        [&](const std::string& name, const M::OperationInfo&) {
          Add("operation-added", Level::kSafe, kMetamodel, service + "#" + name);
        },
        [&](const std::string& name, const M::OperationInfo& x, const M::OperationInfo& y) {
          Operation(service + "#" + name, x, y);
        });
  }

  void Operation(const std::string& path, const M::OperationInfo& a, const M::OperationInfo& b) {
    Documentation(kMetamodel, path, a.documentation, b.documentation);
    const auto name = [](const M::FieldInfo& field) { return field.name; };
    Match(
        Index(a.params, name), Index(b.params, name),
        [&](const std::string& param, const M::FieldInfo& x) {
          Add("parameter-removed", Level::kBreaking, kMetamodel, path + "(" + param + ")",
              TypeText(x.type));
        },
        [&](const std::string& param, const M::FieldInfo& y) {
          Add("parameter-added", IsOptional(y.type) ? Level::kSafe : Level::kBreaking, kMetamodel,
              path + "(" + param + ")", boost::none, TypeText(y.type));
        },
        [&](const std::string& param, const M::FieldInfo& x, const M::FieldInfo& y) {
          const std::string at = path + "(" + param + ")";
          TypeChange("parameter-type-changed", at, x.type, y.type);
          Documentation(kMetamodel, at, x.documentation, y.documentation);
        });

    const M::OperationResultInfo none{};
    const auto& x = a.output ? *a.output : none;
    const auto& y = b.output ? *b.output : none;
    TypeChange("result-type-changed", path + "->", x.type, y.type);
    Documentation(kMetamodel, path + "->", x.documentation, y.documentation);

    const auto structure = [](const M::ErrorInfo& error) { return error.structure_id; };
    Match(
        Index(a.errors, structure), Index(b.errors, structure),
        [&](const std::string& id, const M::ErrorInfo&) {
          Add("error-removed", Level::kSafe, kMetamodel, path + "!" + id);
        },
        [&](const std::string& id, const M::ErrorInfo&) {
          Add("error-added", Level::kDangerous, kMetamodel, path + "!" + id);
        },
        [&](const std::string& id, const M::ErrorInfo& e, const M::ErrorInfo& f) {
          Documentation(kMetamodel, path + "!" + id, e.documentation, f.documentation);
        });
  }

  void TypeChange(const char* rule, const std::string& path,
                  const std::shared_ptr<const M::Type>& a,
                  const std::shared_ptr<const M::Type>& b) {
    std::string before = TypeText(a), after = TypeText(b);
    if (before != after) Add(rule, Level::kBreaking, kMetamodel, path, before, after);
  }

  void Fields(const std::string& structure, const M::StructureInfo& a, const M::StructureInfo& b) {
    const bool reached = reached_.count(structure) != 0;
    const auto name = [](const M::FieldInfo& field) { return field.name; };
    Match(
        Index(a.fields, name), Index(b.fields, name),
        [&](const std::string& field, const M::FieldInfo& x) {
          Add("field-removed", Level::kBreaking, kMetamodel, structure + "." + field,
              TypeText(x.type));
        },
        [&](const std::string& field, const M::FieldInfo& y) {
          Add("field-added", reached && !IsOptional(y.type) ? Level::kBreaking : Level::kSafe,
              kMetamodel, structure + "." + field, boost::none, TypeText(y.type));
        },
        [&](const std::string& field, const M::FieldInfo& x, const M::FieldInfo& y) {
          TypeChange("field-type-changed", structure + "." + field, x.type, y.type);
          Documentation(kMetamodel, structure + "." + field, x.documentation, y.documentation);
        });
  }

  void Constants(const std::string& owner, const ById<M::ConstantInfo>& a,
                 const ById<M::ConstantInfo>& b) {
    Match(
        Index(a), Index(b),
        [&](const std::string& name, const M::ConstantInfo& x) {
          Add("constant-removed", Level::kBreaking, kMetamodel, owner + "::" + name,
              ConstantText(x));
        },
        [&](const std::string& name, const M::ConstantInfo& y) {
          Add("constant-added", Level::kSafe, kMetamodel, owner + "::" + name, boost::none,
              ConstantText(y));
        },
        [&](const std::string& name, const M::ConstantInfo& x, const M::ConstantInfo& y) {
          std::string before = ConstantText(x), after = ConstantText(y);
          if (before != after) {
            Add("constant-value-changed", Level::kBreaking, kMetamodel, owner + "::" + name, before,
                after);
          }
          Documentation(kMetamodel, owner + "::" + name, x.documentation, y.documentation);
        });
  }

  void Values(const std::string& enumeration, const M::EnumerationInfo& a,
              const M::EnumerationInfo& b) {
    const auto text = [](const M::EnumerationValueInfo& value) { return value.value; };
    Match(
        Index(a.values, text), Index(b.values, text),
        [&](const std::string& value, const M::EnumerationValueInfo&) {
          Add("enumeration-value-removed", Level::kBreaking, kMetamodel, enumeration + "." + value);
        },
        [&](const std::string& value, const M::EnumerationValueInfo&) {
          Add("enumeration-value-added", Level::kDangerous, kMetamodel, enumeration + "." + value);
        },
        [&](const std::string& value, const M::EnumerationValueInfo& x,
            const M::EnumerationValueInfo& y) {
          Documentation(kMetamodel, enumeration + "." + value, x.documentation, y.documentation);
        });
  }

  void Authentication() {
    const Snapshot::Schemes none;
    for (const auto levels :
         {&Snapshot::package_schemes, &Snapshot::service_schemes, &Snapshot::operation_schemes}) {
      const auto& before = before_.*levels;
      const auto& after = after_.*levels;
      std::set<std::string> paths;
      for (const auto* side : {&before, &after}) {
        for (const auto& level : *side)
          paths.insert(level.first);
      }
      for (const auto& path : paths) {
        const auto a = before.find(path), b = after.find(path);
        Schemes(path, a == before.end() ? none : a->second, b == after.end() ? none : b->second);
      }
    }
  }

  // The schemes required at one level on each side.
  void Schemes(const std::string& level, const Snapshot::Schemes& a, const Snapshot::Schemes& b) {
    Match(
        a, b,
        [&](const std::string& scheme, const A::AuthenticationInfo&) {
          Add("authentication-removed", Level::kDangerous, kAuthentication, level, scheme);
        },
        [&](const std::string& scheme, const A::AuthenticationInfo&) {
          Add("authentication-added", Level::kBreaking, kAuthentication, level, boost::none,
              scheme);
        },
        [&](const std::string&, const A::AuthenticationInfo& x, const A::AuthenticationInfo& y) {
          std::string before = SchemeText(x), after = SchemeText(y);
          if (before != after) {
            Add("authentication-scheme-changed", Level::kDangerous, kAuthentication, level, before,
                after);
          }
        });
  }

  void Cli() {
    const auto none = [](auto&&...) {};
    Match(before_.namespaces, after_.namespaces, none, none,
          [this](const std::string& path, const C::Namespace_Svc::Info& a,
                 const C::Namespace_Svc::Info& b) {
            Documentation(kCli, path, a.description, b.description);
          });
    Match(
        before_.commands, after_.commands,
        [this](const std::string& path, const C::CommandSvc::Info&) {
          Add("cli-command-removed", Level::kBreaking, kCli, path);
        },
        [this](const std::string& path, const C::CommandSvc::Info&) {
          Add("cli-command-added", Level::kSafe, kCli, path);
        },
        [this](const std::string& path, const C::CommandSvc::Info& a,
               const C::CommandSvc::Info& b) { Command(path, a, b); });
  }

  void Command(const std::string& path, const C::CommandSvc::Info& a,
               const C::CommandSvc::Info& b) {
    Documentation(kCli, path, a.description, b.description);
    std::string before = a.service_id + "#" + a.operation_id;
    std::string after = b.service_id + "#" + b.operation_id;
    if (before != after) {
      Add("cli-command-operation-changed", Level::kDangerous, kCli, path, before, after);
    }
    const auto name = [](const C::CommandSvc::OptionInfo& option) { return option.long_option; };
    Match(
        Index(a.options, name), Index(b.options, name),
        [&](const std::string& option, const C::CommandSvc::OptionInfo& x) {
          Add("cli-option-removed", Level::kBreaking, kCli, path + " --" + option, OptionText(x));
        },
        [&](const std::string& option, const C::CommandSvc::OptionInfo& y) {
          Add("cli-option-added", Level::kSafe, kCli, path + " --" + option, boost::none,
              OptionText(y));
        },
        [&](const std::string& option, const C::CommandSvc::OptionInfo& x,
            const C::CommandSvc::OptionInfo& y) {
          std::string was = OptionText(x), is = OptionText(y);
          if (was != is) {
            Add("cli-option-type-changed", Level::kBreaking, kCli, path + " --" + option, was, is);
          }
          Documentation(kCli, path + " --" + option, x.description, y.description);
        });
  }

  const Snapshot& before_;
  const Snapshot& after_;
  const std::set<std::string> reached_;  // structures that parameters reach in `after_`
  std::vector<ModelChange> changes_;
};

}  // namespace

std::vector<ModelChange> DiffModels(const MetadataModel& before, const MetadataModel& after) {
  const Snapshot old_model = Read(before);
  const Snapshot new_model = Read(after);
  return Differ(old_model, new_model).Run();
}

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
