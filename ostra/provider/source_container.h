// SourceContainer: the source operations that every domain's store interface begins with, in
// slot order. Each domain's MetadataContainer derives from it and adds its queries.
#pragma once

#include <list>
#include <memory>
#include <string>

#include <boost/optional.hpp>

#include "ostra/core/data_value.h"
#include "ostra/provider/parsed_metadata.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

template <class CreateSpec, class Info>
class SourceContainer {
 public:
  using ErrorPtr = std::shared_ptr<const Data::ErrorValue>;

  // Source operations answer null on success, the error otherwise; a failure changes nothing.
  // Loads the file that `spec` names as source `sourceId`: AlreadyExists for a taken id, NotFound
  // when the file cannot be opened, InvalidArgument with the parser's messages for a bad document,
  // Unsupported for a remote spec.
  virtual ErrorPtr CreateSource(const std::string& sourceId,
                                const std::shared_ptr<const CreateSpec>& spec) = 0;
  // The same from a document the host has parsed (see ParseStream); it keeps its fingerprint.
  virtual ErrorPtr CreateSourceFromMetadata(const std::string& sourceId, ParsedMetadata& parsed,
                                            const std::shared_ptr<const CreateSpec>& spec) = 0;
  virtual ErrorPtr DeleteSource(const std::string& sourceId) = 0;
  // Reloads all sources or the named one from their files. Load failures are silent: a failing
  // source, and every later one of the same call, keeps its data.
  virtual ErrorPtr ReloadSource(const boost::optional<std::string>& sourceId) = 0;
  virtual std::list<std::string> ListSources() const = 0;
  // What the source was created from, or null for an unknown id.
  virtual std::shared_ptr<const Info> SourcesInfo(const std::string& sourceId) const = 0;
  // Without an id: CRC32 over every source's fingerprint text; with one: CRC32 of that source's
  // fingerprint text ("" if unknown).
  virtual std::string SourceFingerprint(const boost::optional<std::string>& sourceId) const = 0;

 protected:
  // Stores are owned and destroyed through their domain's interface, whose destructor is virtual.
  ~SourceContainer() = default;
};

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
