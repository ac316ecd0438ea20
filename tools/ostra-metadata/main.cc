// ostra-metadata: a host of the metadata services on the command line. See Usage() below.
#include <getopt.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "commands.h"
#include "http_server.h"
#include "json_writer.h"
#include "report.h"

namespace {

using namespace OstraTool;

constexpr const char* kHelp = R"(usage: ostra-metadata [SOURCES] [summary]
       ostra-metadata [SOURCES] call SERVICE OPERATION [INPUT]
       ostra-metadata [SOURCES] serve --stdio
       ostra-metadata [SOURCES] serve --http [ADDR:]PORT [--threads N] [--watch]
                      [--allow-source-management --source-root DIR]
       ostra-metadata check [--format text|json|github] [--strict] FILE|DIR...
       ostra-metadata diff [--format text|json] [--fail-on breaking|dangerous|none] OLD NEW

A host of the Ostra metadata services: it makes the Metamodel, Authentication and Cli stores,
loads the given sources into them, binds the services and sends every request through them.

Sources (repeatable; ID defaults to the file name without its extension):
  -m, --metamodel [ID=]FILE        a Metamodel document
  -a, --authentication [ID=]FILE   an Authentication document
  -c, --cli [ID=]FILE              a Cli document
  -d, --dir DIR                    every *.json file in DIR, its domain told by its root member
                                   ("metamodel", "authentication" or "cli"); a file that is
                                   not JSON fails to load, other documents are skipped

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
  check        loads each FILE, and each *.json file of each DIR, as a source of its own and
               reports each finding as FILE:LINE:COL (columns in characters), severity, message
               and [ID], then the JSON Pointer of the value and a suggestion (the member or text
               meant, the texts allowed, the schemes the component defines). Errors: what fails
               a load (the library's message id) or costs a loaded document a part of it
               (section-dropped), a file that is not JSON (the domain's parse error id, or
               syntax-error), that cannot be read (unreadable), or that is not a metadata
               document (unknown-member; a warning inside a DIR). Warnings: unknown-member,
               duplicate-name, invalid-utf8 and, across the documents, unresolved-reference
               (types and errors), undeclared-namespace (Cli commands), unknown-operation (Cli
               commands and Authentication entries, when a Metamodel document loaded).
               --format json prints {"files": [{"file", "domain", "fingerprint", "loaded"}],
               "findings": [{"file", "line", "column", "pointer", "severity", "id", "message",
               "suggestion"}], "omitted"}, the fingerprint being the one the store reports for
               the source; --format github one workflow command (::error or ::warning) per
               finding. Files over 256 MiB are not read; past 1000 findings of a file, warnings
               are counted ("omitted"), not listed. Exit status 3 on an error, else 2 with
               --strict and a warning, else 0.
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
  serve --http [ADDR:]PORT
               HTTP/1.1 on ADDR (default 127.0.0.1; [::1] for IPv6) and PORT (0: any free
               one); the first line on stdout is "listening on http://ADDR:PORT".
                 POST /rpc         one request or a batch as above, as application/json (else
                                   415); 200 with the reply (a JSON-RPC error too), 204 for
                                   notifications only, 413 for a body over 16 MiB.
                 GET /v1/metadata  the whole model in one document: {"fingerprint", "sources",
                                   "metamodel": {"components", "resources"}, "authentication":
                                   {"components"}, "cli": {"namespaces", "commands"}}, each part
                                   what the services answer; built once per change, ETag the
                                   quoted CRC32 of the body; If-None-Match with it (or *): 304.
                 GET /             the explorer: a page that shows that document in a browser
                                   (tree, authentication, Cli, sources, a filter, permalinks),
                                   built into the tool, and polls it every 5 s.
               create, delete and reload of the source services answer -32002 "source
               management is disabled" unless --allow-source-management is given with
               --source-root DIR; then a created source must be a regular file whose real path
               lies under DIR (relative paths are taken from DIR). --threads N (1-256, default
               8) requests are served at once; a connection holds no thread until the headers
               of a request have all arrived, which must be within 5 s of their first byte and
               64 KiB; idle connections close after 5 s (the longest idle first beyond 512), a
               whole exchange must end within 30 s. --watch reloads a source when its file
               changes (written, or renamed over) and reports on stderr a reload that kept the
               old data. SIGINT or SIGTERM: stop accepting, answer the requests received, exit 0.

Exit status: 0 success, 1 usage, 2 the operation failed (check --strict: a warning; diff: a
change at or above --fail-on), 3 a source failed to load (check: an error).
)";

int UsageError(const std::string& problem) {
  std::cerr << "ostra-metadata: " << problem << " (see --help)\n";
  return kUsage;
}

// A source to load: its document, when it was already parsed (a file of --dir), is loaded as it
// is, with the file as its path.
struct Source {
  Domain domain;
  std::string id;
  std::string path;
  std::shared_ptr<Ostra::Provider::Metadata::ParsedMetadata> parsed;
};

// "[ID=]FILE": an "=" before any "/" separates the id.
Source ParseSource(Domain domain, const std::string& text) {
  const auto equals = text.find('=');
  if (equals != std::string::npos && text.find('/') > equals) {
    return {domain, text.substr(0, equals), text.substr(equals + 1), nullptr};
  }
  return {domain, std::filesystem::path(text).stem().string(), text, nullptr};
}

// A file parsed once, as a source whose domain its root member tells; none for a file that is not
// a metadata document. `parsed` is null when the file cannot be read. A file that does not parse
// is a source of the domain its text begins with, so that its load fails with that domain's
// parse error.
boost::optional<Source> SniffSource(
    const std::filesystem::path& file,
    std::shared_ptr<Ostra::Provider::Metadata::ParsedMetadata> parsed) {
  auto domain = parsed ? DomainOf(*parsed->document) : boost::none;
  if (parsed && parsed->document->HasParseError()) {
    std::ifstream in(file, std::ios::binary);
    std::string head(4096, '\0');
    in.read(&head[0], static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(in.gcount()));
    domain = DomainOfText(head);
  }
  if (!domain) return boost::none;
  return Source{*domain, file.stem().string(), file.string(), std::move(parsed)};
}

// The *.json files of a directory, by name, whose root member tells a domain. kUsage when the
// directory cannot be read, kLoadFailed when a file is not JSON (and tells no domain).
int ScanDirectory(const std::string& dir, std::vector<Source>& sources) {
  std::error_code error;
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(dir, error)) {
    if (entry.is_regular_file() && entry.path().extension() == ".json") {
      files.push_back(entry.path());
    }
  }
  if (error) {
    std::cerr << "ostra-metadata: " << dir << ": " << error.message() << "\n";
    return kUsage;
  }
  std::sort(files.begin(), files.end());
  int status = kOk;
  for (const auto& file : files) {
    auto parsed = ParseFile(file.string());
    const bool broken = !parsed || parsed->document->HasParseError();
    auto source = SniffSource(file, std::move(parsed));
    if (!source && broken) {
      // Not JSON (a truncated document, say): it cannot be told apart from a metadata document.
      std::cerr << "ostra-metadata: " << file.string() << ": not JSON, and not read\n";
      status = kLoadFailed;
      continue;
    }
    if (!source) {
      std::cerr << "ostra-metadata: " << file.string() << ": not a metadata document, skipped\n";
      continue;
    }
    sources.push_back(std::move(*source));
  }
  return status;
}

// Loads every source into `host`, printing what fails; kLoadFailed when one does.
int LoadSources(Host& host, const std::vector<Source>& sources) {
  int status = kOk;
  for (const auto& source : sources) {
    const auto error = source.parsed
                           ? host.Load(source.domain, source.id, source.path, *source.parsed)
                           : host.Load(source.domain, source.id, source.path);
    if (error) {
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
    if (ScanDirectory(path, sources) != kOk) return kLoadFailed;
  } else {
    auto parsed = ParseFile(path);
    const bool read = parsed != nullptr;
    auto source = SniffSource(path, std::move(parsed));
    if (!source) {
      std::cerr << "ostra-metadata: " << path
                << (read ? ": not a metadata document\n" : ": cannot be read\n");
      return kLoadFailed;
    }
    sources.push_back(std::move(*source));
  }
  return LoadSources(host, sources);
}

// The options of the command line. SOURCES are collected as they come; the others by name.
struct Options {
  std::vector<Source> sources;
  std::map<std::string, std::string> given;  // option name without "--" -> its value ("" if none)

  boost::optional<std::string> Value(const std::string& name) const {
    const auto it = given.find(name);
    return it == given.end() ? boost::none : boost::make_optional(it->second);
  }
};

// What a command is given: its arguments, the options, and a host with the sources loaded (an
// empty one for the commands that take no sources).
struct Invocation {
  const std::vector<std::string>& args;
  const Options& options;
  Host& host;
};

int Summary(const Invocation& run) {
  if (run.options.sources.empty()) return UsageError("no sources given");
  PrintSummary(run.host, std::cout);
  return kOk;
}

int Call(const Invocation& run) {
  const auto& args = run.args;
  const Host& host = run.host;
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

int ServeCommand(const Invocation& run) {
  const Options& given = run.options;
  const auto http = given.Value("http");
  if (given.Value("stdio").has_value() == http.has_value()) {
    return UsageError("serve needs --stdio or --http [ADDR:]PORT");
  }
  const char* const httpOnly[] = {"threads", "watch", "allow-source-management", "source-root"};
  if (!http) {
    for (const char* name : httpOnly) {
      if (given.Value(name)) return UsageError(std::string("--") + name + " belongs to --http");
    }
    return Serve(run.host, std::cin, std::cout);
  }
  HttpOptions options;
  if (!ParseListenAddress(*http, options)) return UsageError("--http takes [ADDR:]PORT");
  if (const auto threads = given.Value("threads")) {
    const bool digits = !threads->empty() && threads->size() <= 3 &&
                        threads->find_first_not_of("0123456789") == std::string::npos;
    options.threads = digits ? std::stoul(*threads) : 0;
    if (options.threads < 1 || options.threads > 256) {
      return UsageError("--threads takes a number from 1 to 256");
    }
  }
  options.watch = given.Value("watch").has_value();
  const auto root = given.Value("source-root");
  if (given.Value("allow-source-management").has_value() != root.has_value()) {
    return UsageError("--allow-source-management needs --source-root DIR, and the other way round");
  }
  if (root) {
    std::error_code error;
    const auto real = std::filesystem::canonical(*root, error);
    if (error || !std::filesystem::is_directory(real, error)) {
      return UsageError("--source-root " + *root + " is not a directory");
    }
    options.access = {true, real};
  }
  return ServeHttp(run.host, options, std::cout, std::cerr);
}

int CheckCommand(const Invocation& run) {
  CheckOptions check;
  if (!ParseCheckFormat(run.options.Value("format").value_or("text"), check)) {
    return UsageError("--format of check is text, json or github");
  }
  check.strict = run.options.Value("strict").has_value();
  return Check(run.args, check, std::cout);
}

int DiffCommand(const Invocation& run) {
  DiffOptions diff;
  if (!ParseDiffOptions(run.options.Value("format").value_or("text"),
                        run.options.Value("fail-on").value_or("breaking"), diff)) {
    return UsageError("--format is text or json; --fail-on is breaking, dangerous or none");
  }
  Host before, after;
  const int old_status = LoadDiffSide(run.args[0], before);
  const int new_status = LoadDiffSide(run.args[1], after);
  if (old_status != kOk || new_status != kOk) return kLoadFailed;
  return Diff(before, after, diff, std::cout);
}

// The commands, with what each takes. A command that loads sources runs only when every source
// loaded; the others take their documents as arguments and refuse SOURCES.
struct Command {
  const char* name;
  bool sources;
  std::size_t min_args, max_args;
  const char* args_usage;            // said when the arguments do not fit
  std::vector<const char*> options;  // the command options it accepts
  int (*run)(const Invocation&);
};

const Command kCommands[] = {
    {"summary", true, 0, 0, "summary takes no arguments", {}, Summary},
    {"call", true, 2, 3, "call needs SERVICE OPERATION [INPUT]", {}, Call},
    {"serve",
     true,
     0,
     0,
     "serve takes no arguments",
     {"stdio", "http", "threads", "watch", "allow-source-management", "source-root"},
     ServeCommand},
    {"check",
     false,
     1,
     SIZE_MAX,
     "check needs at least one FILE or DIR",
     {"format", "strict"},
     CheckCommand},
    {"diff", false, 2, 2, "diff needs OLD and NEW", {"format", "fail-on"}, DiffCommand},
};

}  // namespace

int main(int argc, char** argv) {
  const option options[] = {{"metamodel", required_argument, nullptr, 'm'},
                            {"authentication", required_argument, nullptr, 'a'},
                            {"cli", required_argument, nullptr, 'c'},
                            {"dir", required_argument, nullptr, 'd'},
                            {"stdio", no_argument, nullptr, 0},
                            {"http", required_argument, nullptr, 0},
                            {"threads", required_argument, nullptr, 0},
                            {"watch", no_argument, nullptr, 0},
                            {"allow-source-management", no_argument, nullptr, 0},
                            {"source-root", required_argument, nullptr, 0},
                            {"format", required_argument, nullptr, 0},
                            {"fail-on", required_argument, nullptr, 0},
                            {"strict", no_argument, nullptr, 0},
                            {"help", no_argument, nullptr, 'h'},
                            {nullptr, 0, nullptr, 0}};
  Options given;
  opterr = 0;  // problems are reported below, in the tool's words
  int index = 0;
  for (int c; (c = getopt_long(argc, argv, ":m:a:c:d:h", options, &index)) != -1;) {
    switch (c) {
      case 0:  // a command option, kept by name
        given.given[options[index].name] = optarg != nullptr ? optarg : "";
        break;
      case 'm':
        given.sources.push_back(ParseSource(Domain::kMetamodel, optarg));
        break;
      case 'a':
        given.sources.push_back(ParseSource(Domain::kAuthentication, optarg));
        break;
      case 'c':
        given.sources.push_back(ParseSource(Domain::kCli, optarg));
        break;
      case 'd':
        if (const int status = ScanDirectory(optarg, given.sources)) return status;
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
  const std::string name = args.empty() ? "summary" : args.front();
  if (!args.empty()) args.erase(args.begin());

  const auto command = std::find_if(std::begin(kCommands), std::end(kCommands),
                                    [&name](const Command& c) { return name == c.name; });
  if (command == std::end(kCommands)) return UsageError("unknown command " + name);
  for (const auto& option : given.given) {
    if (std::find(command->options.begin(), command->options.end(), option.first) ==
        command->options.end()) {
      return UsageError("--" + option.first + " is not an option of " + name);
    }
  }
  if (args.size() < command->min_args || args.size() > command->max_args) {
    return UsageError(command->args_usage);
  }
  if (!command->sources && !given.sources.empty()) {
    return UsageError(name + " takes its documents as arguments, not as sources");
  }
  Host host;
  if (const int status = LoadSources(host, given.sources)) return status;
  return command->run({args, given, host});
}
