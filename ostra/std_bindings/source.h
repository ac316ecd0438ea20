// What every metadata domain shares in shape: the source records SourceSvc::CreateSpec,
// SourceSvc::Info and SourceSvc::SourceType, and the source service's interface and binder. Each
// domain instantiates them with its own tag (value names, service identifier), so the three
// domains' types are distinct.
#pragma once

#include <list>
#include <memory>
#include <string>

#include <boost/optional.hpp>

#include "ostra/core/api_interface.h"
#include "ostra/core/async_result.h"
#include "ostra/core/enum.h"
#include "ostra/core/type_converter.h"
#include "ostra/core/type_info.h"
#include "ostra/std_bindings/service_binding.h"

namespace Com {
namespace Corvane {
namespace Ostra {
namespace Metadata {
namespace Detail {

template <class Domain>
struct SourceTypeTable {
  enum Value { FILE, REMOTE, UNKNOWN };
  struct Strings {
    static constexpr const char* const values[] = {"FILE", "REMOTE", nullptr};
  };
};

template <class Domain>
using SourceType = ::Ostra::BasicEnum<SourceTypeTable<Domain>>;

// How a source is to be created: from a file (the only type that is loaded) or remotely.
template <class Domain>
struct SourceCreateSpec {
  std::string description;
  SourceType<Domain> type;
  boost::optional<std::string> filepath;
  boost::optional<std::string> address;
};

// What a created source reports about itself: the fields of its create spec.
template <class Domain>
struct SourceInfo {
  std::string description;
  SourceType<Domain> type;
  boost::optional<std::string> filepath;
  boost::optional<std::string> address;

  static std::shared_ptr<SourceInfo> Of(const SourceCreateSpec<Domain>& spec) {
    return std::make_shared<SourceInfo>(
        SourceInfo{spec.description, spec.type, spec.filepath, spec.address});
  }
};

template <class Domain>
struct SourceRecordTraits {
  template <class R, class F>
  static void Fields(R& r, F&& field) {
    field("description", r.description);
    field("type", r.type);
    field("filepath", r.filepath);
    field("address", r.address);
  }
};

// A domain's source service: create, delete, get, list, reload and fingerprint its sources.
template <class Domain>
class SourceServiceInterface {
 public:
  using Activation = std::shared_ptr<::Ostra::Core::AsyncActivation>;
  virtual ~SourceServiceInterface() = default;
  virtual void Create(const std::string& sourceId,
                      const std::shared_ptr<const SourceCreateSpec<Domain>>& spec,
                      const Activation& activation,
                      const ::Ostra::AsyncResult<::Ostra::Void>& result) = 0;
  virtual void Delete(const std::string& sourceId, const Activation& activation,
                      const ::Ostra::AsyncResult<::Ostra::Void>& result) = 0;
  virtual void Get(
      const std::string& sourceId, const Activation& activation,
      const ::Ostra::AsyncResult<std::shared_ptr<const SourceInfo<Domain>>>& result) = 0;
  virtual void List(const Activation& activation,
                    const ::Ostra::AsyncResult<std::list<std::string>>& result) = 0;
  virtual void Reload(const boost::optional<std::string>& sourceId, const Activation& activation,
                      const ::Ostra::AsyncResult<::Ostra::Void>& result) = 0;
  virtual void Fingerprint(const boost::optional<std::string>& sourceId,
                           const Activation& activation,
                           const ::Ostra::AsyncResult<std::string>& result) = 0;
};

template <class Domain>
struct SourceServiceBinder {
  static std::shared_ptr<::Ostra::Core::ApiInterface> BindImplementation(
      std::shared_ptr<SourceServiceInterface<Domain>> implementation) {
    using Interface = SourceServiceInterface<Domain>;
    using ::Ostra::Core::BindOperation;
    return ::Ostra::Core::BindService<Interface>(
        std::move(implementation),
        {BindOperation("create", &Interface::Create, {"source_id", "spec"}),
         BindOperation("delete", &Interface::Delete, {"source_id"}),
         BindOperation("get", &Interface::Get, {"source_id"}),
         BindOperation("list", &Interface::List),
         BindOperation("reload", &Interface::Reload, {"source_id"}),
         BindOperation("fingerprint", &Interface::Fingerprint, {"source_id"})});
  }
};

}  // namespace Detail
}  // namespace Metadata
}  // namespace Ostra
}  // namespace Corvane
}  // namespace Com

namespace Ostra {
namespace Data {

template <class Domain>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Detail::SourceCreateSpec<Domain>>
    : Com::Corvane::Ostra::Metadata::Detail::SourceRecordTraits<Domain> {
  static constexpr const char* kName = Domain::kSourceCreateSpecName;
};

template <class Domain>
struct TypeInfo<Com::Corvane::Ostra::Metadata::Detail::SourceServiceInterface<Domain>> {
  static std::string name() { return Domain::kSourceServiceName; }
};

template <class Domain>
struct RecordTraits<Com::Corvane::Ostra::Metadata::Detail::SourceInfo<Domain>>
    : Com::Corvane::Ostra::Metadata::Detail::SourceRecordTraits<Domain> {
  static constexpr const char* kName = Domain::kSourceInfoName;
};

}  // namespace Data
}  // namespace Ostra
