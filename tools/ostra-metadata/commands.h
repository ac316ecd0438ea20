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
constexpr int kFailed = 2;      // the operation failed, a check found a mismatch, or a diff a
                                // change at or above --fail-on
constexpr int kLoadFailed = 3;  // a source did not load

void PrintSummary(const Host& host, std::ostream& out);

// Loads each file into a fresh store of its domain and reports what the store says; across
// domains, reports Cli commands and Authentication entries that name services or operations no
// Metamodel file defines.
int Check(const std::vector<std::string>& files, std::ostream& out);

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
