#include "model_document.h"

#include <set>
#include <vector>

#include "json_writer.h"

namespace OstraTool {
namespace {

using Ostra::Data::StructValue;
using Ostra::Data::ValueType;

class ModelWriter {
 public:
  ModelWriter(const Host& host, JsonWriter& out) : host_(host), out_(out) {}

  void Write() {
    out_.StartObject();
    out_.Key("fingerprint");
    out_.String(Fingerprint());
    out_.Key("sources");
    out_.StartObject();
    for (const char* domain : {"metamodel", "authentication", "cli"}) {
      out_.Key(domain);
      Sources(std::string(domain) + ".source");
    }
    out_.EndObject();

    out_.Key("metamodel");
    out_.StartObject();
    out_.Key("components");
    Components("metamodel.component");
    out_.Key("resources");
    out_.StartObject();
    for (const auto& resource : Texts("metamodel.resource")) {
      out_.Key(resource);
      out_.StartArray();
      for (const auto& model :
           Texts("metamodel.resource.model", Input().Add("resource_id", resource))) {
        out_.String(model);
      }
      out_.EndArray();
    }
    out_.EndObject();
    out_.EndObject();

    out_.Key("authentication");
    out_.StartObject();
    out_.Key("components");
    Components("authentication.component");
    out_.EndObject();

    out_.Key("cli");
    out_.StartObject();
    out_.Key("namespaces");
    Identified("cli.namespace");
    out_.Key("commands");
    Identified("cli.command");
    out_.EndObject();
    out_.EndObject();
  }

 private:
  // The answer of a call, or null when it failed.
  Ostra::Data::ValuePtr Answer(const std::string& service, const std::string& operation,
                               const StructValue& input) const {
    const Host::Reply reply = host_.Call(service, operation, input);
    return reply.error ? nullptr : reply.value;
  }

  // The elements of a list answer; none when the call failed.
  std::vector<Ostra::Data::ValuePtr> List(const std::string& service,
                                          const StructValue& input = StructValue("", {})) const {
    const auto value = Answer(service, "list", input);
    if (!value || value->GetType() != ValueType::kList) return {};
    return static_cast<const Ostra::Data::ListValue&>(*value).GetElements();
  }

  // The texts of a list answer.
  std::vector<std::string> Texts(const std::string& service, const Input& input = Input()) const {
    std::vector<std::string> texts;
    for (const auto& element : List(service, input.Build())) {
      if (element && element->GetType() == ValueType::kString) {
        texts.push_back(static_cast<const Ostra::Data::StringValue&>(*element).GetValue());
      }
    }
    return texts;
  }

  std::string Fingerprint() const {
    Ostra::CRC32 crc;
    for (const char* service : {"metamodel.source", "authentication.source", "cli.source"}) {
      const auto fingerprint = host_.Get<std::string>(service, "fingerprint");
      crc.Update(fingerprint.value_or(std::string()));
    }
    return crc.Hexdigest();
  }

  void Sources(const std::string& service) {
    out_.StartArray();
    for (const auto& id : Texts(service)) {
      const auto fingerprint =
          Answer(service, "fingerprint",
                 Input().Add("source_id", boost::optional<std::string>(id)).Build());
      const auto info = Answer(service, "get", Input().Add("source_id", id).Build());
      if (!fingerprint || !info) continue;
      out_.StartObject();
      out_.Key("id");
      out_.String(id);
      out_.Key("fingerprint");
      out_.Value(*fingerprint);
      out_.Key("info");
      out_.Value(*info);
      out_.EndObject();
    }
    out_.EndArray();
  }

  void Components(const std::string& service) {
    out_.StartArray();
    std::set<std::string> written;
    for (const auto& name : Texts(service)) {
      if (!written.insert(name).second) continue;
      if (const auto data = Answer(service, "get", Input().Add("component_id", name).Build())) {
        out_.Value(*data);
      }
    }
    out_.EndArray();
  }

  // Get of every identity that list answers (the Cli namespaces and commands).
  void Identified(const std::string& service) {
    out_.StartArray();
    for (const auto& identity : List(service)) {
      if (!identity) continue;
      if (const auto info = Answer(service, "get", StructValue("", {{"identity", identity}}))) {
        out_.Value(*info);
      }
    }
    out_.EndArray();
  }

  const Host& host_;
  JsonWriter& out_;
};

}  // namespace

std::string ModelDocument(const Host& host) {
  JsonWriter out;
  ModelWriter(host, out).Write();
  return out.Text();
}

}  // namespace OstraTool
