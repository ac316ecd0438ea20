// The check command: does each file load, and do the domains agree with each other?
#include <rapidjson/error/en.h>

#include <set>
#include <sstream>
#include <utility>

#include "commands.h"
#include "report.h"

namespace OstraTool {
namespace {

namespace C = Com::Corvane::Ostra::Metadata::Cli;
using Names = std::list<std::string>;

// Parses one file once and loads the parsed document into `host` as source `id`, keeping the
// file as the source's path; answers the file's domain when it loaded.
boost::optional<Domain> CheckFile(const std::string& path, const std::string& id, Host& host,
                                  std::ostream& out) {
  const auto text = ReadFile(path);
  if (!text) {
    out << path << ": cannot be read\n";
    return boost::none;
  }
  std::istringstream in(*text);
  std::list<Ostra::BaseMessage> none;
  const auto parsed = Ostra::Provider::Metadata::ParseStream(in, none);
  const auto& document = *parsed->document;
  if (document.HasParseError()) {
    const TextPosition at = Locate(*text, document.GetErrorOffset());
    out << path << ":" << at.line << ":" << at.column << ": JSON syntax error "
        << static_cast<int>(document.GetParseError()) << ": "
        << (document.GetParseError() == rapidjson::kParseErrorTermination
                ? "Nested deeper than " +
                      std::to_string(Ostra::Provider::Metadata::kMaxJsonNesting) + " levels."
                : std::string(rapidjson::GetParseError_En(document.GetParseError())))
        << "\n";
    return boost::none;
  }
  const auto domain = DomainOf(document);
  if (!domain) {
    out << path << ": not a metadata document (no \"metamodel\", \"authentication\" or \"cli\" "
        << "member at its root)\n";
    return boost::none;
  }
  if (const auto error = host.Load(*domain, id, path, *parsed)) {
    PrintMessages(out, path + ": ", Ostra::Data::ErrorFactory::GetMessages(*error));
    return boost::none;
  }
  out << path << ": " << DomainName(*domain) << " source, fingerprint " << parsed->fingerprint
      << "\n";
  return domain;
}

// The (service, operation) pairs that the Metamodel sources define.
std::set<std::pair<std::string, std::string>> MetamodelOperations(const Host& host) {
  std::set<std::pair<std::string, std::string>> operations;
  for (const auto& service : host.Get<Names>("metamodel.service", "list").value_or(Names())) {
    operations.emplace(service, "");
    for (const auto& operation :
         host.Get<Names>("metamodel.service.operation", "list", Input().Add("service_id", service))
             .value_or(Names())) {
      operations.emplace(service, operation);
    }
  }
  return operations;
}

// Reports what the Cli and Authentication sources name that the Metamodel sources lack.
int CrossCheck(const Host& host, std::ostream& out) {
  const auto defined = MetamodelOperations(host);
  int mismatches = 0;
  using Commands = std::list<std::shared_ptr<const C::CommandSvc::Identity>>;
  for (const auto& id : host.Get<Commands>("cli.command", "list").value_or(Commands())) {
    const auto command = host.Get<std::shared_ptr<const C::CommandSvc::Info>>(
        "cli.command", "get", Input().Add("identity", id));
    if (!command) continue;
    const auto& info = **command;
    if (defined.count({info.service_id, info.operation_id}) == 0) {
      out << "cli command " << Ostra::Provider::Metadata::Cli::QualifiedName(id) << " calls "
          << info.service_id << "." << info.operation_id << ", which no Metamodel source defines\n";
      ++mismatches;
    }
  }
  for (const auto& service : host.Get<Names>("authentication.service", "list").value_or(Names())) {
    if (defined.count({service, ""}) == 0) {
      out << "authentication service " << service << " is not defined by any Metamodel source\n";
      ++mismatches;
      continue;
    }
    for (const auto& operation : host.Get<Names>("authentication.service.operation", "list",
                                                 Input().Add("service_id", service))
                                     .value_or(Names())) {
      if (defined.count({service, operation}) == 0) {
        out << "authentication operation " << service << "." << operation
            << " is not defined by any Metamodel source\n";
        ++mismatches;
      }
    }
  }
  return mismatches;
}

}  // namespace

int Check(const std::vector<std::string>& files, std::ostream& out) {
  Host all;
  std::set<Domain> domains;
  int status = kOk;
  for (std::size_t i = 0; i < files.size(); ++i) {
    // Each file is its own source, so that its messages are its own.
    const auto domain = CheckFile(files[i], std::to_string(i), all, out);
    if (!domain) {
      status = kLoadFailed;
      continue;
    }
    domains.insert(*domain);
  }
  if (domains.count(Domain::kMetamodel) != 0 && domains.size() > 1) {
    const int mismatches = CrossCheck(all, out);
    if (mismatches > 0 && status == kOk) status = kFailed;
    out << (mismatches == 0 ? "the domains agree" : "the domains disagree") << "\n";
  }
  return status;
}

}  // namespace OstraTool
