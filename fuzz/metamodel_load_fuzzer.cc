// Loads arbitrary bytes as a Metamodel source and reads back every record of the store; and loads
// them from a file, whose packages are read one at a time, and from the whole document: both give
// the same callbacks, component and messages.
#include <unistd.h>

#include <fstream>
#include <string>

#include "load_fuzzer.h"
#include "ostra/core/json.h"
#include "ostra/metamodel/json_metadata_container.h"
#include "ostra/metamodel/json_metadata_parser.h"

namespace {

namespace Metamodel = Ostra::Provider::Metadata::Metamodel;
using Spec = Com::Corvane::Ostra::Metadata::Metamodel::SourceSvc::CreateSpec;

void QueryAll(const Metamodel::MetadataContainer& store) {
  OstraFuzz::QueryComponentTree(store);
  for (const auto& id : store.ListEnumerations())
    store.EnumerationInfo(id);
  for (const auto& id : store.ListStructures())
    store.StructureInfo(id);
  for (const auto& id : store.ListResources())
    store.ListModels(id);
  store.ListHiddens();
}

// Everything a load reports, as one text: the callbacks in order, the component and the messages.
struct Load {
  std::string text;
  Metamodel::JsonMetadataParser::RegisterCallbacks Callbacks() {
    using Component = Com::Corvane::Ostra::Metadata::Metamodel::ComponentInfo;
    return {[this](const std::shared_ptr<Component>& component) {
              text += "component " +
                      Ostra::Data::ToJson(*Ostra::Data::TypeConverter<Component>::ToValue(
                          *component, Ostra::L10n::RequestLocalizer())) +
                      "\n";
            },
            [this](const std::string& resource) { text += "resource " + resource + "\n"; },
            [this](const std::string& resource, const std::string& model) {
              text += "model " + resource + " " + model + "\n";
            }};
  }
  void Add(bool loaded, const std::list<Ostra::BaseMessage>& messages) {
    text += loaded ? "loaded\n" : "failed\n";
    for (const auto& message : messages) {
      text += message.GetId();
      for (const auto& arg : message.GetArgs())
        text += " " + arg;
      text += "\n";
    }
  }
};

void CompareFileAndDocument(const std::string& bytes) {
  static const struct TempFile {
    std::string path = "/tmp/ostra-metamodel-load-fuzzer-" + std::to_string(getpid());
    ~TempFile() { unlink(path.c_str()); }
  } temp;
  std::ofstream(temp.path, std::ios::binary | std::ios::trunc) << bytes;
  Load file, whole;
  std::list<Ostra::BaseMessage> fileMessages, wholeMessages;
  bool loaded = false;
  if (!Metamodel::JsonMetadataParser::LoadMetadataFile(temp.path, file.Callbacks(), fileMessages,
                                                       loaded)) {
    __builtin_trap();
  }
  file.Add(loaded, fileMessages);
  const auto parsed = OstraFuzz::Parse(bytes);
  whole.Add(Metamodel::JsonMetadataParser::LoadMetadataFromDoc(*parsed->document, whole.Callbacks(),
                                                               wholeMessages),
            wholeMessages);
  if (file.text != whole.text) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CompareFileAndDocument(std::string(reinterpret_cast<const char*>(data), size));
  return OstraFuzz::LoadAndQuery<Metamodel::MetadataContainer, Spec>(data, size, "metamodel.json",
                                                                     QueryAll);
}
