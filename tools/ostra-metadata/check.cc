// The check command: loads every document and tells, for each fault, where it is and how to fix
// it. A load's faults come from the library (the messages, placed by a LoadTrace); the warnings
// come from a walk of each document against what the readers read, and from comparing the
// documents of the three domains with each other.
#include <rapidjson/error/en.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <utility>

#include "commands.h"
#include "json_writer.h"
#include "ostra/core/json_limits.h"
#include "report.h"

namespace OstraTool {
namespace {

namespace M = Ostra::Provider::Metadata;
using M::JsonValue;
using Steps = std::vector<std::size_t>;

// Larger files are not read: check holds a file's text and its tree at once.
constexpr std::uintmax_t kMaxCheckedSize = std::uintmax_t{256} << 20;
// Warnings beyond this many findings of one file are counted, not kept: a document of a million
// unknown members would otherwise take gigabytes to report.
constexpr std::size_t kMaxFindingsPerFile = 1000;

constexpr const char* kMissingField = "ostra.metadata.json.missing.field";
constexpr const char* kInvalidEnum = "ostra.metadata.json.invalid.enum.value";
constexpr const char* kUnknownScheme = "ostra.metadata.authentication.json.unknown.schema.name";
constexpr const char* kInvalidServiceId = "ostra.metadata.authentication.json.invalid.service.id";

std::string Text(const JsonValue& value) {
  return value.IsString() ? std::string(value.GetString(), value.GetStringLength()) : "";
}

std::string Quoted(const std::string& text) {
  return "\"" + text + "\"";
}

// Levenshtein distance, or limit + 1 once it is certainly above `limit`.
std::size_t Distance(const std::string& a, const std::string& b, std::size_t limit) {
  if ((a.size() > b.size() ? a.size() - b.size() : b.size() - a.size()) > limit) return limit + 1;
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j)
    row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    std::size_t best = row[0];
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t up = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = up;
      best = std::min(best, row[j]);
    }
    if (best > limit) return limit + 1;
  }
  return row[b.size()];
}

// The candidate nearest to `text` at distance 2 or less (the first of equals), or none.
boost::optional<std::string> Nearest(const std::string& text,
                                     const std::vector<std::string>& candidates) {
  boost::optional<std::string> best;
  std::size_t bestDistance = 3;
  for (const auto& candidate : candidates) {
    const std::size_t d = Distance(text, candidate, 2);
    if (d < bestDistance && candidate != text) {
      bestDistance = d;
      best = candidate;
    }
  }
  return best;
}

std::string Joined(const std::vector<std::string>& texts) {
  std::string joined;
  for (const auto& text : texts)
    joined += (joined.empty() ? "" : ", ") + text;
  return joined;
}

// "did you mean X?" for the nearest candidate, else the list of all of them.
std::string MeanOrList(const std::string& text, const std::vector<std::string>& candidates,
                       const std::string& listIntro) {
  if (const auto near = Nearest(text, candidates)) return "did you mean " + Quoted(*near) + "?";
  return listIntro + Joined(candidates);
}

bool ValidUtf8Text(const char* s, std::size_t n) {
  const auto* p = reinterpret_cast<const unsigned char*>(s);
  for (std::size_t i = 0; i < n;) {
    const unsigned char c = p[i];
    std::size_t length;
    std::uint32_t point;
    if (c < 0x80) {
      ++i;
      continue;
    } else if ((c & 0xE0) == 0xC0) {
      length = 2, point = c & 0x1F;
    } else if ((c & 0xF0) == 0xE0) {
      length = 3, point = c & 0x0F;
    } else if ((c & 0xF8) == 0xF0) {
      length = 4, point = c & 0x07;
    } else {
      return false;
    }
    if (n - i < length) return false;
    for (std::size_t k = 1; k < length; ++k) {
      if ((p[i + k] & 0xC0) != 0x80) return false;
      point = (point << 6) | (p[i + k] & 0x3F);
    }
    static const std::uint32_t kMin[] = {0, 0, 0x80, 0x800, 0x10000};
    if (point < kMin[length] || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) {
      return false;
    }
    i += length;
  }
  return true;
}

// ---------------------------------------------------------------------------------------------
// Findings and where they are.

enum class Severity { kError, kWarning };

struct Finding {
  std::string file;
  std::size_t line = 1, column = 1;
  std::string pointer;
  Severity severity = Severity::kError;
  std::string id, message;
  boost::optional<std::string> suggestion;
  // Where in the document, until line and column are known: member or element indices from the
  // root, and whether the member's name is meant; or a byte offset (a syntax error).
  Steps steps;
  bool name = false;
  boost::optional<std::size_t> offset;
};

// The byte offsets of the values (or member names) at `wanted` steps in a text that parses as
// JSON, found in one pass over the text; SIZE_MAX for steps that are not there.
std::vector<std::size_t> OffsetsOf(const std::string& text,
                                   const std::vector<std::pair<Steps, bool>>& wanted) {
  std::vector<std::size_t> offsets(wanted.size(), SIZE_MAX);
  std::multimap<std::pair<Steps, bool>, std::size_t> slots;
  for (std::size_t i = 0; i < wanted.size(); ++i)
    slots.emplace(wanted[i], i);
  const std::size_t n = text.size();
  Steps steps;
  std::vector<bool> objects;
  const auto check = [&](bool name, std::size_t at) {
    const auto range = slots.equal_range({steps, name});
    for (auto it = range.first; it != range.second; ++it)
      offsets[it->second] = at;
  };
  const auto space = [&](std::size_t i) {
    while (i < n && (text[i] == ' ' || text[i] == '\t' || text[i] == '\n' || text[i] == '\r'))
      ++i;
    return i;
  };
  const auto skipString = [&](std::size_t i) {
    for (++i; i < n; ++i) {
      if (text[i] == '\\') {
        ++i;
      } else if (text[i] == '"') {
        return i + 1;
      }
    }
    return n;
  };
  // A member's name and colon: answers where its value starts.
  const auto member = [&](std::size_t i) {
    check(true, i);
    i = space(skipString(i));
    return space(i + 1);
  };
  std::size_t i = text.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
  i = space(i);
  while (i < n) {
    check(false, i);
    const char c = text[i];
    if (c == '{' || c == '[') {
      const std::size_t inside = space(i + 1);
      if (inside < n && (text[inside] == '}' || text[inside] == ']')) {
        i = inside + 1;
      } else {
        objects.push_back(c == '{');
        steps.push_back(0);
        i = c == '{' ? member(inside) : inside;
        continue;
      }
    } else if (c == '"') {
      i = skipString(i);
    } else {
      while (i < n && text[i] != ',' && text[i] != ']' && text[i] != '}' && text[i] != ' ' &&
             text[i] != '\n' && text[i] != '\t' && text[i] != '\r') {
        ++i;
      }
    }
    // After a value: the next member or element, or the ends of the containers it closes.
    for (;;) {
      i = space(i);
      if (objects.empty() || i >= n) return offsets;
      if (text[i] == ',') {
        ++steps.back();
        i = space(i + 1);
        if (objects.back()) i = member(i);
        break;
      }
      objects.pop_back();
      steps.pop_back();
      ++i;
    }
  }
  return offsets;
}

// Sets line and column of each finding of one file from its text.
void Place(std::vector<Finding>& findings, const std::string& text) {
  std::vector<std::pair<Steps, bool>> wanted;
  for (const auto& finding : findings)
    wanted.emplace_back(finding.steps, finding.name);
  const auto offsets = OffsetsOf(text, wanted);
  std::vector<std::pair<std::size_t, std::size_t>> order;  // offset, finding
  for (std::size_t k = 0; k < findings.size(); ++k) {
    std::size_t offset = findings[k].offset ? *findings[k].offset : offsets[k];
    if (offset == SIZE_MAX) offset = 0;
    order.emplace_back(offset, k);
  }
  std::sort(order.begin(), order.end());
  std::size_t at = 0, line = 1, column = 1;
  for (const auto& [offset, k] : order) {
    for (; at < offset && at < text.size(); ++at) {
      if (text[at] == '\n') {
        ++line;
        column = 1;
      } else if ((static_cast<unsigned char>(text[at]) & 0xC0) != 0x80) {
        ++column;
      }
    }
    findings[k].line = line;
    findings[k].column = column;
  }
}

// ---------------------------------------------------------------------------------------------
// What the readers read: the members of each record, by domain.

enum class Kind {
  kNone,  // a value read as it is (or not an object of the model)
  kFree,  // any content (metadata tables, scheme lists)
  kRoot,
  kMetamodel,
  kComponent,
  kPackage,
  kService,
  kOperation,
  kResult,
  kError,
  kStructure,
  kField,
  kEnumeration,
  kEnumerationValue,
  kConstant,
  kConstantType,
  kTypeReference,
  kAuthentication,
  kAuthComponent,
  kSchemes,
  kScheme,
  kCliNode,
  kNodeMetadata,
  kOption,
  kOutput,
  kOutputField,
};

// How a member holds its records: one, an array of them, or an array stored by each record's
// "name", where a later record of a name is dropped.
enum class Form { kOne, kList, kKeyed };

struct MemberRule {
  const char* name;
  Kind child;
  Form form = Form::kOne;
};

const std::vector<MemberRule>& Rules(Kind kind) {
  static const std::vector<MemberRule> kNoRules;
  static const std::map<Kind, std::vector<MemberRule>> kRules = {
      {Kind::kMetamodel, {{"component", Kind::kComponent}}},
      {Kind::kComponent,
       {{"name", Kind::kNone},
        {"documentation", Kind::kNone},
        {"metadata", Kind::kFree},
        {"packages", Kind::kPackage, Form::kKeyed}}},
      {Kind::kPackage,
       {{"name", Kind::kNone},
        {"documentation", Kind::kNone},
        {"metadata", Kind::kFree},
        {"enumerations", Kind::kEnumeration, Form::kKeyed},
        {"structures", Kind::kStructure, Form::kKeyed},
        {"services", Kind::kService, Form::kKeyed}}},
      {Kind::kService,
       {{"name", Kind::kNone},
        {"documentation", Kind::kNone},
        {"metadata", Kind::kFree},
        {"enumerations", Kind::kEnumeration, Form::kKeyed},
        {"structures", Kind::kStructure, Form::kKeyed},
        {"constants", Kind::kConstant, Form::kKeyed},
        {"operations", Kind::kOperation, Form::kKeyed}}},
      {Kind::kOperation,
       {{"name", Kind::kNone},
        {"documentation", Kind::kNone},
        {"metadata", Kind::kFree},
        {"params", Kind::kField, Form::kList},
        {"result", Kind::kResult},
        {"errors", Kind::kError, Form::kList}}},
      {Kind::kResult,
       {{"documentation", Kind::kNone}, {"metadata", Kind::kFree}, {"type", Kind::kTypeReference}}},
      {Kind::kError, {{"user_defined_type_name", Kind::kNone}, {"documentation", Kind::kNone}}},
      {Kind::kStructure,
       {{"name", Kind::kNone},
        {"type", Kind::kNone},
        {"documentation", Kind::kNone},
        {"metadata", Kind::kFree},
        {"enumerations", Kind::kEnumeration, Form::kKeyed},
        {"constants", Kind::kConstant, Form::kKeyed},
        {"fields", Kind::kField, Form::kList}}},
      {Kind::kField,
       {{"name", Kind::kNone},
        {"documentation", Kind::kNone},
        {"metadata", Kind::kFree},
        {"type", Kind::kTypeReference}}},
      {Kind::kEnumeration,
       {{"name", Kind::kNone},
        {"documentation", Kind::kNone},
        {"metadata", Kind::kFree},
        {"values", Kind::kEnumerationValue, Form::kList}}},
      {Kind::kEnumerationValue,
       {{"name", Kind::kNone}, {"documentation", Kind::kNone}, {"metadata", Kind::kFree}}},
      {Kind::kConstant,
       {{"name", Kind::kNone},
        {"documentation", Kind::kNone},
        {"type", Kind::kConstantType},
        {"value", Kind::kFree}}},
      {Kind::kConstantType, {{"category", Kind::kNone}, {"type", Kind::kNone}}},
      {Kind::kAuthentication,
       {{"product", Kind::kAuthComponent}, {"component", Kind::kAuthComponent}}},
      {Kind::kAuthComponent,
       {{"name", Kind::kNone},
        {"schemes", Kind::kSchemes},
        {"operations", Kind::kFree},
        {"services", Kind::kFree},
        {"packages", Kind::kFree}}},
      {Kind::kNodeMetadata,
       {{"service_id", Kind::kNone},
        {"operation_id", Kind::kNone},
        {"formatter", Kind::kNone},
        {"options", Kind::kOption, Form::kList},
        {"output_field_list", Kind::kOutput, Form::kList}}},
      {Kind::kOption,
       {{"long_option", Kind::kNone},
        {"short_option", Kind::kNone},
        {"field_name", Kind::kNone},
        {"description", Kind::kNone},
        {"type", Kind::kNone},
        {"generic", Kind::kNone}}},
      {Kind::kOutput,
       {{"structure_id", Kind::kNone}, {"output_fields", Kind::kOutputField, Form::kList}}},
      {Kind::kOutputField, {{"field_name", Kind::kNone}, {"display_name", Kind::kNone}}},
  };
  const auto it = kRules.find(kind);
  return it == kRules.end() ? kNoRules : it->second;
}

// The members read of a type reference, which depend on its category, and of a Cli node, which
// depend on its type.
std::vector<MemberRule> RulesOf(Kind kind, const JsonValue& object) {
  const auto member = [&object](const char* name) {
    const auto it = M::FindMember(object, name);
    return it == object.MemberEnd() ? std::string() : M::ToUpper(Text(it->value));
  };
  if (kind == Kind::kTypeReference) {
    const std::string category = member("category");
    std::vector<MemberRule> rules = {{"category", Kind::kNone}};
    if (category == "BUILTIN" || category == "PRIMITIVE") {
      rules.push_back({"primitive_type", Kind::kNone});
    } else if (category == "USER_DEFINED") {
      rules.push_back({"user_defined_type", Kind::kNone});
      rules.push_back({"user_defined_type_name", Kind::kNone});
    } else if (category == "GENERIC") {
      rules.push_back({"generic_type", Kind::kNone});
      if (member("generic_type") == "MAP") {
        rules.push_back({"map_key_type", Kind::kTypeReference});
        rules.push_back({"map_value_type", Kind::kTypeReference});
      } else {
        rules.push_back({"element_type", Kind::kTypeReference});
      }
    }
    return rules;
  }
  // Only a session-aware scheme has its session manager read.
  if (kind == Kind::kScheme) {
    std::vector<MemberRule> rules = {{"authenticationScheme", Kind::kNone}, {"type", Kind::kNone}};
    const std::string type = member("type");
    if (type == "SESSIONAWARE" || type == "SESSION_AWARE") {
      rules.push_back({"sessionManager", Kind::kNone});
    }
    return rules;
  }
  if (kind == Kind::kCliNode) {
    std::vector<MemberRule> rules = {{"type", Kind::kNone},
                                     {"path", Kind::kNone},
                                     {"name", Kind::kNone},
                                     {"description", Kind::kNone}};
    if (Text(M::FindMember(object, "type") != object.MemberEnd()
                 ? M::FindMember(object, "type")->value
                 : object) != "namespace") {
      rules.push_back({"node_metadata", Kind::kNodeMetadata});
    }
    return rules;
  }
  return Rules(kind);
}

// A reference found in a document: the text and where it is.
struct Reference {
  std::string text;
  Steps steps;
  bool name = false;
  std::size_t file = 0;  // the index of the document
};

// What one document declares and refers to, for the checks across documents.
struct Declarations {
  std::set<std::string> types;                                       // structures, enumerations
  std::set<std::pair<std::string, std::string>> operations;          // (service, "") too
  std::set<std::string> namespaces;                                  // qualified Cli namespaces
  std::vector<Reference> typeReferences;                             // structures, enumerations
  std::vector<Reference> namespaceReferences;                        // Cli command paths
  std::vector<std::pair<Reference, Reference>> operationReferences;  // (service, operation)
  std::vector<Reference> serviceReferences;                          // Authentication services
};

// Walks one document against what its readers read: unknown and repeated members, records
// declared twice, text that is not UTF-8, and what it declares and refers to.
class DocumentWalk {
 public:
  DocumentWalk(const std::string& file, std::size_t index, std::vector<Finding>& findings,
               std::size_t& omitted, Declarations& declared)
      : file_(file), index_(index), findings_(findings), omitted_(omitted), declared_(declared) {}

  // The whole walk of a document of `domain`.
  void Run(const JsonValue& root, Domain domain) {
    Utf8(root);
    if (!root.IsObject()) return;
    std::vector<MemberRule> rules = {{"metamodel", Kind::kMetamodel},
                                     {"authentication", Kind::kAuthentication},
                                     {"cli", Kind::kCliNode, Form::kList}};
    rules.erase(std::remove_if(rules.begin(), rules.end(),
                               [domain](const MemberRule& r) {
                                 return std::string(r.name) != DomainName(domain);
                               }),
                rules.end());
    Object(root, rules, Kind::kRoot);
  }

  // Only the text of a document that is not a metadata document.
  void RunText(const JsonValue& root) { Utf8(root); }

 private:
  void Add(const Steps& steps, bool name, const std::string& pointer, const std::string& id,
           const std::string& message, boost::optional<std::string> suggestion) {
    if (findings_.size() >= kMaxFindingsPerFile) {
      ++omitted_;
      return;
    }
    Finding finding;
    finding.file = file_;
    finding.severity = Severity::kWarning;
    finding.steps = steps;
    finding.name = name;
    finding.pointer = pointer;
    finding.id = id;
    finding.message = message;
    finding.suggestion = std::move(suggestion);
    findings_.push_back(std::move(finding));
  }

  std::string Pointer() const {
    std::string pointer;
    for (const auto& segment : pointer_)
      pointer += "/" + segment;
    return pointer;
  }

  void Push(std::size_t index, const std::string& segment) {
    steps_.push_back(index);
    pointer_.push_back(M::PointerSegment(segment));
  }
  void Pop() {
    steps_.pop_back();
    pointer_.pop_back();
  }

  void Value(const JsonValue& value, Kind kind) {
    if (kind == Kind::kNone || kind == Kind::kFree) return;
    if (kind == Kind::kSchemes) {
      if (!value.IsObject()) return;
      std::size_t i = 0;
      std::set<std::string> seen;
      for (const auto& member : value.GetObject()) {
        const std::string name = Text(member.name);
        Push(i, name);
        if (!seen.insert(name).second) {
          Add(steps_, true, Pointer(), "duplicate-name",
              "scheme " + Quoted(name) + " is declared again: this one replaces the earlier",
              boost::none);
        }
        Value(member.value, Kind::kScheme);
        Pop();
        ++i;
      }
      return;
    }
    if (value.IsObject()) {
      Object(value, RulesOf(kind, value), kind);
    }
  }

  void Array(const JsonValue& array, const MemberRule& rule) {
    if (!array.IsArray()) return;
    std::set<std::string> names;
    for (rapidjson::SizeType i = 0; i < array.Size(); ++i) {
      const JsonValue& element = array[i];
      Push(i, std::to_string(i));
      if (rule.form == Form::kKeyed && element.IsObject()) {
        const auto name = M::FindMember(element, "name");
        if (name != element.MemberEnd() && name->value.IsString() &&
            !names.insert(Text(name->value)).second) {
          Push(static_cast<std::size_t>(name - element.MemberBegin()), "name");
          Add(steps_, false, Pointer(), "duplicate-name",
              Quoted(Text(name->value)) + " is declared again in " + Quoted(rule.name) +
                  ": the first one is kept, this one is ignored",
              boost::none);
          Pop();
        }
      }
      Value(element, rule.child);
      Pop();
    }
  }

  void Object(const JsonValue& object, const std::vector<MemberRule>& rules, Kind kind) {
    Declare(object, kind);
    std::vector<std::string> known;
    for (const auto& rule : rules)
      known.push_back(rule.name);
    std::set<std::string> seen;
    std::size_t i = 0;
    for (const auto& member : object.GetObject()) {
      const std::string name = Text(member.name);
      Push(i, name);
      const auto rule = std::find_if(rules.begin(), rules.end(),
                                     [&name](const MemberRule& r) { return name == r.name; });
      if (!seen.insert(name).second) {
        Add(steps_, true, Pointer(), "duplicate-name",
            Quoted(name) + " is repeated: the first one is read, this one is ignored", boost::none);
      } else if (rule == rules.end()) {
        const auto near = Nearest(name, known);
        Add(steps_, true, Pointer(), "unknown-member", "no reader reads " + Quoted(name),
            near ? boost::make_optional("did you mean " + Quoted(*near) + "?") : boost::none);
      } else if (rule->child != Kind::kNone && rule->child != Kind::kFree) {
        if (rule->form != Form::kOne) {
          Array(member.value, *rule);
        } else {
          Value(member.value, rule->child);
        }
      }
      if (kind == Kind::kAuthComponent && member.value.IsObject() &&
          (name == "operations" || name == "services")) {
        DeclareAuthentication(member.value, name == "operations");
      }
      Pop();
      ++i;
    }
  }

  // Reference and declaration bookkeeping of one record.
  void Declare(const JsonValue& object, Kind kind) {
    const auto find = [&object](const char* name) -> const JsonValue* {
      const auto it = M::FindMember(object, name);
      return it != object.MemberEnd() && it->value.IsString() ? &it->value : nullptr;
    };
    const auto at = [&](const char* name) {
      Steps steps = steps_;
      steps.push_back(static_cast<std::size_t>(M::FindMember(object, name) - object.MemberBegin()));
      return steps;
    };
    switch (kind) {
      case Kind::kStructure:
      case Kind::kEnumeration:
        if (const auto* name = find("name")) declared_.types.insert(Text(*name));
        break;
      case Kind::kService:
        if (const auto* name = find("name")) {
          service_ = Text(*name);
          declared_.operations.emplace(service_, "");
        }
        break;
      case Kind::kOperation:
        if (const auto* name = find("name")) declared_.operations.emplace(service_, Text(*name));
        break;
      case Kind::kError:
        if (const auto* id = find("user_defined_type_name")) {
          declared_.typeReferences.push_back(
              {Text(*id), at("user_defined_type_name"), false, index_});
        }
        break;
      case Kind::kTypeReference:
        if (M::ToUpper(find("category") ? Text(*find("category")) : "") == "USER_DEFINED") {
          if (const auto* id = find("user_defined_type_name")) {
            declared_.typeReferences.push_back(
                {Text(*id), at("user_defined_type_name"), false, index_});
          }
        }
        break;
      case Kind::kCliNode: {
        const auto* type = find("type");
        const auto* path = find("path");
        const auto* name = find("name");
        if (!type || !path || !name) break;
        if (Text(*type) == "namespace") {
          declared_.namespaces.insert(Text(*path).empty() ? Text(*name)
                                                          : Text(*path) + "." + Text(*name));
        } else if (Text(*type) == "command") {
          declared_.namespaceReferences.push_back({Text(*path), at("path"), false, index_});
          const auto metadata = M::FindMember(object, "node_metadata");
          if (metadata == object.MemberEnd() || !metadata->value.IsObject()) break;
          const JsonValue& node = metadata->value;
          const auto service = M::FindMember(node, "service_id");
          const auto operation = M::FindMember(node, "operation_id");
          if (service == node.MemberEnd() || operation == node.MemberEnd() ||
              !service->value.IsString() || !operation->value.IsString()) {
            break;
          }
          Steps base = at("node_metadata");
          Steps serviceAt = base, operationAt = base;
          serviceAt.push_back(static_cast<std::size_t>(service - node.MemberBegin()));
          operationAt.push_back(static_cast<std::size_t>(operation - node.MemberBegin()));
          declared_.operationReferences.push_back(
              {{Text(service->value), serviceAt, false, index_},
               {Text(operation->value), operationAt, false, index_}});
        }
        break;
      }
      default:
        break;
    }
  }

  // The member names of an Authentication "operations" or "services" object.
  void DeclareAuthentication(const JsonValue& object, bool operations) {
    std::size_t i = 0;
    for (const auto& member : object.GetObject()) {
      Steps steps = steps_;
      steps.push_back(i++);
      const std::string id = Text(member.name);
      if (operations) {
        const auto dot = id.rfind('.');
        if (dot == std::string::npos) continue;
        declared_.operationReferences.push_back(
            {{id.substr(0, dot), steps, true, index_}, {id.substr(dot + 1), steps, true, index_}});
      } else {
        declared_.serviceReferences.push_back({id, steps, true, index_});
      }
    }
  }

  // Every string of the document, names included, that is not UTF-8.
  void Utf8(const JsonValue& root) {
    struct Level {
      const JsonValue* container;
      std::size_t index;
    };
    std::vector<Level> path;
    const auto check = [&](const JsonValue& value, bool name) {
      if (!value.IsString() || ValidUtf8Text(value.GetString(), value.GetStringLength())) return;
      Steps steps;
      std::string pointer;
      for (const Level& level : path) {
        steps.push_back(level.index);
        pointer += "/";
        pointer +=
            level.container->IsObject()
                ? M::PointerSegment(Text((level.container->MemberBegin() + level.index)->name))
                : std::to_string(level.index);
      }
      Add(steps, name, pointer, "invalid-utf8",
          name ? "the member name is not valid UTF-8" : "the text is not valid UTF-8", boost::none);
    };
    check(root, false);
    if (root.IsObject() || root.IsArray()) path.push_back({&root, SIZE_MAX});
    while (!path.empty()) {
      Level& level = path.back();
      const JsonValue& container = *level.container;
      const std::size_t next = level.index + 1;
      if (next >= (container.IsObject() ? container.MemberCount() : container.Size())) {
        path.pop_back();
        continue;
      }
      level.index = next;
      const JsonValue* child;
      if (container.IsObject()) {
        check((container.MemberBegin() + next)->name, true);
        child = &(container.MemberBegin() + next)->value;
      } else {
        child = &container[static_cast<rapidjson::SizeType>(next)];
      }
      check(*child, false);
      if (child->IsObject() || child->IsArray()) path.push_back({child, SIZE_MAX});
    }
  }

  const std::string& file_;
  std::size_t index_;
  std::vector<Finding>& findings_;
  std::size_t& omitted_;
  Declarations& declared_;
  Steps steps_;
  std::vector<std::string> pointer_;
  std::string service_;
};

// ---------------------------------------------------------------------------------------------
// The faults of a load, placed.

template <class E>
std::vector<std::string> NamesOf() {
  std::vector<std::string> names;
  for (std::size_t i = 0; E::Strings::values[i] != nullptr; ++i)
    names.push_back(E::Strings::values[i]);
  return names;
}

// The texts an enumeration member accepts, by domain and member (and for Metamodel, whether it
// is a constant's type).
std::vector<std::string> EnumerationTexts(Domain domain, const std::string& pointer,
                                          const std::string& member) {
  namespace MM = Com::Corvane::Ostra::Metadata::Metamodel;
  namespace A = Com::Corvane::Ostra::Metadata::Authentication;
  if (domain == Domain::kAuthentication) {
    return NamesOf<A::AuthenticationInfoEnumerations::SchemeType>();
  }
  const bool constant = pointer.find("/constants/") != std::string::npos &&
                        pointer.find("/type/", pointer.rfind("/constants/")) != std::string::npos;
  if (constant) {
    return member == "category" ? NamesOf<MM::ConstantValueEnumerations::Category>()
                                : NamesOf<MM::TypeEnumerations::BuiltinType>();
  }
  if (member == "category") {
    auto names = NamesOf<MM::TypeEnumerations::Category>();
    names.push_back("PRIMITIVE");
    return names;
  }
  if (member == "primitive_type") {
    auto names = NamesOf<MM::TypeEnumerations::BuiltinType>();
    names.push_back("EXCEPTION");
    return names;
  }
  if (member == "generic_type") return NamesOf<MM::GenericInstantiationEnumerations::GenericType>();
  if (member == "type") return NamesOf<MM::StructureInfoEnumerations::Type>();
  return {};
}

// The JSON value at `steps` under `root` (steps that LocateValues gave), or null.
const JsonValue* At(const JsonValue& root, const Steps& steps, bool name) {
  const JsonValue* value = &root;
  for (std::size_t k = 0; k < steps.size(); ++k) {
    if (value->IsObject() && steps[k] < value->MemberCount()) {
      const auto member = value->MemberBegin() + steps[k];
      value = name && k + 1 == steps.size() ? &member->name : &member->value;
    } else if (value->IsArray() && steps[k] < value->Size()) {
      value = &(*value)[static_cast<rapidjson::SizeType>(steps[k])];
    } else {
      return nullptr;
    }
  }
  return value;
}

// The JSON Pointer of the value at `steps` under `root`.
std::string PointerOf(const JsonValue& root, const Steps& steps) {
  std::string pointer;
  const JsonValue* value = &root;
  for (const std::size_t step : steps) {
    if (value->IsObject() && step < value->MemberCount()) {
      const auto member = value->MemberBegin() + step;
      pointer += "/" + M::PointerSegment(Text(member->name));
      value = &member->value;
    } else if (value->IsArray() && step < value->Size()) {
      pointer += "/" + std::to_string(step);
      value = &(*value)[static_cast<rapidjson::SizeType>(step)];
    } else {
      break;
    }
  }
  return pointer;
}

// The last segment of a pointer, unescaped.
std::string LastSegment(const std::string& pointer) {
  std::string segment = pointer.substr(pointer.rfind('/') + 1);
  std::string out;
  for (std::size_t i = 0; i < segment.size(); ++i) {
    if (segment[i] == '~' && i + 1 < segment.size()) {
      out += segment[i + 1] == '1' ? '/' : '~';
      ++i;
    } else {
      out += segment[i];
    }
  }
  return out;
}

// The JSON type that the Cli reader expects of a member or element.
std::string CliExpected(const std::string& pointer) {
  const std::string last = LastSegment(pointer);
  if (last == "cli" || last == "options" || last == "output_field_list" ||
      last == "output_fields") {
    return "an array";
  }
  if (last == "node_metadata" ||
      (!last.empty() && std::isdigit(static_cast<unsigned char>(last[0])))) {
    return "an object";
  }
  return "a string";
}

// Whether a missing member is one a record cannot do without, where a load goes on without it.
bool RequiredInAuthentication(const std::string& name) {
  return name == "name" || name == "authenticationScheme" || name == "type" ||
         name == "sessionManager" || name == "authentication";
}

// Turns a load's recorded messages into findings: the fault that stopped a failed load, and the
// faults that cost a loaded Authentication document a part of it.
void LoadFindings(const std::string& file, Domain domain, const JsonValue& root, bool loaded,
                  const M::LoadTrace& trace, std::vector<Finding>& findings) {
  const auto& entries = trace.Entries();
  std::vector<std::size_t> faults;
  // The faults: the last message of a failed load, since every reader stops at its first fault;
  // and in Authentication, where a failed section leaves the document loaded, every message but
  // the absence of an optional member.
  for (std::size_t k = 0; k < entries.size(); ++k) {
    const auto& message = entries[k].message;
    const bool last = k + 1 == entries.size();
    const bool missing = message.GetId() == kMissingField;
    const std::string arg = message.GetArgs().empty() ? "" : message.GetArgs().front();
    if ((!loaded && last) ||
        (domain == Domain::kAuthentication && (!missing || RequiredInAuthentication(arg)))) {
      faults.push_back(k);
    }
  }
  std::vector<const JsonValue*> values;
  for (const auto k : faults)
    values.push_back(entries[k].at);
  // Operations that no service claims make services of their own after the document is read; a
  // malformed one is placed at the first operation that names it.
  for (std::size_t f = 0; f < faults.size(); ++f) {
    const auto& message = entries[faults[f]].message;
    if (values[f] != nullptr || message.GetId() != kInvalidServiceId || message.GetArgs().empty() ||
        !root.IsObject()) {
      continue;
    }
    const auto section = M::FindMember(root, "authentication");
    if (section == root.MemberEnd() || !section->value.IsObject()) continue;
    for (const char* part : {"product", "component"}) {
      const auto component = M::FindMember(section->value, part);
      if (component == section->value.MemberEnd() || !component->value.IsObject()) continue;
      const auto operations = M::FindMember(component->value, "operations");
      if (operations == component->value.MemberEnd() || !operations->value.IsObject()) continue;
      for (const auto& member : operations->value.GetObject()) {
        const std::string id = Text(member.name);
        const auto dot = id.rfind('.');
        if (values[f] == nullptr && dot != std::string::npos &&
            id.substr(0, dot) == message.GetArgs().front()) {
          values[f] = &member.name;
        }
      }
    }
  }
  const auto places = M::LocateValues(root, values);
  for (std::size_t f = 0; f < faults.size(); ++f) {
    const auto& message = entries[faults[f]].message;
    const M::JsonPlace& place = places[f];
    const std::string arg = message.GetArgs().empty() ? "" : message.GetArgs().front();
    Finding finding;
    finding.file = file;
    finding.steps = place.steps;
    finding.name = place.name;
    finding.pointer = place.pointer;
    finding.id = message.GetId();
    finding.message = message.GetDefaultMessage();
    const JsonValue* value = place.found ? At(root, place.steps, place.name) : nullptr;
    if (finding.id.empty()) {
      finding.id = "non-string-constant";
      finding.message = "only constants of type STRING load; this value fails the load";
    } else if (finding.id == kMissingField && value != nullptr && value->IsObject()) {
      std::vector<std::string> present;
      for (const auto& member : value->GetObject())
        present.push_back(Text(member.name));
      if (const auto near = Nearest(arg, present)) {
        finding.suggestion = "rename " + Quoted(*near) + " to " + Quoted(arg);
      }
    } else if (finding.id == kInvalidEnum && value != nullptr && value->IsString()) {
      const auto texts = EnumerationTexts(domain, place.pointer, arg);
      finding.suggestion = MeanOrList(M::ToUpper(Text(*value)), texts, "one of ");
    } else if (finding.id == kUnknownScheme && value != nullptr && value->IsString()) {
      // The schemes of the component that holds the list: the pointer's first three segments.
      std::vector<std::string> schemes;
      const JsonValue* object =
          place.steps.size() < 2
              ? nullptr
              : At(root, Steps(place.steps.begin(), place.steps.begin() + 2), false);
      if (object != nullptr && object->IsObject()) {
        const auto it = M::FindMember(*object, "schemes");
        if (it != object->MemberEnd() && it->value.IsObject()) {
          for (const auto& member : it->value.GetObject())
            schemes.push_back(Text(member.name));
        }
      }
      finding.suggestion =
          Quoted(Text(*value)) + " is not a scheme of the component; " +
          (schemes.empty() ? "it defines none" : MeanOrList(Text(*value), schemes, "it defines "));
    } else if (finding.message == "Unknown message.") {
      if (finding.id == "ostra.metadata.cli.json.invalid.node.type") {
        finding.message = "Cli node type must be \"namespace\" or \"command\"";
        if (value != nullptr && value->IsString()) {
          finding.suggestion = MeanOrList(Text(*value), {"namespace", "command"}, "one of ");
        }
      } else if (finding.id == "ostra.metadata.cli.json.invalid.field") {
        const std::string last = LastSegment(place.pointer);
        const bool element = !last.empty() && std::isdigit(static_cast<unsigned char>(last[0]));
        const std::string parent = LastSegment(place.pointer.substr(0, place.pointer.rfind('/')));
        finding.message = "Cli invalid field: " +
                          (element ? "element " + last + " of " + Quoted(parent) : Quoted(last)) +
                          " must be " + CliExpected(place.pointer);
      } else if (finding.id == kInvalidServiceId) {
        finding.message =
            "Authentication invalid service id: " + arg + " (a service id is PACKAGE.SERVICE)";
      } else {
        finding.message = "Authentication invalid operation id: " + arg +
                          " (an operation id is PACKAGE.SERVICE.OPERATION)";
      }
    }
    // A fault that a loaded Authentication document survives costs it a part.
    if (loaded) {
      std::string part = "a part of the document is";
      if (place.found && place.steps.size() >= 2 &&
          place.pointer.rfind("/authentication/", 0) == 0) {
        part = "the " + Quoted(LastSegment(place.pointer.substr(0, place.pointer.find('/', 16)))) +
               " section is";
      }
      if (message.GetId() == kInvalidServiceId) {
        part = "the operations of service " + Quoted(arg) + " are";
      }
      finding.message = finding.message + "; " + part + " not loaded";
      finding.id = "section-dropped";
    }
    findings.push_back(std::move(finding));
  }
}

// ---------------------------------------------------------------------------------------------
// Files.

std::vector<std::string> CheckedFiles(const std::vector<std::string>& inputs,
                                      std::set<std::string>& inDirectory,
                                      std::vector<Finding>& findings) {
  std::vector<std::string> files;
  for (const auto& input : inputs) {
    std::error_code error;
    if (!std::filesystem::is_directory(input, error)) {
      files.push_back(input);
      continue;
    }
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(input, error)) {
      std::error_code ignored;
      if (entry.is_regular_file(ignored) && entry.path().extension() == ".json") {
        found.push_back(entry.path().string());
      }
    }
    if (error) {
      Finding finding;
      finding.file = input;
      finding.id = "unreadable";
      finding.message = "cannot read the directory: " + error.message();
      findings.push_back(std::move(finding));
    }
    std::sort(found.begin(), found.end());
    for (auto& file : found) {
      inDirectory.insert(file);
      files.push_back(std::move(file));
    }
  }
  return files;
}

struct FileResult {
  std::string file;
  boost::optional<Domain> domain;
  std::string id;
  bool loaded = false;
  std::string fingerprint;
};

const char* SourceService(Domain domain) {
  switch (domain) {
    case Domain::kMetamodel:
      return "metamodel.source";
    case Domain::kAuthentication:
      return "authentication.source";
    case Domain::kCli:
      return "cli.source";
  }
  return "";
}

// A stream buffer that reads a text in place (an istringstream would copy it), and can be
// rewound, as ParseStream does to fingerprint what it parsed.
class TextBuffer : public std::streambuf {
 public:
  explicit TextBuffer(std::string& text) {
    char* begin = text.empty() ? nullptr : &text[0];
    setg(begin, begin, begin + text.size());
  }

 protected:
  pos_type seekoff(off_type offset, std::ios_base::seekdir dir,
                   std::ios_base::openmode which) override {
    const off_type base = dir == std::ios_base::beg   ? 0
                          : dir == std::ios_base::cur ? gptr() - eback()
                                                      : egptr() - eback();
    return seekpos(pos_type(base + offset), which);
  }
  pos_type seekpos(pos_type position, std::ios_base::openmode) override {
    const off_type at = position;
    if (at < 0 || at > egptr() - eback()) return pos_type(off_type(-1));
    setg(eback(), eback() + at, egptr());
    return position;
  }
};

void WriteFinding(JsonWriter& out, const Finding& finding) {
  out.StartObject();
  out.Key("file");
  out.String(finding.file);
  out.Key("line");
  out.Int(static_cast<std::int64_t>(finding.line));
  out.Key("column");
  out.Int(static_cast<std::int64_t>(finding.column));
  out.Key("pointer");
  out.String(finding.pointer);
  out.Key("severity");
  out.String(finding.severity == Severity::kError ? "error" : "warning");
  out.Key("id");
  out.String(finding.id);
  out.Key("message");
  out.String(finding.message);
  out.Key("suggestion");
  if (finding.suggestion) {
    out.String(*finding.suggestion);
  } else {
    out.Null();
  }
  out.EndObject();
}

}  // namespace

std::string GithubEscape(const std::string& text, bool property) {
  std::string escaped;
  for (const char c : ValidUtf8(text)) {
    if (c == '%') {
      escaped += "%25";
    } else if (c == '\r') {
      escaped += "%0D";
    } else if (c == '\n') {
      escaped += "%0A";
    } else if (property && c == ':') {
      escaped += "%3A";
    } else if (property && c == ',') {
      escaped += "%2C";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

bool ParseCheckFormat(const std::string& text, CheckOptions& options) {
  if (text == "text") {
    options.format = CheckOptions::kText;
  } else if (text == "json") {
    options.format = CheckOptions::kJson;
  } else if (text == "github") {
    options.format = CheckOptions::kGithub;
  } else {
    return false;
  }
  return true;
}

int Check(const std::vector<std::string>& inputs, const CheckOptions& options, std::ostream& out) {
  std::vector<Finding> findings;
  std::set<std::string> inDirectory;
  const auto files = CheckedFiles(inputs, inDirectory, findings);
  Host host;
  Declarations declared;
  std::vector<FileResult> results;
  std::size_t omitted = 0;  // warnings past kMaxFindingsPerFile of their file
  // Documents stay parsed until the checks across them are placed.
  std::vector<std::pair<std::string, std::shared_ptr<M::ParsedMetadata>>> documents;
  std::vector<std::vector<Finding>> perFile(files.size());
  for (std::size_t i = 0; i < files.size(); ++i) {
    const std::string& file = files[i];
    auto& own = perFile[i];
    FileResult result{file, boost::none, std::to_string(i), false, ""};
    const auto fail = [&](const std::string& id, const std::string& message, Severity severity) {
      Finding finding;
      finding.file = file;
      finding.id = id;
      finding.message = message;
      finding.severity = severity;
      own.push_back(std::move(finding));
    };
    // Only regular files are read: a pipe or a device could block or never end.
    std::error_code fileError;
    const auto status = std::filesystem::status(file, fileError);
    const bool regular = !fileError && std::filesystem::is_regular_file(status);
    const auto size = regular ? std::filesystem::file_size(file, fileError) : 0;
    if (regular && !fileError && size > kMaxCheckedSize) {
      fail("unreadable",
           "larger than " + std::to_string(kMaxCheckedSize >> 20) + " MiB: not checked",
           Severity::kError);
      results.push_back(result);
      documents.emplace_back(std::string(), nullptr);
      continue;
    }
    auto text = regular ? ReadFile(file) : boost::none;
    if (!text) {
      fail("unreadable",
           fileError ? "cannot be read: " + fileError.message()
           : regular ? std::string("cannot be read")
                     : std::string("not a regular file"),
           Severity::kError);
      results.push_back(result);
      documents.emplace_back(std::string(), nullptr);
      continue;
    }
    TextBuffer buffer(*text);
    std::istream in(&buffer);
    std::list<Ostra::BaseMessage> none;
    auto parsed = M::ParseStream(in, none);
    const auto& document = *parsed->document;
    result.domain = document.HasParseError() ? DomainOfText(*text) : DomainOf(document);
    if (document.HasParseError()) {
      if (result.domain) {
        // The domain's own parse-error message, as a load reports it.
        const auto error = host.Load(*result.domain, result.id, file, *parsed);
        const auto messages = error ? Ostra::Data::ErrorFactory::GetMessages(*error)
                                    : std::list<Ostra::BaseMessage>();
        if (!messages.empty()) {
          fail(messages.back().GetId(), messages.back().GetDefaultMessage(), Severity::kError);
        }
      }
      if (own.empty()) fail("syntax-error", "not JSON", Severity::kError);
      own.back().offset = document.GetErrorOffset();
      own.back().suggestion =
          document.GetParseError() == rapidjson::kParseErrorTermination
              ? "nested deeper than " + std::to_string(Ostra::kMaxDocumentJsonDepth) + " levels"
              : std::string(rapidjson::GetParseError_En(document.GetParseError()));
    } else if (!result.domain) {
      const bool optional = inDirectory.count(file) != 0;
      DocumentWalk(file, i, own, omitted, declared).RunText(document);
      fail("unknown-member",
           "not a metadata document: its root has no \"metamodel\", \"authentication\" or "
           "\"cli\" member",
           optional ? Severity::kWarning : Severity::kError);
      if (document.IsObject()) {
        std::vector<std::string> names;
        for (const auto& member : document.GetObject())
          names.push_back(Text(member.name));
        for (const auto& name : names) {
          if (const auto near = Nearest(name, {"metamodel", "authentication", "cli"})) {
            own.back().suggestion = "did you mean " + Quoted(*near) + " for " + Quoted(name) + "?";
            break;
          }
        }
      }
    } else {
      M::LoadTrace trace;
      const auto error = host.Load(*result.domain, result.id, file, *parsed);
      result.loaded = error == nullptr;
      LoadFindings(file, *result.domain, document, result.loaded, trace, own);
      if (!result.loaded && own.empty() && error) {
        // A fault the trace did not see: the store's last message, at the document.
        const auto messages = Ostra::Data::ErrorFactory::GetMessages(*error);
        fail(messages.empty() ? "unreadable" : messages.back().GetId(),
             messages.empty() ? "does not load" : messages.back().GetDefaultMessage(),
             Severity::kError);
      }
      Declarations own_declared;
      DocumentWalk(file, i, own, omitted, result.loaded ? declared : own_declared)
          .Run(document, *result.domain);
      if (result.loaded) {
        result.fingerprint =
            host.Get<std::string>(SourceService(*result.domain), "fingerprint",
                                  Input().Add("source_id", boost::make_optional(result.id)))
                .value_or("");
      }
    }
    results.push_back(result);
    documents.emplace_back(std::move(*text), std::move(parsed));
  }

  // Across documents: what one names that no loaded document declares.
  bool metamodelLoaded = false;
  for (const auto& result : results)
    metamodelLoaded |= result.loaded && result.domain == Domain::kMetamodel;
  const auto warn = [&](const Reference& at, const std::string& id, const std::string& message,
                        const std::vector<std::string>& candidates) {
    if (perFile[at.file].size() >= kMaxFindingsPerFile) {
      ++omitted;
      return;
    }
    Finding finding;
    finding.file = files[at.file];
    finding.severity = Severity::kWarning;
    finding.steps = at.steps;
    finding.name = at.name;
    finding.id = id;
    finding.message = message;
    if (const auto near = Nearest(at.text, candidates)) {
      finding.suggestion = "did you mean " + Quoted(*near) + "?";
    }
    finding.pointer = PointerOf(*documents[at.file].second->document, at.steps);
    perFile[at.file].push_back(std::move(finding));
  };
  const std::vector<std::string> types(declared.types.begin(), declared.types.end());
  for (const auto& reference : declared.typeReferences) {
    if (declared.types.count(reference.text) == 0) {
      warn(
          reference, "unresolved-reference",
          "no loaded Metamodel source defines a structure or enumeration " + Quoted(reference.text),
          types);
    }
  }
  const std::vector<std::string> namespaces(declared.namespaces.begin(), declared.namespaces.end());
  for (const auto& reference : declared.namespaceReferences) {
    if (!reference.text.empty() && declared.namespaces.count(reference.text) == 0) {
      warn(reference, "undeclared-namespace",
           "no Cli document declares the namespace " + Quoted(reference.text), namespaces);
    }
  }
  if (metamodelLoaded) {
    std::vector<std::string> services;
    for (const auto& operation : declared.operations) {
      if (operation.second.empty()) services.push_back(operation.first);
    }
    const auto serviceKnown = [&](const Reference& service) {
      if (declared.operations.count({service.text, ""}) != 0) return true;
      warn(service, "unknown-operation",
           "no Metamodel source defines the service " + Quoted(service.text), services);
      return false;
    };
    for (const auto& [service, operation] : declared.operationReferences) {
      if (!serviceKnown(service)) continue;
      if (declared.operations.count({service.text, operation.text}) != 0) continue;
      std::vector<std::string> operations;
      for (const auto& defined : declared.operations) {
        if (defined.first == service.text && !defined.second.empty()) {
          operations.push_back(defined.second);
        }
      }
      warn(operation, "unknown-operation",
           "no Metamodel source defines the operation " + Quoted(operation.text) + " of " +
               Quoted(service.text),
           operations);
    }
    for (const auto& service : declared.serviceReferences)
      serviceKnown(service);
  }
  for (std::size_t i = 0; i < files.size(); ++i) {
    if (documents[i].second) Place(perFile[i], documents[i].first);
    findings.insert(findings.end(), perFile[i].begin(), perFile[i].end());
  }

  std::stable_sort(findings.begin(), findings.end(), [](const Finding& a, const Finding& b) {
    return std::tie(a.file, a.line, a.column) < std::tie(b.file, b.line, b.column);
  });
  std::size_t errors = 0, warnings = 0;
  for (const auto& finding : findings)
    ++(finding.severity == Severity::kError ? errors : warnings);
  warnings += omitted;

  if (options.format == CheckOptions::kJson) {
    JsonWriter json;
    json.StartObject();
    json.Key("files");
    json.StartArray();
    for (const auto& result : results) {
      json.StartObject();
      json.Key("file");
      json.String(result.file);
      json.Key("domain");
      if (result.domain) {
        json.String(DomainName(*result.domain));
      } else {
        json.Null();
      }
      json.Key("fingerprint");
      if (result.loaded) {
        json.String(result.fingerprint);
      } else {
        json.Null();
      }
      json.Key("loaded");
      json.Raw(result.loaded ? "true" : "false");
      json.EndObject();
    }
    json.EndArray();
    json.Key("findings");
    json.StartArray();
    for (const auto& finding : findings)
      WriteFinding(json, finding);
    json.EndArray();
    json.Key("omitted");
    json.Int(static_cast<std::int64_t>(omitted));
    json.EndObject();
    out << json.Text() << "\n";
  } else if (options.format == CheckOptions::kGithub) {
    for (const auto& finding : findings) {
      out << (finding.severity == Severity::kError ? "::error" : "::warning")
          << " file=" << GithubEscape(finding.file, true) << ",line=" << finding.line
          << ",col=" << finding.column << "::"
          << GithubEscape(finding.message + " [" + finding.id + "]" +
                              (finding.suggestion ? "\n" + *finding.suggestion : ""),
                          false)
          << "\n";
    }
  } else {
    for (const auto& finding : findings) {
      out << ValidUtf8(finding.file) << ":" << finding.line << ":" << finding.column << ": "
          << (finding.severity == Severity::kError ? "error" : "warning") << ": "
          << ValidUtf8(finding.message) << " [" << finding.id << "]\n"
          << "    at " << (finding.pointer.empty() ? "\"\"" : ValidUtf8(finding.pointer))
          << (finding.suggestion ? "; " + ValidUtf8(*finding.suggestion) : "") << "\n";
    }
    out << files.size() << (files.size() == 1 ? " file: " : " files: ") << errors
        << (errors == 1 ? " error, " : " errors, ") << warnings
        << (warnings == 1 ? " warning" : " warnings")
        << (omitted > 0 ? " (" + std::to_string(omitted) + " not shown)" : "") << "\n";
  }
  if (errors > 0) return kLoadFailed;
  if (options.strict && warnings > 0) return kFailed;
  return kOk;
}

}  // namespace OstraTool
