#include "ostra/core/base_message.h"

#include <utility>

namespace Ostra {

BaseMessage::BaseMessage(std::string id, std::string defaultMessage, std::vector<std::string> args)
    : id_(std::move(id)), defaultMessage_(std::move(defaultMessage)), args_(std::move(args)) {}

bool operator==(const BaseMessage& a, const BaseMessage& b) {
  return a.id_ == b.id_ && a.defaultMessage_ == b.defaultMessage_ && a.args_ == b.args_;
}

}  // namespace Ostra
