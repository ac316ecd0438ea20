// JsonMetadataParser: reads one Metamodel document into a ComponentInfo tree.
//
// The document is {"metamodel": {"component": {...}}}; every member of every record is required
// and read in the record's order, and reading stops at the first fault, leaving its message last
// in the list. While reading, the parser reports every resource that a metadata table names and
// every (resource, model structure) pair; only a component read without fault is handed to the
// component callback, once, last. Nothing is thrown for a bad document.
#pragma once

#include <functional>
#include <istream>
#include <memory>
#include <string>

#include "ostra/json/json_member.h"
#include "ostra/provider/parsed_metadata.h"
#include "ostra/std_bindings/metamodel.h"

namespace Ostra {
namespace Provider {
namespace Metadata {
namespace Metamodel {

namespace Binding = Com::Corvane::Ostra::Metadata::Metamodel;

class JsonMetadataParser {
 public:
  // All three must be set: an empty one raises std::bad_function_call when it would fire.
  struct RegisterCallbacks {
    std::function<void(const std::shared_ptr<Binding::ComponentInfo>&)> component;
    std::function<void(const std::string& resource)> resource;
    std::function<void(const std::string& resource, const std::string& model)> model;
  };

  // Parses `in` and loads the document; answers whether the component was loaded.
  static bool LoadMetadata(std::istream& in, const RegisterCallbacks& callbacks,
                           Messages& messages);
  // The same over a parsed document. A document that failed to parse yields the single message
  // "ostra.metadata.metamodel.parse.error" ({1} code, {2} offset) and no callback.
  static bool LoadMetadataFromDoc(const JsonDocument& document, const RegisterCallbacks& callbacks,
                                  Messages& messages);
  // The same from the file at `path`, read as ParseSourceFile reads it, with the packages of a
  // file read in one piece read one at a time, so that the document is never whole in memory.
  // The callbacks and messages are those of LoadMetadataFromDoc over the whole file. Null when the
  // file cannot be opened; otherwise `loaded` tells whether the component was loaded, and the
  // result holds the fingerprint.
  static std::shared_ptr<ParsedMetadata> LoadMetadataFile(const std::string& path,
                                                          const RegisterCallbacks& callbacks,
                                                          Messages& messages, bool& loaded);
};

}  // namespace Metamodel
}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
