// The message catalogue of the metadata services and the building of messages from it.
#pragma once

#include <array>
#include <string>
#include <system_error>
#include <vector>

#include "ostra/core/base_message.h"
#include "ostra/provider/format.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

// Names the catalogue of this library in Ostra::Message<MetadataSvc>.
struct MetadataSvc {};

struct CatalogueEntry {
  const char* id;
  const char* text;
};

// Every message id with its default text, in a fixed order, ended by {nullptr, nullptr}. Ids of
// lookups and sources say "metada", those of parse and JSON errors "metadata": both are kept.
extern const CatalogueEntry kMessageCatalogue[];

}  // namespace Metadata
}  // namespace Provider

// Builds a message: the default text formatted with all arguments, and each argument formatted on
// its own. A formatting error keeps the text produced up to it.
template <class... Args>
BaseMessage MakeMessage(const std::string& id, const std::string& defaultMessage,
                        const Args&... args) {
  const std::array<Detail::format_arg, sizeof...(Args)> formatArgs{Detail::format_arg(args)...};
  std::error_code ignored;
  std::string text = Detail::Format(defaultMessage, formatArgs.data(), formatArgs.size(), ignored);
  std::vector<std::string> argTexts;
  argTexts.reserve(formatArgs.size());
  for (const auto& arg : formatArgs)
    argTexts.push_back(Detail::Format("{1}", &arg, 1, ignored));
  return BaseMessage(id, std::move(text), std::move(argTexts));
}

// A message of catalogue Tag, its default text looked up by id.
template <class Tag>
class Message : public BaseMessage {
 public:
  template <class... Args>
  explicit Message(const std::string& id, const Args&... args)
      : BaseMessage(MakeMessage(id, DefaultMessageForId(id), args...)) {}

  // The catalogue text of `id`, or "Unknown message." when the catalogue has no such id.
  static std::string DefaultMessageForId(const std::string& id);
};

template <>
std::string Message<Provider::Metadata::MetadataSvc>::DefaultMessageForId(const std::string& id);

namespace Provider {
namespace Metadata {
using MetadataMessage = Ostra::Message<MetadataSvc>;
}  // namespace Metadata
}  // namespace Provider

}  // namespace Ostra
