// Where a load stopped: the places in a document that a load's messages are about.
//
// While a LoadTrace lives, the JSON reading frame records on its thread every message it appends
// to a message list, together with the value of the document that the message is about: the
// object that lacks a member, the member value of the wrong type or outside its enumeration, the
// member name that is malformed. A reader that fails without a message (a constant of a type that
// has no string form) is recorded too, with an empty message id. Recording changes no message,
// error or answer of the library; without a trace nothing is recorded.
//
// LocateValues turns the recorded values into JSON Pointers (RFC 6901) against the document, which
// must still be alive: a host that parses a document (ParseStream) and loads it
// (CreateSourceFromMetadata) keeps it in its ParsedMetadata.
#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <vector>

#include "ostra/provider/shared_types.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

class LoadTrace {
 public:
  struct Entry {
    // A copy of the message appended; an empty id for a reader that failed without one.
    BaseMessage message;
    // The value (or member name) of the document that the message is about; null where the frame
    // was not told (a syntax error, a fault of the document as a whole).
    const JsonValue* at;
  };

  // Records from now on, on the calling thread only. A trace made while another one lives on the
  // same thread records alone until it ends; then the other records again.
  LoadTrace();
  ~LoadTrace();
  LoadTrace(const LoadTrace&) = delete;
  LoadTrace& operator=(const LoadTrace&) = delete;

  // What was recorded, in the order the messages were appended.
  const std::vector<Entry>& Entries() const { return entries_; }

  // Called by the reading frame: the message just appended last to `messages` is about `at`.
  static void Note(const Messages& messages, const JsonValue* at);
  // Called by a reader that fails at `at` without appending a message.
  static void NoteFailure(const JsonValue& at);

 private:
  LoadTrace* outer_;
  std::vector<Entry> entries_;
};

// Where a value sits in a document.
struct JsonPlace {
  bool found = false;
  // The JSON Pointer of the value, or of the member whose name is meant (the root is "").
  std::string pointer;
  // The index of the member or element taken at each level, in document order: unlike the
  // pointer, it tells apart members that repeat a name.
  std::vector<std::size_t> steps;
  // The place is a member's name, not a value.
  bool name = false;
};

// The places of `values` in the tree under `root`, found in one walk without recursion; a value
// that is not in the tree (or null) gives a place that is not found.
std::vector<JsonPlace> LocateValues(const JsonValue& root,
                                    const std::vector<const JsonValue*>& values);

// `name` escaped as one JSON Pointer segment ("~" as "~0", "/" as "~1").
std::string PointerSegment(const std::string& name);

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
