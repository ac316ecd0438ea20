// The commands of ostra-metadata. Each answers the process exit status.
#pragma once

#include <istream>
#include <ostream>
#include <string>
#include <vector>

#include "host.h"

namespace OstraTool {

// Exit statuses.
constexpr int kOk = 0;
constexpr int kUsage = 1;
constexpr int kFailed = 2;      // the operation failed, a strict check found a warning, or a
                                // diff a change at or above --fail-on
constexpr int kLoadFailed = 3;  // a source did not load

void PrintSummary(const Host& host, std::ostream& out);

struct CheckOptions {
  enum Format { kText, kJson, kGithub } format = kText;
  bool strict = false;  // warnings fail the check too
};
// Reads the value of --format (text, json, github); false for any other.
bool ParseCheckFormat(const std::string& text, CheckOptions& options);
// Loads each file (each *.json file of a directory) as a source of its own and reports every
// fault of a load and every warning as a finding with its file, line, column, JSON Pointer,
// severity, id, message and suggestion, sorted by file, line and column. kLoadFailed when there
// is an error, kFailed when options.strict and there is a warning, else kOk.
int Check(const std::vector<std::string>& inputs, const CheckOptions& options, std::ostream& out);

// `text` escaped for a GitHub workflow command: its message, or (`property`) a property value.
std::string GithubEscape(const std::string& text, bool property);

struct DiffOptions {
  bool json = false;
  // Changes at or above this level make the command fail; none: no change does.
  boost::optional<Ostra::Provider::Metadata::ChangeLevel> fail_on =
      Ostra::Provider::Metadata::ChangeLevel::kBreaking;
};
// Reads the values of --format (text, json) and --fail-on (breaking, dangerous, none); false
// for any other value.
bool ParseDiffOptions(const std::string& format, const std::string& fail_on, DiffOptions& options);
// Prints the changes from `before` to `after`, one per line or as JSON; kFailed when one is at
// or above options.fail_on.
int Diff(const Host& before, const Host& after, const DiffOptions& options, std::ostream& out);

// Newline-delimited JSON-RPC 2.0 until the end of `in`.
int Serve(const Host& host, std::istream& in, std::ostream& out);

}  // namespace OstraTool
