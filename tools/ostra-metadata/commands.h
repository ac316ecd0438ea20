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
constexpr int kFailed = 2;      // the operation failed, or a check found a mismatch
constexpr int kLoadFailed = 3;  // a source did not load

void PrintSummary(const Host& host, std::ostream& out);

// Loads each file into a fresh store of its domain and reports what the store says; across
// domains, reports Cli commands and Authentication entries that name services or operations no
// Metamodel file defines.
int Check(const std::vector<std::string>& files, std::ostream& out);

// Newline-delimited JSON-RPC 2.0 until the end of `in`.
int Serve(const Host& host, std::istream& in, std::ostream& out);

}  // namespace OstraTool
