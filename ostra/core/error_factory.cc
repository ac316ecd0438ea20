#include "ostra/core/error_factory.h"

#include <string>
#include <vector>

namespace Ostra {
namespace Data {
namespace {

const std::string* StringField(const StructValue& structure, const char* name) {
  const ValuePtr field = structure.GetField(name);
  if (!field || field->GetType() != ValueType::kString) return nullptr;
  return &static_cast<const StringValue&>(*field).GetValue();
}

}  // namespace

std::shared_ptr<const ListValue> ErrorFactory::CastMessages(
    const std::list<BaseMessage>& messages) {
  std::vector<ValuePtr> elements;
  elements.reserve(messages.size());
  for (const auto& message : messages) {
    std::vector<ValuePtr> args;
    args.reserve(message.GetArgs().size());
    for (const auto& arg : message.GetArgs())
      args.push_back(std::make_shared<StringValue>(arg));
    elements.push_back(std::make_shared<const StructValue>(
        kLocalizableMessageName,
        std::vector<StructValue::Field>{
            {"id", std::make_shared<const StringValue>(message.GetId())},
            {"default_message", std::make_shared<const StringValue>(message.GetDefaultMessage())},
            {"args", std::make_shared<const ListValue>(std::move(args))}}));
  }
  return std::make_shared<const ListValue>(std::move(elements));
}

std::list<BaseMessage> ErrorFactory::GetMessages(const ErrorValue& error) {
  std::list<BaseMessage> messages;
  const ValuePtr list = error.GetField("messages");
  if (!list || list->GetType() != ValueType::kList) return messages;
  for (const auto& element : static_cast<const ListValue&>(*list).GetElements()) {
    if (!element || element->GetType() != ValueType::kStruct) continue;
    const auto& message = static_cast<const StructValue&>(*element);
    const std::string* id = StringField(message, "id");
    const std::string* text = StringField(message, "default_message");
    if (id == nullptr || text == nullptr) continue;
    std::vector<std::string> args;
    const ValuePtr argList = message.GetField("args");
    if (argList && argList->GetType() == ValueType::kList) {
      for (const auto& arg : static_cast<const ListValue&>(*argList).GetElements()) {
        if (arg && arg->GetType() == ValueType::kString) {
          args.push_back(static_cast<const StringValue&>(*arg).GetValue());
        }
      }
    }
    messages.emplace_back(*id, *text, std::move(args));
  }
  return messages;
}

}  // namespace Data
}  // namespace Ostra
