// What the tool tests share: reading a file whole, quoting an argument for the shell.
#pragma once

#include <fstream>
#include <sstream>
#include <string>

namespace OstraTest {

inline std::string Slurp(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

inline std::string Quote(const std::string& arg) {
  std::string quoted = "'";
  for (const char c : arg)
    quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

}  // namespace OstraTest
