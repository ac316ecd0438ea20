// ostra-fingerprint: prints the fingerprint of a metadata file, or where its JSON is broken.
//
//   ostra-fingerprint [FILE...]     (default: the bundled Metamodel example)
//
// Exit status: 0 every file parsed, 1 usage, 2 a file could not be read, 3 a file did not parse.

#include <rapidjson/error/en.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <list>
#include <sstream>
#include <string>
#include <vector>

#include "ostra/metadata_services.h"

namespace {

struct TextPosition {
  std::size_t line;
  std::size_t column;
};

// 1-based line and column of a byte offset; columns count characters, not UTF-8 bytes.
TextPosition Locate(const std::string& text, std::size_t offset) {
  TextPosition position{1, 1};
  for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
    if (text[i] == '\n') {
      ++position.line;
      position.column = 1;
    } else if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) {
      ++position.column;
    }
  }
  return position;
}

int Fingerprint(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    std::cerr << path << ": cannot be read\n";
    return 2;
  }
  std::list<Ostra::BaseMessage> messages;
  const auto parsed = Ostra::Provider::Metadata::ParseStream(file, messages);
  const auto& document = *parsed->document;
  if (!document.HasParseError()) {
    std::cout << parsed->fingerprint << "  " << path << "\n";
    return 0;
  }
  std::ostringstream bytes;
  bytes << std::ifstream(path, std::ios::binary).rdbuf();
  const TextPosition at = Locate(bytes.str(), document.GetErrorOffset());
  std::cerr << path << ":" << at.line << ":" << at.column << ": parse error "
            << static_cast<int>(document.GetParseError()) << ": "
            << rapidjson::GetParseError_En(document.GetParseError()) << " (byte "
            << document.GetErrorOffset() << ", fingerprint " << parsed->fingerprint << ")\n";
  return 3;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> paths(argv + 1, argv + argc);
  for (const auto& arg : paths) {
    if (arg == "-h" || arg == "--help") {
      std::cout << "usage: ostra-fingerprint [FILE...]\n"
                   "Prints the CRC32 fingerprint of each metadata file, or the line and column\n"
                   "where its JSON is broken. Without FILE it reads the bundled example:\n  "
                << OSTRA_DEFAULT_EXAMPLE
                << "\nExit status: 0 parsed, 1 usage, 2 unreadable file, 3 parse error.\n";
      return 0;
    }
    if (!arg.empty() && arg[0] == '-') {
      std::cerr << "ostra-fingerprint: unknown option " << arg << " (see --help)\n";
      return 1;
    }
  }
  if (paths.empty()) paths.push_back(OSTRA_DEFAULT_EXAMPLE);
  int status = 0;
  for (const auto& path : paths) {
    const int result = Fingerprint(path);
    if (result > status) status = result;
  }
  return status;
}
