// ostra-metadata: a host of the metadata services on the command line. See Usage() below.
#include <getopt.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "commands.h"
#include "json_writer.h"
#include "report.h"

namespace {

using namespace OstraTool;

constexpr const char* kHelp = R"(usage: ostra-metadata [SOURCES] [summary]
       ostra-metadata [SOURCES] call SERVICE OPERATION [INPUT]
       ostra-metadata [SOURCES] serve --stdio
       ostra-metadata check FILE...
       ostra-metadata diff [--format text|json] [--fail-on breaking|dangerous|none] OLD NEW

A host of the Ostra metadata services: it makes the Metamodel, Authentication and Cli stores,
loads the given sources into them, binds the services and sends every request through them.

Sources (repeatable; ID defaults to the file name without its extension):
  -m, --metamodel [ID=]FILE        a Metamodel document
  -a, --authentication [ID=]FILE   an Authentication document
  -c, --cli [ID=]FILE              a Cli document
  -d, --dir DIR                    every *.json file in DIR, its domain told by its root member
                                   ("metamodel", "authentication" or "cli"); others are skipped

Commands:
  summary      (the default) the sources with their fingerprints; components, packages,
               services and operations with parameter and result types and the authentication
               schemes at each level; the Cli namespaces and commands with the operation each
               calls and its options.
  call         invokes OPERATION (list, get, fingerprint, create, delete, reload) of SERVICE,
               given by its identifier or its short form (metamodel.component, cli.command,
               authentication.source, ...). INPUT is a JSON object of the named inputs, for
               example '{"identity":{"path":"fleet","name":"vehicles"}}'. The result is printed
               as JSON on stdout; an error as {"kind": ..., "messages": [...]} on stderr.
  check        loads each FILE into a fresh store of its domain and prints every message; a JSON
               syntax error is shown with its line and column. Given files of several domains, it
               also reports Cli commands and Authentication entries naming services or operations
               that no Metamodel file defines.
  diff         compares two models, OLD and NEW, each a metadata document or a directory
               of them (read as --dir reads one), and lists what changed, one change per line
               sorted by path: its level (breaking, dangerous or safe), domain, rule, path, and
               the old and new value where there is one. It compares what the stores answer, not
               the text: re-indenting or reordering a document changes nothing. --format json
               prints {"old": FINGERPRINTS, "new": FINGERPRINTS, "changes": [{"rule", "level",
               "domain", "path", "old", "new"}, ...]}, FINGERPRINTS being each store's
               fingerprint over its sources ({"metamodel", "authentication", "cli"}). Exit
               status 2 when a change is at or above --fail-on (default breaking; none: never).
  serve --stdio
               newline-delimited JSON-RPC 2.0 on stdin and stdout: method = service identifier,
               params = {"operation": ..., "input": {...}}. Batches and notifications are
               accepted; an operation's error comes back with code -32000, the text of its first
               message and the error as data. Limits (-32600): 16 MiB per line, nesting of 1000,
               262144 values, strings of 1 MiB; a batch whose replies pass 16 MiB runs no more of
               its requests (-32001). A source created through serve must be a regular file.

Exit status: 0 success, 1 usage, 2 the operation failed (check: the domains disagree; diff:
a change at or above --fail-on), 3 a source failed to load.
)";

int UsageError(const std::string& problem) {
  std::cerr << "ostra-metadata: " << problem << " (see --help)\n";
  return kUsage;
}

struct Source {
  Domain domain;
  std::string id;
  std::string path;
};

// "[ID=]FILE": an "=" before any "/" separates the id.
Source ParseSource(Domain domain, const std::string& text) {
  const auto equals = text.find('=');
  if (equals != std::string::npos && text.find('/') > equals) {
    return {domain, text.substr(0, equals), text.substr(equals + 1)};
  }
  return {domain, std::filesystem::path(text).stem().string(), text};
}

// The domain of a document's text, told by its root member; none for any other text.
boost::optional<Domain> DomainOfText(const std::string& text) {
  std::istringstream in(text);
  std::list<Ostra::BaseMessage> none;
  return DomainOf(*Ostra::Provider::Metadata::ParseStream(in, none)->document);
}

// The *.json files of a directory, by name, whose root member tells a domain.
bool ScanDirectory(const std::string& dir, std::vector<Source>& sources) {
  std::error_code error;
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(dir, error)) {
    if (entry.is_regular_file() && entry.path().extension() == ".json") {
      files.push_back(entry.path());
    }
  }
  if (error) {
    std::cerr << "ostra-metadata: " << dir << ": " << error.message() << "\n";
    return false;
  }
  std::sort(files.begin(), files.end());
  for (const auto& file : files) {
    const auto domain = DomainOfText(ReadFile(file.string()).value_or(std::string()));
    if (!domain) {
      std::cerr << "ostra-metadata: " << file.string() << ": not a metadata document, skipped\n";
      continue;
    }
    sources.push_back({*domain, file.stem().string(), file.string()});
  }
  return true;
}

// Loads every source into `host`, printing what fails; kLoadFailed when one does.
int LoadSources(Host& host, const std::vector<Source>& sources) {
  int status = kOk;
  for (const auto& source : sources) {
    if (const auto error = host.Load(source.domain, source.id, source.path)) {
      PrintMessages(std::cerr, source.path + ": ", Ostra::Data::ErrorFactory::GetMessages(*error));
      status = kLoadFailed;
    }
  }
  return status;
}

// Loads OLD or NEW of diff into `host`: the documents of a directory, or one document.
int LoadDiffSide(const std::string& path, Host& host) {
  std::vector<Source> sources;
  if (std::filesystem::is_directory(path)) {
    if (!ScanDirectory(path, sources)) return kLoadFailed;
  } else {
    const auto text = ReadFile(path);
    const auto domain = text ? DomainOfText(*text) : boost::none;
    if (!domain) {
      std::cerr << "ostra-metadata: " << path
                << (text ? ": not a metadata document\n" : ": cannot be read\n");
      return kLoadFailed;
    }
    sources.push_back({*domain, std::filesystem::path(path).stem().string(), path});
  }
  return LoadSources(host, sources);
}

int Call(const Host& host, const std::vector<std::string>& args) {
  if (args.size() < 2 || args.size() > 3) return UsageError("call needs SERVICE OPERATION [INPUT]");
  if (!host.Find(args[0])) {
    std::cerr << "ostra-metadata: no service " << args[0] << "; the services are:\n";
    for (const auto& id : host.Services())
      std::cerr << "  " << id << "\n";
    return kFailed;
  }
  std::string why;
  const auto input = Ostra::Data::FromJson(args.size() == 3 ? args[2] : "{}", &why);
  if (!input || input->GetType() != Ostra::Data::ValueType::kStruct) {
    return UsageError("INPUT must be a JSON object" + (why.empty() ? "" : ": " + why));
  }
  const auto reply =
      host.Call(args[0], args[1], static_cast<const Ostra::Data::StructValue&>(*input));
  if (reply.error) {
    std::cerr << ErrorJson(*reply.error) << "\n";
    return kFailed;
  }
  JsonWriter result;
  if (reply.value) {
    result.Value(*reply.value);
  } else {
    result.Null();
  }
  std::cout << result.Text() << "\n";
  return kOk;
}

}  // namespace

int main(int argc, char** argv) {
  const option options[] = {{"metamodel", required_argument, nullptr, 'm'},
                            {"authentication", required_argument, nullptr, 'a'},
                            {"cli", required_argument, nullptr, 'c'},
                            {"dir", required_argument, nullptr, 'd'},
                            {"stdio", no_argument, nullptr, 's'},
                            {"format", required_argument, nullptr, 'f'},
                            {"fail-on", required_argument, nullptr, 'F'},
                            {"help", no_argument, nullptr, 'h'},
                            {nullptr, 0, nullptr, 0}};
  std::vector<Source> sources;
  bool stdio = false;
  boost::optional<std::string> format, fail_on;
  opterr = 0;  // problems are reported below, in the tool's words
  for (int c; (c = getopt_long(argc, argv, ":m:a:c:d:h", options, nullptr)) != -1;) {
    switch (c) {
      case 'm':
        sources.push_back(ParseSource(Domain::kMetamodel, optarg));
        break;
      case 'a':
        sources.push_back(ParseSource(Domain::kAuthentication, optarg));
        break;
      case 'c':
        sources.push_back(ParseSource(Domain::kCli, optarg));
        break;
      case 'd':
        if (!ScanDirectory(optarg, sources)) return kUsage;
        break;
      case 's':
        stdio = true;
        break;
      case 'f':
        format = optarg;
        break;
      case 'F':
        fail_on = optarg;
        break;
      case 'h':
        std::cout << kHelp;
        return kOk;
      case ':':
        return UsageError(std::string("option ") + argv[optind - 1] + " needs an argument");
      default:
        return UsageError(std::string("unknown option ") + argv[optind - 1]);
    }
  }
  std::vector<std::string> args(argv + optind, argv + argc);
  const std::string command = args.empty() ? "summary" : args.front();
  if (!args.empty()) args.erase(args.begin());
  if ((format || fail_on) && command != "diff") {
    return UsageError("--format and --fail-on belong to diff");
  }

  if (command == "check") {
    if (args.empty()) return UsageError("check needs at least one FILE");
    if (!sources.empty()) return UsageError("check takes its files as arguments, not as sources");
    return Check(args, std::cout);
  }
  if (command == "diff") {
    if (args.size() != 2) return UsageError("diff needs OLD and NEW");
    if (!sources.empty()) return UsageError("diff takes OLD and NEW as arguments, not as sources");
    DiffOptions diff;
    if (!ParseDiffOptions(format.value_or("text"), fail_on.value_or("breaking"), diff)) {
      return UsageError("--format is text or json; --fail-on is breaking, dangerous or none");
    }
    Host before, after;
    const int old_status = LoadDiffSide(args[0], before);
    const int new_status = LoadDiffSide(args[1], after);
    if (old_status != kOk || new_status != kOk) return kLoadFailed;
    return Diff(before, after, diff, std::cout);
  }
  if (command != "summary" && command != "call" && command != "serve") {
    return UsageError("unknown command " + command);
  }
  if (stdio != (command == "serve")) return UsageError("serve needs --stdio, and only serve");
  if (command == "summary" && !args.empty()) return UsageError("summary takes no arguments");
  if (command == "serve" && !args.empty()) return UsageError("serve takes no arguments");

  Host host;
  if (const int status = LoadSources(host, sources)) return status;

  if (command == "call") return Call(host, args);
  if (command == "serve") return Serve(host, std::cin, std::cout);
  if (sources.empty()) return UsageError("no sources given");
  PrintSummary(host, std::cout);
  return kOk;
}
