// The types that the provider frame, the JSON toolkit and the three domains share: the list that
// collects a load's messages, and the JSON document and value that metadata is read into.
#pragma once

#include <list>

#include <rapidjson/document.h>

#include "ostra/core/base_message.h"

namespace Ostra {
namespace Provider {
namespace Metadata {

// Every fault of a load, in the order found; readers append and never clear.
using Messages = std::list<BaseMessage>;

using JsonDocument =
    rapidjson::GenericDocument<rapidjson::UTF8<char>,
                               rapidjson::MemoryPoolAllocator<rapidjson::CrtAllocator>,
                               rapidjson::CrtAllocator>;
using JsonValue = rapidjson::GenericValue<rapidjson::UTF8<char>,
                                          rapidjson::MemoryPoolAllocator<rapidjson::CrtAllocator>>;

}  // namespace Metadata
}  // namespace Provider
}  // namespace Ostra
