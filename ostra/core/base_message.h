// BaseMessage: one localizable message as it travels inside errors.
#pragma once

#include <string>
#include <vector>

namespace Ostra {

// A message id, its default text with the placeholders already filled, and the argument texts.
class BaseMessage {
 public:
  BaseMessage(std::string id, std::string defaultMessage, std::vector<std::string> args);

  const std::string& GetId() const { return id_; }
  const std::string& GetDefaultMessage() const { return defaultMessage_; }
  const std::vector<std::string>& GetArgs() const { return args_; }

  friend bool operator==(const BaseMessage& a, const BaseMessage& b);
  friend bool operator!=(const BaseMessage& a, const BaseMessage& b) { return !(a == b); }

 private:
  std::string id_;
  std::string defaultMessage_;
  std::vector<std::string> args_;
};

}  // namespace Ostra
