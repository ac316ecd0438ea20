// The source records every metadata domain shares in shape: SourceSvc::CreateSpec,
// SourceSvc::Info and SourceSvc::SourceType. Each domain instantiates them with its own tag, so
// the three domains' records are distinct types with their own value names.
#pragma once

#include <string>

#include <boost/optional.hpp>

#include "ostra/core/enum.h"
#include "ostra/core/type_converter.h"

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
struct RecordTraits<Com::Corvane::Ostra::Metadata::Detail::SourceInfo<Domain>>
    : Com::Corvane::Ostra::Metadata::Detail::SourceRecordTraits<Domain> {
  static constexpr const char* kName = Domain::kSourceInfoName;
};

}  // namespace Data
}  // namespace Ostra
