#include "ostra/metamodel/json_metadata_parser.h"

#include <array>
#include <cstdint>
#include <list>
#include <locale>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ostra/json/load_trace.h"
#include "ostra/provider/keyed_hash.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Metamodel {
namespace {

using namespace Binding;
using Category = TypeEnumerations::Category;
using BuiltinType = TypeEnumerations::BuiltinType;
using GenericType = GenericInstantiationEnumerations::GenericType;
using ConstantCategory = ConstantValueEnumerations::Category;
using PrimitiveType = PrimitiveValueEnumerations::Type;
using ElementType = ElementValueEnumerations::Type;
using Constants = MetadataIdentifierSvc::Constants;
using Callbacks = JsonMetadataParser::RegisterCallbacks;

constexpr const char* kParseErrorId = "ostra.metadata.metamodel.parse.error";

// The characters of a string value, as a view into the document.
std::string_view ViewOf(const JsonValue& value) {
  return std::string_view(value.GetString(), value.GetStringLength());
}

// The index of an upper-cased text in E's name table, or E::UNKNOWN.
template <class E>
std::size_t OrdinalIn(const std::string& upper) {
  for (std::size_t i = 0; E::Strings::values[i] != nullptr; ++i) {
    if (upper == E::Strings::values[i]) return i;
  }
  return E::UNKNOWN;
}

// Category texts: the table's names, and PRIMITIVE for the builtin category.
std::size_t CategoryOrdinal(const std::string& upper) {
  if (upper == "PRIMITIVE") return Category::BUILTIN;
  return OrdinalIn<Category>(upper);
}

// Builtin type texts: the table's names, and EXCEPTION for ANY_ERROR.
std::size_t BuiltinOrdinal(const std::string& upper) {
  if (upper == "EXCEPTION") return BuiltinType::ANY_ERROR;
  return OrdinalIn<BuiltinType>(upper);
}

// The primitive form of a constant's builtin type; only these four have one.
PrimitiveType PrimitiveOf(const BuiltinType& builtin) {
  switch (builtin.GetValue()) {
    case BuiltinType::BOOLEAN:
      return PrimitiveType::BOOLEAN;
    case BuiltinType::LONG:
      return PrimitiveType::LONG;
    case BuiltinType::DOUBLE:
      return PrimitiveType::DOUBLE;
    case BuiltinType::STRING:
      return PrimitiveType::STRING;
    default:
      return PrimitiveType::UNKNOWN;
  }
}

std::shared_ptr<const Type> BuiltinTypeOf(BuiltinType::Value builtin) {
  auto type = std::make_shared<Type>();
  type->category = Category::BUILTIN;
  type->builtin_type = builtin;
  return type;
}

// The type references of one document, each distinct type made once: a large document names the
// same few types thousands of times. Types are immutable, so sharing them changes no answer.
class TypePool {
 public:
  std::shared_ptr<const Type> Builtin(BuiltinType::Value builtin) {
    auto& type = builtins_[builtin];
    if (!type) type = BuiltinTypeOf(builtin);
    return type;
  }

  // Found by the two texts, which are copied only into a new type.
  std::shared_ptr<const Type> UserDefined(std::string_view resourceType,
                                          std::string_view resourceId) {
    const std::size_t key = KeyedHash(resourceType) * 1000003u ^ KeyedHash(resourceId);
    const auto candidates = userDefined_.equal_range(key);
    for (auto it = candidates.first; it != candidates.second; ++it) {
      const UserDefinedType& user = *it->second->user_defined_type;
      if (user.resource_type == resourceType && user.resource_id == resourceId) return it->second;
    }
    auto user = std::make_shared<UserDefinedType>();
    user->resource_type = std::string(resourceType);
    user->resource_id = std::string(resourceId);
    auto made = std::make_shared<Type>();
    made->category = Category::USER_DEFINED;
    made->user_defined_type = std::move(user);
    return userDefined_.emplace(key, std::move(made))->second;
  }

  // Element types are pooled already, so equal instantiations have the same element pointers.
  // A map has a key and a value type, the other generic types an element type and no second.
  std::shared_ptr<const Type> Generic(const GenericType& kind, std::shared_ptr<const Type> first,
                                      std::shared_ptr<const Type> second) {
    const GenericKey key{kind.GetOrdinal(), first.get(), second.get()};
    if (2 * (genericCount_ + 1) > generic_.size()) GrowGeneric();
    GenericSlot& slot = generic_[SlotOf(key)];
    if (!slot.type) {
      auto generic = std::make_shared<GenericInstantiation>();
      generic->generic_type = kind;
      if (kind.GetValue() == GenericType::MAP) {
        generic->map_key_type = std::move(first);
        generic->map_value_type = std::move(second);
      } else {
        generic->element_type = std::move(first);
      }
      auto made = std::make_shared<Type>();
      made->category = Category::GENERIC;
      made->generic_instantiation = std::move(generic);
      slot = GenericSlot{key, std::move(made)};
      ++genericCount_;
    }
    return slot.type;
  }

 private:
  struct GenericKey {
    std::size_t kind;
    const Type* first;
    const Type* second;
    bool operator==(const GenericKey& other) const {
      return kind == other.kind && first == other.first && second == other.second;
    }
  };
  // Pointers differ in their middle bits only; each part is mixed through all 64 bits.
  static std::uint64_t Mix(std::uint64_t x) {
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9u;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebu;
    return x ^ (x >> 31);
  }
  static std::size_t HashOf(const GenericKey& k) {
    return Mix(Mix(Mix(k.kind) ^ reinterpret_cast<std::uintptr_t>(k.first)) ^
               reinterpret_cast<std::uintptr_t>(k.second));
  }

  // Generic types in an open-addressing table: a document looks them up tens of thousands of
  // times, and a slot holds the key beside the type.
  struct GenericSlot {
    GenericKey key;
    std::shared_ptr<const Type> type;  // null: an empty slot
  };
  // The slot of `key`, or the empty slot where it belongs; at most half of the slots are used.
  std::size_t SlotOf(const GenericKey& key) const {
    const std::size_t mask = generic_.size() - 1;
    for (std::size_t i = HashOf(key) & mask;; i = (i + 1) & mask) {
      if (!generic_[i].type || generic_[i].key == key) return i;
    }
  }
  void GrowGeneric() {
    std::vector<GenericSlot> old(generic_.empty() ? 64 : 2 * generic_.size());
    old.swap(generic_);
    for (GenericSlot& slot : old) {
      if (slot.type) generic_[SlotOf(slot.key)] = std::move(slot);
    }
  }

  std::array<std::shared_ptr<const Type>, BuiltinType::UNKNOWN> builtins_;
  // User-defined types by the hash of their two texts. The texts are compared apart: either may
  // hold any byte, NUL included.
  std::unordered_multimap<std::size_t, std::shared_ptr<const Type>> userDefined_;
  std::vector<GenericSlot> generic_;  // a power of two in size, or empty
  std::size_t genericCount_ = 0;
};

// One read of one document: the callbacks to fire and the messages to append to.
class Reader : public RecordReader<Reader> {
 public:
  Reader(const Callbacks& callbacks, Messages& messages)
      : RecordReader(messages),
        callbacks_(callbacks),
        ctype_(std::use_facet<std::ctype<char>>(locale_)) {}

  // Packages read before the document, in document order, while the document streamed them (see
  // LoadMetadataFile): they follow those of its (then empty) "packages" array.
  void FollowWith(std::vector<std::shared_ptr<PackageInfo>> packages) {
    streamed_ = std::move(packages);
  }

  // The document: {"metamodel": {"component": {...}}}; the component is handed over once read.
  bool Document(const JsonValue& document) {
    std::shared_ptr<ComponentInfo> component;
    const bool ok = Object(document, "metamodel", [&](const JsonValue& metamodel) {
      return Object(metamodel, "component", component, &Reader::Component);
    });
    if (ok) callbacks_.component(component);
    return ok;
  }

 private:
  std::shared_ptr<ComponentInfo> Component(const JsonValue& json) {
    auto component = std::make_shared<ComponentInfo>();
    const bool ok = Text(json, "name", component->name) &&
                    Text(json, "documentation", component->documentation) &&
                    Metadata(json, component->metadata) &&
                    Array(json, "packages", component->packages, &Reader::Package);
    if (!ok) return nullptr;
    for (auto& package : streamed_)
      Detail::AddElement(component->packages, std::move(package));
    return component;
  }

 public:
  std::shared_ptr<PackageInfo> Package(const JsonValue& json) {
    auto package = std::make_shared<PackageInfo>();
    const bool ok = Text(json, "name", package->name) &&
                    Text(json, "documentation", package->documentation) &&
                    Metadata(json, package->metadata) &&
                    Array(json, "enumerations", package->enumerations, &Reader::Enumeration) &&
                    Array(json, "structures", package->structures, &Reader::Structure) &&
                    Array(json, "services", package->services, &Reader::Service);
    return ok ? package : nullptr;
  }

 private:
  std::shared_ptr<ServiceInfo> Service(const JsonValue& json) {
    auto service = std::make_shared<ServiceInfo>();
    const bool ok = Text(json, "name", service->name) &&
                    Text(json, "documentation", service->documentation) &&
                    Metadata(json, service->metadata) &&
                    Array(json, "enumerations", service->enumerations, &Reader::Enumeration) &&
                    Array(json, "structures", service->structures, &Reader::Structure) &&
                    Array(json, "constants", service->constants, &Reader::Constant) &&
                    Array(json, "operations", service->operations, &Reader::Operation);
    return ok ? service : nullptr;
  }

  std::shared_ptr<OperationInfo> Operation(const JsonValue& json) {
    auto operation = std::make_shared<OperationInfo>();
    const bool ok = Text(json, "name", operation->name) &&
                    Text(json, "documentation", operation->documentation) &&
                    Metadata(json, operation->metadata) &&
                    Array(json, "params", operation->params, &Reader::Field) &&
                    Object(json, "result", operation->output, &Reader::Result) &&
                    Array(json, "errors", operation->errors, &Reader::Error);
    return ok ? operation : nullptr;
  }

  std::shared_ptr<OperationResultInfo> Result(const JsonValue& json) {
    auto result = std::make_shared<OperationResultInfo>();
    const bool ok = Text(json, "documentation", result->documentation) &&
                    Metadata(json, result->metadata) &&
                    Object(json, "type", result->type, &Reader::TypeReference);
    return ok ? result : nullptr;
  }

  std::shared_ptr<ErrorInfo> Error(const JsonValue& json) {
    auto error = std::make_shared<ErrorInfo>();
    const bool ok = Text(json, "user_defined_type_name", error->structure_id) &&
                    Text(json, "documentation", error->documentation);
    return ok ? error : nullptr;
  }

  std::shared_ptr<StructureInfo> Structure(const JsonValue& json) {
    auto structure = std::make_shared<StructureInfo>();
    const bool ok = Text(json, "name", structure->name) &&
                    Enumerated(json, "type", structure->type) &&
                    Text(json, "documentation", structure->documentation) &&
                    Metadata(json, structure->metadata) &&
                    Array(json, "enumerations", structure->enumerations, &Reader::Enumeration) &&
                    Array(json, "constants", structure->constants, &Reader::Constant) &&
                    Array(json, "fields", structure->fields, &Reader::Field);
    if (!ok) return nullptr;
    ModelHook(*structure);
    return structure;
  }

  std::shared_ptr<FieldInfo> Field(const JsonValue& json) {
    auto field = std::make_shared<FieldInfo>();
    const bool ok = Text(json, "name", field->name) &&
                    Text(json, "documentation", field->documentation) &&
                    Metadata(json, field->metadata) &&
                    Object(json, "type", field->type, &Reader::TypeReference);
    return ok ? field : nullptr;
  }

  std::shared_ptr<EnumerationInfo> Enumeration(const JsonValue& json) {
    auto enumeration = std::make_shared<EnumerationInfo>();
    const bool ok = Text(json, "name", enumeration->name) &&
                    Text(json, "documentation", enumeration->documentation) &&
                    Metadata(json, enumeration->metadata) &&
                    Array(json, "values", enumeration->values, &Reader::EnumerationValue);
    return ok ? enumeration : nullptr;
  }

  std::shared_ptr<EnumerationValueInfo> EnumerationValue(const JsonValue& json) {
    auto value = std::make_shared<EnumerationValueInfo>();
    const bool ok = Text(json, "name", value->value) &&
                    Text(json, "documentation", value->documentation) &&
                    Metadata(json, value->metadata);
    return ok ? value : nullptr;
  }

  // A constant: its type names a builtin type, or a list of one; only string values load.
  std::shared_ptr<ConstantInfo> Constant(const JsonValue& json) {
    auto constant = std::make_shared<ConstantInfo>();
    if (!Text(json, "name", constant->name) ||
        !Text(json, "documentation", constant->documentation)) {
      return nullptr;
    }
    auto value = std::make_shared<ConstantValue>();
    BuiltinType builtin;
    const bool typeRead = Object(json, "type", [&](const JsonValue& type) {
      std::string text;
      if (!Enumerated(type, "category", value->category) || !Text(type, "type", text)) return false;
      // The builtin type is compared as written: no upper-casing, no alias.
      builtin = EnumConverter<BuiltinType>::Convert(text);
      return CheckEnum(builtin, "type", messages_, FindMember(type, "type")->value);
    });
    if (!typeRead) return nullptr;
    const PrimitiveType primitive = PrimitiveOf(builtin);
    const JsonValue* valueJson = FindMemberValue(json, "value", messages_);
    if (valueJson == nullptr) return nullptr;
    if (value->category.GetValue() == ConstantCategory::PRIMITIVE) {
      constant->type = types_.Builtin(builtin.GetValue());
      value->primitive_value = Primitive(*valueJson, primitive);
      if (!value->primitive_value) return nullptr;
    } else if (value->category.GetValue() == ConstantCategory::LIST) {
      constant->type =
          types_.Generic(GenericType::LIST, types_.Builtin(builtin.GetValue()), nullptr);
      std::list<std::shared_ptr<const PrimitiveValue>> list;
      const bool ok = JsonParseArray(
          *valueJson, "value", list,
          [&](const JsonValue& element, Messages&) { return Primitive(element, primitive); },
          messages_);
      if (!ok) return nullptr;
      value->list_value = std::move(list);
    } else {
      return nullptr;
    }
    constant->value = std::move(value);
    return constant;
  }

  // A primitive constant value; only the string form is accepted (others fail without a message).
  std::shared_ptr<const PrimitiveValue> Primitive(const JsonValue& json,
                                                  const PrimitiveType& type) {
    if (type.GetValue() != PrimitiveType::STRING) {
      LoadTrace::NoteFailure(json);
      return nullptr;
    }
    std::string text;
    if (!JsonParseString(json, "value", text, messages_)) return nullptr;
    // Constants repeat their values; each distinct one is made once (values are immutable).
    auto& value = strings_[text];
    if (!value) {
      auto made = std::make_shared<PrimitiveValue>();
      made->type = type;
      made->string_value = std::move(text);
      value = std::move(made);
    }
    return value;
  }

  // A type reference: builtin, user-defined or generic, nested without a depth limit of its own.
  // Generic types are read depth first without recursion, so that a deeply nested reference
  // cannot exhaust a small thread stack; the first fault ends the whole reference.
  std::shared_ptr<const Type> TypeReference(const JsonValue& json) {
    std::vector<OpenGeneric>& open = open_;  // generic types whose nested types are being read
    open.clear();
    const JsonValue* next = &json;
    for (;;) {
      std::shared_ptr<const Type> type;
      boost::optional<GenericType> generic;
      if (!TypeHead(*next, type, generic)) return nullptr;
      if (generic) open.push_back(OpenGeneric{std::move(*generic), next, 0, {}});
      // Pass finished types up until a generic type still has a nested type to read.
      for (;;) {
        if (type) {
          if (open.empty()) return type;
          open.back().nested[open.back().read++] = std::move(type);
        }
        if (const char* member = open.back().NextMember()) {
          next = FindTypedMember(*open.back().json, member, rapidjson::kObjectType, messages_);
          if (next == nullptr) return nullptr;
          break;
        }
        OpenGeneric& done = open.back();
        type = types_.Generic(done.kind, std::move(done.nested[0]), std::move(done.nested[1]));
        open.pop_back();
      }
    }
  }

  // A generic type being read: the nested types read so far.
  struct OpenGeneric {
    GenericType kind;
    const JsonValue* json;
    std::size_t read;
    std::shared_ptr<const Type> nested[2];

    // The member holding the next nested type, or null when all are read. A map has a key and a
    // value type, the other generic types one element type.
    const char* NextMember() const {
      if (kind.GetValue() == GenericType::MAP) {
        return read == 0 ? "map_key_type" : read == 1 ? "map_value_type" : nullptr;
      }
      return read == 0 ? "element_type" : nullptr;
    }
  };

  // The part of a type reference before its nested types: a builtin or user-defined type is
  // finished in `type`, a generic one is started as `generic`. False on a fault.
  bool TypeHead(const JsonValue& json, std::shared_ptr<const Type>& type,
                boost::optional<GenericType>& generic) {
    switch (EnumOrdinal<Category>(json, "category", CategoryOrdinal)) {
      case Category::BUILTIN: {
        const std::size_t builtin =
            EnumOrdinal<BuiltinType>(json, "primitive_type", BuiltinOrdinal);
        if (builtin == BuiltinType::UNKNOWN) return false;
        type = types_.Builtin(static_cast<BuiltinType::Value>(builtin));
        return true;
      }
      case Category::USER_DEFINED: {
        const JsonValue* kind = nullptr;
        const JsonValue* id = nullptr;
        if (!TextRef(json, "user_defined_type", kind) ||
            !TextRef(json, "user_defined_type_name", id)) {
          return false;
        }
        std::string_view resourceType = ViewOf(*kind);
        if (resourceType == "Structure") resourceType = "com.corvane.ostra.structure";
        if (resourceType == "Enumeration") resourceType = "com.corvane.ostra.enumeration";
        type = types_.UserDefined(resourceType, ViewOf(*id));
        return true;
      }
      case Category::GENERIC: {
        const std::size_t kind =
            EnumOrdinal<GenericType>(json, "generic_type", OrdinalIn<GenericType>);
        if (kind == GenericType::UNKNOWN) return false;
        generic = GenericType(static_cast<GenericType::Value>(kind));
        return true;
      }
      default:
        return false;
    }
  }

  // The ordinal that `ordinal` finds for the upper-cased text of enumeration member `name`, read
  // as JsonMember reads an enumeration but without making the value: E::UNKNOWN, with the
  // message, when the member is missing, is not a string or names no value. Type references are
  // the most frequent records of a document.
  template <class E>
  std::size_t EnumOrdinal(const JsonValue& json, const char* name,
                          std::size_t (*ordinal)(const std::string&)) {
    const JsonValue* member = FindTypedMember(json, name, rapidjson::kStringType, messages_);
    if (member == nullptr) return E::UNKNOWN;
    upper_.assign(member->GetString(), member->GetStringLength());
    if (!upper_.empty()) ctype_.toupper(&upper_[0], &upper_[0] + upper_.size());
    const std::size_t found = ordinal(upper_);
    if (found == E::UNKNOWN) AddMessageAt(messages_, *member, kInvalidEnumValueId, name);
    return found;
  }

  // A metadata table: key to element map, each element a string or a list of strings. Later keys
  // and elements replace earlier ones. Resource entries are reported as soon as they are stored.
  bool Metadata(const JsonValue& json, MetadataTable& out) {
    return Object(json, "metadata", [&](const JsonValue& object) {
      for (const auto& entry : object.GetObject()) {
        std::string key = ValToString(entry.name);
        if (!CheckType(entry.value, rapidjson::kObjectType, key, messages_)) return false;
        auto elements = ElementMapOf(entry.value);
        if (!elements) return false;
        const bool resource = key == Constants::RESOURCE;
        out[std::move(key)] = elements;
        if (resource) ResourceHook(*elements);
      }
      return true;
    });
  }

  // An element map, each distinct one made once: a document repeats the same few ("Required": {},
  // one resource named over and over). Element maps are immutable, so sharing them changes no
  // answer. The elements are checked in document order; the first bad one fails the map.
  std::shared_ptr<const ElementMap> ElementMapOf(const JsonValue& json) {
    // The map's content as one text: each name and string with its length, so that different
    // maps give different texts.
    elementsKey_.clear();
    const auto append = [this](const JsonValue& text) {
      const rapidjson::SizeType length = text.GetStringLength();
      elementsKey_.append(reinterpret_cast<const char*>(&length), sizeof length);
      elementsKey_.append(text.GetString(), length);
    };
    for (const auto& element : json.GetObject()) {
      append(element.name);
      if (element.value.IsString()) {
        elementsKey_ += 's';
        append(element.value);
      } else if (element.value.IsArray()) {
        elementsKey_ += 'l';
        for (const auto& string : element.value.GetArray()) {
          if (!CheckType(string, rapidjson::kStringType, "value", messages_)) return nullptr;
          append(string);
        }
        elementsKey_ += 'e';
      } else {
        AddMessageAt(messages_, element.value, kInvalidFieldId, "ElementValue");
        return nullptr;
      }
    }
    auto& shared = elementMaps_[elementsKey_];
    if (!shared) {
      auto elements = std::make_shared<ElementMap>();
      for (const auto& element : json.GetObject())
        elements->elements[ValToString(element.name)] = ElementOf(element.value);
      shared = std::move(elements);
    }
    return shared;
  }

  // An element checked by ElementMapOf: a string or a list of strings.
  static std::shared_ptr<const ElementValue> ElementOf(const JsonValue& json) {
    auto value = std::make_shared<ElementValue>();
    if (json.IsString()) {
      value->type = ElementType::STRING;
      value->string_value = ValToString(json);
    } else {
      std::list<std::string> strings;
      for (const auto& string : json.GetArray())
        strings.push_back(ValToString(string));
      value->type = ElementType::STRING_LIST;
      value->list_value = std::move(strings);
    }
    return value;
  }

  // Reports the resources that a RESOURCE entry's element "value" names.
  void ResourceHook(const ElementMap& entry) {
    const auto it = entry.elements.find("value");
    if (it == entry.elements.end()) return;
    const ElementValue& value = *it->second;
    const auto each = [this](const boost::optional<std::list<std::string>>& list) {
      if (list) {
        for (const auto& resource : *list)
          callbacks_.resource(resource);
      }
    };
    switch (value.type.GetValue()) {
      case ElementType::STRING:
        if (value.string_value) callbacks_.resource(*value.string_value);
        break;
      case ElementType::STRING_LIST:
        each(value.list_value);
        break;
      case ElementType::STRUCTURE_REFERENCE:
        if (value.structure_id) callbacks_.resource(*value.structure_id);
        break;
      case ElementType::STRUCTURE_REFERENCE_LIST:
        each(value.structure_ids);
        break;
      default:
        break;
    }
  }

  // A structure marked MODEL is a model of the resources its "ModelKey" fields name. The first
  // such field whose resource is not a single string ends the search.
  void ModelHook(const StructureInfo& structure) {
    if (structure.metadata.count(Constants::MODEL) == 0) return;
    for (const auto& field : structure.fields) {
      const auto resource = field->metadata.find(Constants::RESOURCE);
      if (resource == field->metadata.end() || field->metadata.count("ModelKey") == 0) continue;
      const auto value = resource->second->elements.find("value");
      if (value == resource->second->elements.end()) return;
      const ElementValue& element = *value->second;
      if (element.type.GetValue() != ElementType::STRING || !element.string_value) return;
      callbacks_.model(*element.string_value, structure.name);
    }
  }

  const Callbacks& callbacks_;
  // Enumeration texts are upper-cased under the default locale, as ToUpper does; the text of the
  // last one read.
  std::locale locale_;
  const std::ctype<char>& ctype_;
  std::string upper_;
  TypePool types_;
  // The generic types of the type reference being read (see TypeReference).
  std::vector<OpenGeneric> open_;
  // String constant values by their text (see Primitive).
  std::unordered_map<std::string, std::shared_ptr<const PrimitiveValue>, KeyedTextHash> strings_;
  // Element maps by their content (see ElementMapOf), and the text of one being read.
  std::unordered_map<std::string, std::shared_ptr<const ElementMap>, KeyedTextHash> elementMaps_;
  std::string elementsKey_;
  std::vector<std::shared_ptr<PackageInfo>> streamed_;
};

// The resource and model callbacks of a read, in order, kept until the read has succeeded: a
// resource alone, or a (resource, model) pair.
using Registrations = std::vector<std::pair<std::string, std::optional<std::string>>>;

}  // namespace

bool JsonMetadataParser::LoadMetadata(std::istream& in, const RegisterCallbacks& callbacks,
                                      Messages& messages) {
  return Reader::Read(in, kParseErrorId, callbacks, messages);
}

std::shared_ptr<ParsedMetadata> JsonMetadataParser::LoadMetadataFile(
    const std::string& path, const RegisterCallbacks& callbacks, Messages& messages, bool& loaded) {
  // The streamed read only ever succeeds: its callbacks and messages are held back, and a read
  // that fails reads the file again whole, which gives the messages of an ordinary load.
  // The packages report theirs while the file is read, the component when it is read after.
  Registrations ofPackages, ofComponent;
  Registrations* held = &ofPackages;
  std::shared_ptr<ComponentInfo> component;
  const RegisterCallbacks holding{
      [&component](const std::shared_ptr<ComponentInfo>& read) { component = read; },
      [&held](const std::string& resource) { held->emplace_back(resource, std::nullopt); },
      [&held](const std::string& resource, const std::string& model) {
        held->emplace_back(resource, model);
      }};
  Messages unused;
  Reader reader(holding, unused);
  std::vector<std::shared_ptr<PackageInfo>> packages;
  const StreamedArray streamed{{"metamodel", "component", "packages"},
                               [&](const JsonValue& element) {
                                 auto package = reader.Package(element);
                                 if (!package) return false;
                                 packages.push_back(std::move(package));
                                 return true;
                               }};
  // A trace of the caller's sees only the messages of the load that counts.
  std::optional<LoadTrace> discarded(std::in_place);
  auto parsed = ParseSourceFile(path, &streamed);
  if (parsed && parsed->streamed && !parsed->document->HasParseError()) {
    reader.FollowWith(std::move(packages));
    held = &ofComponent;
    if (reader.Document(*parsed->document)) {
      // In the order of a whole read: the component's metadata comes before its packages.
      for (const Registrations* registrations : {&ofComponent, &ofPackages}) {
        for (const auto& [resource, model] : *registrations) {
          if (model) {
            callbacks.model(resource, *model);
          } else {
            callbacks.resource(resource);
          }
        }
      }
      callbacks.component(component);
      loaded = true;
      return parsed;
    }
  }
  discarded.reset();
  if (parsed && parsed->streamed) parsed = ParseSourceFile(path);
  loaded = parsed && LoadMetadataFromDoc(*parsed->document, callbacks, messages);
  return parsed;
}

bool JsonMetadataParser::LoadMetadataFromDoc(const JsonDocument& document,
                                             const RegisterCallbacks& callbacks,
                                             Messages& messages) {
  return Reader::Read(document, kParseErrorId, callbacks, messages);
}

}  // namespace Metamodel
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
