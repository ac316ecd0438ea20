// The diff command: what changed from one set of documents to another, and what it does to
// clients. The comparison is the library's (DiffModels); this prints it.
#include <algorithm>
#include <map>

#include "commands.h"
#include "json_writer.h"
#include "report.h"

namespace OstraTool {
namespace {

using Ostra::Provider::Metadata::ChangeLevel;
using Ostra::Provider::Metadata::ModelChange;

void OptionalString(JsonWriter& writer, const boost::optional<std::string>& text) {
  if (text) {
    writer.String(*text);
  } else {
    writer.Null();
  }
}

// {"metamodel": ..., "authentication": ..., "cli": ...}: the fingerprint over all sources of
// each store.
void Fingerprints(JsonWriter& writer, const Host& host) {
  const auto model = host.Model();
  writer.StartObject();
  writer.Key("metamodel");
  writer.String(model.metamodel->SourceFingerprint(boost::none));
  writer.Key("authentication");
  writer.String(model.authentication->SourceFingerprint(boost::none));
  writer.Key("cli");
  writer.String(model.cli->SourceFingerprint(boost::none));
  writer.EndObject();
}

void PrintJson(const Host& before, const Host& after, const std::vector<ModelChange>& changes,
               std::ostream& out) {
  JsonWriter writer;
  writer.StartObject();
  writer.Key("old");
  Fingerprints(writer, before);
  writer.Key("new");
  Fingerprints(writer, after);
  writer.Key("changes");
  writer.StartArray();
  for (const auto& change : changes) {
    writer.StartObject();
    writer.Key("rule");
    writer.String(change.rule);
    writer.Key("level");
    writer.String(ChangeLevelName(change.level));
    writer.Key("domain");
    writer.String(change.domain);
    writer.Key("path");
    writer.String(change.path);
    writer.Key("old");
    OptionalString(writer, change.old_value);
    writer.Key("new");
    OptionalString(writer, change.new_value);
    writer.EndObject();
  }
  writer.EndArray();
  writer.EndObject();
  out << writer.Text() << "\n";
}

// A path or value as written on a text line: as it is, or quoted when it is empty or holds a
// control character (documentation may span lines), so that every change keeps to one line.
std::string Shown(const std::string& text) {
  const bool plain = !text.empty() && std::none_of(text.begin(), text.end(), [](char c) {
    return static_cast<unsigned char>(c) < 0x20;
  });
  if (plain) return text;
  JsonWriter quoted;
  quoted.String(text);
  return quoted.Text();
}

// "-" on the side where there is no value.
std::string Shown(const boost::optional<std::string>& value) {
  return value ? Shown(*value) : "-";
}

std::string Padded(std::string text, std::size_t width) {
  if (text.size() < width) text.resize(width, ' ');
  return text;
}

// "breaking  metamodel      field-type-changed  com.example.Item.size  long -> string", then
// how many changes there are of each level.
void PrintText(const std::vector<ModelChange>& changes, std::ostream& out) {
  std::map<ChangeLevel, std::size_t> counts;
  for (const auto& change : changes) {
    ++counts[change.level];
    out << Padded(ChangeLevelName(change.level), 10) << Padded(change.domain, 16) << change.rule
        << "  " << Shown(change.path);
    if (change.old_value || change.new_value) {
      out << "  " << Shown(change.old_value) << " -> " << Shown(change.new_value);
    }
    out << "\n";
  }
  if (changes.empty()) {
    out << "no changes\n";
    return;
  }
  out << changes.size() << (changes.size() == 1 ? " change" : " changes") << ": "
      << counts[ChangeLevel::kBreaking] << " breaking, " << counts[ChangeLevel::kDangerous]
      << " dangerous, " << counts[ChangeLevel::kSafe] << " safe\n";
}

}  // namespace

bool ParseDiffOptions(const std::string& format, const std::string& fail_on, DiffOptions& options) {
  if (format != "text" && format != "json") return false;
  options.json = format == "json";
  if (fail_on == "none") {
    options.fail_on = boost::none;
  } else if (fail_on == "breaking") {
    options.fail_on = ChangeLevel::kBreaking;
  } else if (fail_on == "dangerous") {
    options.fail_on = ChangeLevel::kDangerous;
  } else {
    return false;
  }
  return true;
}

int Diff(const Host& before, const Host& after, const DiffOptions& options, std::ostream& out) {
  const auto changes = Ostra::Provider::Metadata::DiffModels(before.Model(), after.Model());
  if (options.json) {
    PrintJson(before, after, changes, out);
  } else {
    PrintText(changes, out);
  }
  const bool failed =
      options.fail_on && std::any_of(changes.begin(), changes.end(), [&](const ModelChange& c) {
        return c.level >= *options.fail_on;
      });
  return failed ? kFailed : kOk;
}

}  // namespace OstraTool
