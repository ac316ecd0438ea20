// The summary command: a readable tree of everything the loaded sources describe, read through
// the bound services as any client would.
#include <algorithm>
#include <cctype>
#include <list>
#include <set>
#include <string>

#include "commands.h"

namespace OstraTool {
namespace {

namespace M = Com::Corvane::Ostra::Metadata::Metamodel;
namespace A = Com::Corvane::Ostra::Metadata::Authentication;
namespace C = Com::Corvane::Ostra::Metadata::Cli;
using Names = std::list<std::string>;
using Ostra::Provider::Metadata::Cli::QualifiedName;

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// "list<id>", "map<string, com.example.Thing>", "optional<date_time>".
std::string TypeText(const std::shared_ptr<const M::Type>& type) {
  if (!type) return "?";
  switch (type->category.GetValue()) {
    case M::TypeEnumerations::Category::BUILTIN:
      return type->builtin_type ? Lower(type->builtin_type->GetText()) : "?";
    case M::TypeEnumerations::Category::USER_DEFINED:
      return type->user_defined_type ? type->user_defined_type->resource_id : "?";
    case M::TypeEnumerations::Category::GENERIC: {
      const auto& generic = type->generic_instantiation;
      if (!generic) return "?";
      const std::string kind = Lower(generic->generic_type.GetText());
      if (generic->generic_type.GetValue() ==
          M::GenericInstantiationEnumerations::GenericType::MAP) {
        return kind + "<" + TypeText(generic->map_key_type) + ", " +
               TypeText(generic->map_value_type) + ">";
      }
      return kind + "<" + TypeText(generic->element_type) + ">";
    }
    default:
      return "?";
  }
}

// "  auth: api_key, session (session-aware)", or nothing without schemes.
std::string SchemesText(const boost::optional<A::SchemeList>& schemes) {
  if (!schemes || schemes->empty()) return std::string();
  std::string text = "    auth: ";
  const char* separator = "";
  for (const auto& scheme : *schemes) {
    text += separator + scheme->scheme;
    if (scheme->schemeType.GetValue() ==
        A::AuthenticationInfoEnumerations::SchemeType::SESSION_AWARE) {
      text += " (session-aware" +
              (scheme->sessionManager ? ", manager " + *scheme->sessionManager : std::string()) +
              ")";
    }
    separator = ", ";
  }
  return text;
}

template <class Info>
boost::optional<A::SchemeList> SchemesOf(const boost::optional<Info>& info) {
  if (!info || !*info) return boost::none;
  return (*info)->schemes;
}

class Summary {
 public:
  Summary(const Host& host, std::ostream& out) : host_(host), out_(out) {}

  void Run() {
    Sources();
    Metamodel();
    Authentication();
    Cli();
  }

 private:
  void Sources() {
    out_ << "Sources\n";
    SourcesOf<M::SourceSvc::Info>(Domain::kMetamodel);
    SourcesOf<A::SourceSvc::Info>(Domain::kAuthentication);
    SourcesOf<C::SourceSvc::Info>(Domain::kCli);
  }

  // "  <domain> <id>  <fingerprint>  <file>" per source of the domain.
  template <class Info>
  void SourcesOf(Domain domain) {
    const std::string service = std::string(DomainName(domain)) + ".source";
    for (const auto& id : host_.Get<Names>(service, "list").value_or(Names())) {
      const auto fingerprint = host_.Get<std::string>(
          service, "fingerprint", Input().Add("source_id", boost::optional<std::string>(id)));
      const auto info =
          host_.Get<std::shared_ptr<const Info>>(service, "get", Input().Add("source_id", id));
      out_ << "  " << DomainName(domain) << " source " << id << "  " << fingerprint.value_or("?");
      if (info && (*info)->filepath) out_ << "  " << *(*info)->filepath;
      out_ << "\n";
    }
  }

  void Metamodel() {
    const Names components = host_.Get<Names>("metamodel.component", "list").value_or(Names());
    if (components.empty()) return;
    out_ << "\nMetamodel\n";
    for (const auto& name : components) {
      const auto data = host_.Get<std::shared_ptr<const M::ComponentData>>(
          "metamodel.component", "get", Input().Add("component_id", name));
      if (!data || !(*data)->info) continue;
      shown_.insert(name);
      out_ << "  component " << name << "  [" << (*data)->fingerprint << "]\n";
      for (const auto& package : (*data)->info->packages)
        Package(*package.second);
    }
  }

  void Package(const M::PackageInfo& package) {
    out_ << "    package " << package.name
         << SchemesText(SchemesOf(host_.Get<std::shared_ptr<const A::PackageInfo>>(
                "authentication.package", "get", Input().Add("package_id", package.name))))
         << "\n";
    for (const auto& service : package.services) {
      const std::string& id = service.first;
      out_ << "      service " << id
           << SchemesText(SchemesOf(host_.Get<std::shared_ptr<const A::ServiceInfo>>(
                  "authentication.service", "get", Input().Add("service_id", id))))
           << "\n";
      for (const auto& operation : service.second->operations)
        Operation(id, *operation.second);
    }
  }

  void Operation(const std::string& service, const M::OperationInfo& operation) {
    out_ << "        " << operation.name << "(";
    const char* separator = "";
    for (const auto& param : operation.params) {
      out_ << separator << param->name << ": " << TypeText(param->type);
      separator = ", ";
    }
    out_ << ") -> " << (operation.output ? TypeText(operation.output->type) : "?");
    const auto auth = host_.Get<std::shared_ptr<const A::OperationInfo>>(
        "authentication.service.operation", "get",
        Input().Add("service_id", service).Add("operation_id", operation.name));
    out_ << SchemesText(SchemesOf(auth)) << "\n";
  }

  // Authentication components that no Metamodel source describes, on their own.
  void Authentication() {
    bool header = false;
    for (const auto& name :
         host_.Get<Names>("authentication.component", "list").value_or(Names())) {
      if (shown_.count(name) != 0) continue;
      const auto data = host_.Get<std::shared_ptr<const A::ComponentData>>(
          "authentication.component", "get", Input().Add("component_id", name));
      if (!data || !(*data)->info) continue;
      if (!header) out_ << "\nAuthentication (components without Metamodel)\n";
      header = true;
      shown_.insert(name);
      out_ << "  component " << name << "  [" << (*data)->fingerprint << "]\n";
      for (const auto& package : (*data)->info->packages) {
        out_ << "    package " << package.first << SchemesText(package.second->schemes) << "\n";
        for (const auto& service : package.second->services) {
          out_ << "      service " << service.first << SchemesText(service.second->schemes) << "\n";
          for (const auto& operation : service.second->operations) {
            out_ << "        " << operation.first << SchemesText(operation.second->schemes) << "\n";
          }
        }
      }
    }
  }

  void Cli() {
    using Identity = C::Namespace_Svc::Identity;
    const auto root = std::make_shared<const Identity>(Identity{"", ""});
    if (!host_.Get<std::shared_ptr<const C::Namespace_Svc::Info>>("cli.namespace", "get",
                                                                  Input().Add("identity", root))) {
      return;
    }
    out_ << "\nCli\n";
    Namespace(root, 1);
    // Commands whose namespace was never declared.
    using Commands = std::list<std::shared_ptr<const C::CommandSvc::Identity>>;
    for (const auto& id : host_.Get<Commands>("cli.command", "list").value_or(Commands())) {
      if (commands_.count(QualifiedName(id)) == 0) Command(id, 1);
    }
  }

  void Namespace(const std::shared_ptr<const C::Namespace_Svc::Identity>& id, int depth) {
    const std::string path = QualifiedName(id);
    if (!namespaces_.insert(path).second) return;  // the root lists itself
    const auto info = host_.Get<std::shared_ptr<const C::Namespace_Svc::Info>>(
        "cli.namespace", "get", Input().Add("identity", id));
    if (!info) return;
    out_ << std::string(2 * depth, ' ') << (path.empty() ? "(root)" : id->name) << "  "
         << (*info)->description << "\n";
    using Commands = std::list<std::shared_ptr<const C::CommandSvc::Identity>>;
    // A namespace without commands answers NotFound: nothing to show.
    for (const auto& command :
         host_
             .Get<Commands>("cli.command", "list",
                            Input().Add("namespace", boost::optional<std::string>(path)))
             .value_or(Commands())) {
      Command(command, depth + 1);
    }
    for (const auto& child : (*info)->children)
      Namespace(child, depth + 1);
  }

  void Command(const std::shared_ptr<const C::CommandSvc::Identity>& id, int depth) {
    commands_.insert(QualifiedName(id));
    const auto info = host_.Get<std::shared_ptr<const C::CommandSvc::Info>>(
        "cli.command", "get", Input().Add("identity", id));
    if (!info) return;
    const auto& command = **info;
    const std::string indent(2 * depth, ' ');
    out_ << indent << id->name << "  -> " << command.service_id << "." << command.operation_id;
    if (command.formatter) out_ << "  [" << Lower(command.formatter->GetText()) << "]";
    out_ << "\n";
    for (const auto& option : command.options) {
      out_ << indent << "    --" << option->long_option;
      if (option->short_option) out_ << ", -" << *option->short_option;
      out_ << "  " << option->type;
      if (option->generic.GetValue() != C::CommandSvc::GenericType::NONE) {
        out_ << " (" << Lower(option->generic.GetText()) << ")";
      }
      out_ << "  " << option->description << "\n";
    }
  }

  const Host& host_;
  std::ostream& out_;
  std::set<std::string> shown_;       // components already printed
  std::set<std::string> namespaces_;  // namespaces already printed
  std::set<std::string> commands_;    // commands already printed
};

}  // namespace

void PrintSummary(const Host& host, std::ostream& out) {
  Summary(host, out).Run();
}

}  // namespace OstraTool
