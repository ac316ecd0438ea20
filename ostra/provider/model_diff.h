// Model comparison: what changed between two merged models of the three metadata domains, and
// what each change does to clients.
//
// Defined here, in reading order:
//   ChangeLevel    how a change affects existing clients (safe < dangerous < breaking);
//   ModelChange    one change: rule, level, domain, path, old and new value;
//   MetadataModel  the three stores of one model;
//   DiffModels     the changes from one model to another.
//
// A host can log what a reload is about to change: load the new files into fresh stores, diff the
// stores it serves against them, then reload.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <boost/optional.hpp>

#include "ostra/authentication/metadata_container.h"
#include "ostra/cli/metadata_container.h"
#include "ostra/metamodel/metadata_container.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

// Ordered: a level compares greater than the levels it is worse than.
enum class ChangeLevel {
  kSafe,       // existing clients keep working
  kDangerous,  // existing clients keep working but may meet what they do not expect
  kBreaking,   // existing clients may fail
};

// "safe", "dangerous" or "breaking".
const char* ChangeLevelName(ChangeLevel level);

// One change between two models.
//
// `path` names what changed with the identifiers the model has:
//   component, package, service, structure, enumeration  its identifier
//   operation            SERVICE_ID#OPERATION
//   parameter            SERVICE_ID#OPERATION(PARAM)
//   result               SERVICE_ID#OPERATION->
//   error                SERVICE_ID#OPERATION!ERROR_STRUCTURE_ID
//   field                STRUCTURE_ID.FIELD
//   constant             OWNER_ID::NAME (the owner is a service or a structure)
//   enumeration value    ENUMERATION_ID.VALUE
//   authentication       the path of its level: a package, a service or an operation
//   Cli namespace or command  its dotted path; option  COMMAND --LONG_OPTION
//
// Rules and their levels:
//   breaking   component-removed, package-removed, service-removed, operation-removed,
//              structure-removed, enumeration-removed, enumeration-value-removed,
//              field-removed, constant-removed, parameter-removed, cli-command-removed,
//              cli-option-removed, parameter-type-changed, field-type-changed,
//              result-type-changed, constant-value-changed, cli-option-type-changed,
//              authentication-added (a scheme newly required at a level);
//              parameter-added, unless the parameter's type is optional;
//              field-added, when a parameter of some operation reaches the structure (directly or
//              through fields of other structures) and the field's type is not optional
//   dangerous  enumeration-value-added, error-added, cli-command-operation-changed,
//              authentication-removed (a scheme no longer required at a level: access was
//              loosened), authentication-scheme-changed (its type or its session manager)
//   safe       error-removed, component-added, package-added, service-added, operation-added,
//              structure-added, enumeration-added, constant-added, cli-command-added,
//              cli-option-added, the other parameter-added and field-added, and
//              documentation-changed (documentation of a Metamodel definition, description of a
//              Cli namespace, command or option)
//
// `old_value` and `new_value` hold, where the rule has one, the value on each side, and are
// empty on the side where the thing does not exist:
//   parameter, field, result         the type, as "string", "list<com.example.Item>",
//                                    "map<string, long>", "optional<date_time>"
//   constant                         type and value: string "32", list<string> ["a", "b"]
//   authentication-added, -removed   the scheme identifier
//   authentication-scheme-changed    "SCHEME (sessionless)", "SCHEME (session-aware, manager M)"
//   cli-command-operation-changed    SERVICE_ID#OPERATION
//   Cli option                       its value type, with its generic form: "string (optional)"
//   documentation-changed            the texts
// Additions and removals of components, packages, services, operations, structures,
// enumerations, enumeration values, errors and Cli commands carry no value.
struct ModelChange {
  std::string rule;
  ChangeLevel level = ChangeLevel::kSafe;
  std::string domain;  // "metamodel", "authentication" or "cli"
  std::string path;
  boost::optional<std::string> old_value;
  boost::optional<std::string> new_value;
};

// The stores of one model. A null store counts as an empty one. The stores remain the caller's.
struct MetadataModel {
  std::shared_ptr<const Metamodel::MetadataContainer> metamodel;
  std::shared_ptr<const Authentication::MetadataContainer> authentication;
  std::shared_ptr<const Cli::MetadataContainer> cli;
};

// The changes that turn `before` into `after`, sorted by path, then rule (then domain, old and
// new value, byte-wise).
//
// Compares what the stores answer, not the documents: each identifier once, with what the store's
// lookup of it answers (the first source in id order that defines it), so re-indenting a
// document, reordering its members or moving a definition to another source changes nothing.
// Parameters, fields, errors, enumeration values and options match by name, so their order does
// not matter either; types compare by their text. The members of a definition that is added or
// removed (operations and constants of a service, parameters, result and errors of an operation,
// fields and constants of a structure, values of an enumeration, options of a command) belong to
// that change and are not listed again; definitions with identifiers of their own (packages,
// services, structures, enumerations) are listed each. Authentication is compared level by level:
// a level that a store does not describe requires no scheme. Metadata tables, resources and models,
// Cli formatters and output fields, and option short names and field names are not compared.
//
// Reads each store only through its public queries, each of which holds that store's lock for its
// own run; no lock is held across queries. A store changed while it is compared can therefore give
// a mix of its states: compare stores that no one changes meanwhile. Safe to call from any thread.
// Throws only when memory is exhausted.
std::vector<ModelChange> DiffModels(const MetadataModel& before, const MetadataModel& after);

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
