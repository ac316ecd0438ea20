// The serve command: newline-delimited JSON-RPC 2.0. One request (or batch) per line; the method
// is a service identifier (or its short form), params are {"operation": ..., "input": {...}}.
#include <string>
#include <vector>

#include "commands.h"
#include "report.h"

namespace OstraTool {
namespace {

using Ostra::Data::DataValue;
using Ostra::Data::StructValue;
using Ostra::Data::ValueType;

// JSON-RPC error codes.
constexpr int kParseError = -32700;
constexpr int kInvalidRequest = -32600;
constexpr int kMethodNotFound = -32601;
constexpr int kInvalidParams = -32602;
constexpr int kOperationFailed = -32000;

std::string Reply(const std::string& id, const std::string& member, const std::string& value) {
  return R"({"jsonrpc":"2.0","id":)" + id + ",\"" + member + "\":" + value + "}";
}

std::string Failure(const std::string& id, int code, const std::string& message,
                    const std::string& data = std::string()) {
  std::string error = "{\"code\":" + std::to_string(code) + ",\"message\":" + Quote(message);
  if (!data.empty()) error += ",\"data\":" + data;
  return Reply(id, "error", error + "}");
}

const std::string* Text(const StructValue& object, const char* name) {
  const auto field = object.GetField(name);
  if (!field || field->GetType() != ValueType::kString) return nullptr;
  return &static_cast<const Ostra::Data::StringValue&>(*field).GetValue();
}

// One request object; the empty string for a notification (a request without "id").
std::string Handle(const Host& host, const DataValue& request) {
  if (request.GetType() != ValueType::kStruct) {
    return Failure("null", kInvalidRequest, "Invalid Request");
  }
  const auto& object = static_cast<const StructValue&>(request);
  const auto idValue = object.GetField("id");
  const std::string id = idValue ? Ostra::Data::ToJson(*idValue) : "null";
  const std::string* version = Text(object, "jsonrpc");
  const std::string* method = Text(object, "method");
  if (!version || *version != "2.0" || !method) {
    return Failure(id, kInvalidRequest, "Invalid Request");
  }
  const bool notification = idValue == nullptr;

  const auto params = object.GetField("params");
  if (!params || params->GetType() != ValueType::kStruct) {
    return notification ? "" : Failure(id, kInvalidParams, "params must be an object");
  }
  const auto& paramObject = static_cast<const StructValue&>(*params);
  const std::string* operation = Text(paramObject, "operation");
  const auto input = paramObject.GetField("input");
  if (!operation || (input && input->GetType() != ValueType::kStruct)) {
    return notification ? ""
                        : Failure(id, kInvalidParams,
                                  "params need an \"operation\" text and an optional \"input\" "
                                  "object");
  }
  if (!host.Find(*method)) {
    return notification ? "" : Failure(id, kMethodNotFound, "Method not found: " + *method);
  }
  const auto reply = host.Call(
      *method, *operation, input ? static_cast<const StructValue&>(*input) : StructValue("", {}));
  if (notification) return "";
  if (reply.error) {
    return Failure(id, kOperationFailed, "Operation failed", ErrorJson(*reply.error));
  }
  return Reply(id, "result", reply.value ? Ostra::Data::ToJson(*reply.value) : "null");
}

// One line: a request or a batch of them.
std::string HandleLine(const Host& host, const std::string& line) {
  std::string why;
  const auto request = Ostra::Data::FromJson(line, &why);
  if (!request) return Failure("null", kParseError, "Parse error: " + why);
  if (request->GetType() != ValueType::kList) return Handle(host, *request);

  const auto& batch = static_cast<const Ostra::Data::ListValue&>(*request).GetElements();
  if (batch.empty()) return Failure("null", kInvalidRequest, "Invalid Request");
  std::string replies;
  for (const auto& element : batch) {
    const std::string reply = Handle(host, *element);
    if (reply.empty()) continue;
    replies += (replies.empty() ? "[" : ",") + reply;
  }
  return replies.empty() ? replies : replies + "]";
}

}  // namespace

int Serve(const Host& host, std::istream& in, std::ostream& out) {
  std::string line;
  while (std::getline(in, line)) {
    if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
    const std::string reply = HandleLine(host, line);
    if (!reply.empty()) out << reply << std::endl;  // flushed: the peer waits for it
  }
  return kOk;
}

}  // namespace OstraTool
