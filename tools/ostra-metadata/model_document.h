// ModelDocument: the whole model of a host in one JSON document, as a client would collect it call
// by call through the bound services (the HTTP server's GET /v1/metadata).
#pragma once

#include <string>

#include "host.h"

namespace OstraTool {

// {"fingerprint": F,
//  "sources": {"metamodel": [{"id", "fingerprint", "info"}, ...], "authentication": [...],
//              "cli": [...]},
//  "metamodel": {"components": [ComponentSvc get of each listed component],
//                "resources": {RESOURCE: [MODEL, ...], ...}},
//  "authentication": {"components": [...]},
//  "cli": {"namespaces": [Namespace_Svc get of each listed namespace],
//          "commands": [CommandSvc get of each listed command]}}
//
// Each source is listed with SourceSvc fingerprint and get of its id; F is the CRC32 over the three
// stores' source fingerprints (SourceSvc fingerprint without an id) of metamodel, authentication
// and cli, in that order. A component listed by several sources appears once, as its get answers
// it. What a service stops answering while the document is built (a source deleted meanwhile) is
// left out. Valid UTF-8 JSON (see JsonWriter).
std::string ModelDocument(const Host& host);

}  // namespace OstraTool
