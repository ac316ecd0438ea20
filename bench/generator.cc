#include "generator.h"

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

namespace OstraBench {
namespace {

// A fixed pseudo-random sequence (a linear congruential generator), so documents never vary.
class Sequence {
 public:
  std::uint32_t Next(std::uint32_t bound) {
    state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<std::uint32_t>(state_ >> 33) % bound;
  }

  // A sentence of `words` words, as documentation reads.
  std::string Text(int words) {
    static const char* const kWords[] = {
        "the",      "vehicle",   "route",  "returns", "request", "identifier", "when",
        "service",  "operation", "caller", "depot",   "reading", "schedule",   "must",
        "optional", "list",      "each",   "stored",  "fleet",   "planner",    "error"};
    std::string text;
    for (int i = 0; i < words; ++i) {
      if (i > 0) text += ' ';
      text += kWords[Next(sizeof kWords / sizeof kWords[0])];
    }
    return text + ".";
  }

 private:
  std::uint64_t state_ = 20261121;
};

const char* const kBuiltins[] = {"STRING", "LONG", "DOUBLE", "BOOLEAN", "ID", "DATE_TIME", "URI"};

std::string Builtin(Sequence& random) {
  return R"({"category":"BUILTIN","primitive_type":")" + std::string(kBuiltins[random.Next(7)]) +
         R"("})";
}

// A type up to `depth` generic levels deep: list, set, optional, map, over builtins and
// structures of the same package.
std::string TypeOf(Sequence& random, const std::string& package, int depth) {
  if (depth == 0 || random.Next(3) == 0) {
    if (random.Next(3) == 0) {
      return R"({"category":"USER_DEFINED","user_defined_type":"Structure",)"
             R"("user_defined_type_name":")" +
             package + ".Record" + std::to_string(random.Next(8)) + R"("})";
    }
    return Builtin(random);
  }
  static const char* const kGenerics[] = {"LIST", "SET", "OPTIONAL", "MAP"};
  const std::string generic = kGenerics[random.Next(4)];
  if (generic == "MAP") {
    return R"({"category":"GENERIC","generic_type":"MAP","map_key_type":)" + Builtin(random) +
           R"(,"map_value_type":)" + TypeOf(random, package, depth - 1) + "}";
  }
  return R"({"category":"GENERIC","generic_type":")" + generic + R"(","element_type":)" +
         TypeOf(random, package, depth - 1) + "}";
}

std::string Field(Sequence& random, const std::string& package, const std::string& name) {
  return R"({"name":")" + name + R"(","documentation":")" + random.Text(12) +
         R"(","metadata":{},"type":)" + TypeOf(random, package, 4) + "}";
}

std::string Structure(Sequence& random, const std::string& package, int index) {
  std::string fields;
  for (int f = 0; f < 8; ++f)
    fields += (f ? "," : "") + Field(random, package, "field_" + std::to_string(f));
  return R"({"name":")" + package + ".Record" + std::to_string(index) +
         R"(","type":"STRUCTURE","documentation":")" + random.Text(60) +
         R"(","metadata":{},"enumerations":[],"constants":[],"fields":[)" + fields + "]}";
}

std::string Enumeration(Sequence& random, const std::string& package) {
  std::string values;
  for (int v = 0; v < 6; ++v) {
    values += std::string(v ? "," : "") + R"({"name":"VALUE_)" + std::to_string(v) +
              R"(","documentation":")" + random.Text(8) + R"(","metadata":{}})";
  }
  return R"({"name":")" + package + R"(.State","documentation":")" + random.Text(20) +
         R"(","metadata":{},"values":[)" + values + "]}";
}

std::string Operation(Sequence& random, const std::string& package, int index) {
  std::string params;
  for (int p = 0; p < 3; ++p)
    params += (p ? "," : "") + Field(random, package, "param_" + std::to_string(p));
  return R"({"name":"op_)" + std::to_string(index) + R"(","documentation":")" + random.Text(40) +
         R"(","metadata":{},"params":[)" + params + R"(],"result":{"documentation":")" +
         random.Text(10) + R"(","metadata":{},"type":)" + TypeOf(random, package, 3) +
         R"(},"errors":[{"user_defined_type_name":")" + package + R"(.Record0","documentation":")" +
         random.Text(10) + R"("}]})";
}

std::string Service(Sequence& random, const std::string& package, int index) {
  std::string operations;
  for (int o = 0; o < 6; ++o)
    operations += (o ? "," : "") + Operation(random, package, o);
  return R"({"name":")" + package + ".svc" + std::to_string(index) + R"(","documentation":")" +
         random.Text(50) +
         R"(","metadata":{},"enumerations":[],"structures":[],"constants":[],"operations":[)" +
         operations + "]}";
}

std::string Package(Sequence& random, const std::string& name) {
  std::string structures, services;
  for (int s = 0; s < 8; ++s)
    structures += (s ? "," : "") + Structure(random, name, s);
  for (int s = 0; s < 4; ++s)
    services += (s ? "," : "") + Service(random, name, s);
  return R"({"name":")" + name + R"(","documentation":")" + random.Text(80) +
         R"(","metadata":{},"enumerations":[)" + Enumeration(random, name) + R"(],"structures":[)" +
         structures + R"(],"services":[)" + services + "]}";
}

std::string PackageName(const std::string& component, int index) {
  return component + ".pkg" + std::to_string(index);
}

}  // namespace

std::string MetamodelDocument(std::size_t bytes, const std::string& component) {
  Sequence random;
  std::string packages;
  for (int p = 0; packages.size() < bytes; ++p)
    packages += (p ? "," : "") + Package(random, PackageName(component, p));
  return R"({"metamodel":{"component":{"name":")" + component + R"(","documentation":")" +
         random.Text(100) + R"(","metadata":{},"packages":[)" + packages + "]}}}";
}

std::string AuthenticationDocument(std::size_t bytes, const std::string& component) {
  Sequence random;
  const std::string schemes =
      R"("schemes":{"key":{"authenticationScheme":"com.bench.api_key","type":"SESSIONLESS"},)"
      R"("session":{"authenticationScheme":"com.bench.session","type":"SESSION_AWARE",)"
      R"("sessionManager":"com.bench.sessions"}})";
  std::string operations, services, packages;
  for (int p = 0; operations.size() + services.size() + packages.size() < bytes; ++p) {
    const std::string package = PackageName(component, p);
    packages += (p ? "," : "") + ("\"" + package + R"(":["key"])");
    for (int s = 0; s < 4; ++s) {
      const std::string service = package + ".svc" + std::to_string(s);
      services += (p || s ? "," : "") + ("\"" + service + R"(":["key","session"])");
      for (int o = 0; o < 6; ++o) {
        operations += (p || s || o ? "," : "") +
                      ("\"" + service + ".op_" + std::to_string(o) + "\":") +
                      (random.Next(2) ? R"(["session"])" : R"(["key","session"])");
      }
    }
  }
  return R"({"authentication":{"component":{"name":")" + component + "\"," + schemes +
         R"(,"operations":{)" + operations + R"(},"services":{)" + services + R"(},"packages":{)" +
         packages + "}}}}";
}

std::string CliDocument(std::size_t bytes, const std::string& root) {
  Sequence random;
  std::string nodes;
  const auto add = [&nodes](const std::string& node) {
    nodes += (nodes.empty() ? "" : ",") + node;
  };
  for (int p = 0; nodes.size() < bytes; ++p) {
    // Packages sit two levels below the root; the middle level is only implied.
    const std::string path = root + ".group" + std::to_string(p / 4);
    const std::string name = "pkg" + std::to_string(p);
    add(R"({"type":"namespace","path":")" + path + R"(","name":")" + name + R"(","description":")" +
        random.Text(30) + R"("})");
    for (int s = 0; s < 4; ++s) {
      for (int o = 0; o < 6; ++o) {
        std::string options;
        for (int i = 0; i < 3; ++i) {
          options += std::string(i ? "," : "") + R"({"long_option":"param-)" + std::to_string(i) +
                     R"(","short_option":")" + std::string(1, 'a' + i) +
                     R"(","field_name":"param_)" + std::to_string(i) + R"(","description":")" +
                     random.Text(15) + R"(","type":"string","generic":")" +
                     (random.Next(2) ? "optional" : "list") + R"("})";
        }
        add(R"({"type":"command","path":")" + path + "." + name + R"(","name":"svc)" +
            std::to_string(s) + "-op" + std::to_string(o) + R"(","description":")" +
            random.Text(25) + R"(","node_metadata":{"service_id":"com.bench.pkg)" +
            std::to_string(p) + ".svc" + std::to_string(s) + R"(","operation_id":"op_)" +
            std::to_string(o) + R"(","formatter":"table","options":[)" + options +
            R"(],"output_field_list":[{"structure_id":"com.bench.pkg)" + std::to_string(p) +
            R"(.Record0","output_fields":[{"field_name":"field_0","display_name":"Field 0"},)"
            R"({"field_name":"field_1","display_name":"Field 1"}]}]}})");
      }
    }
  }
  return R"({"cli":[)" + nodes + "]}";
}

std::string WriteTemp(const std::string& name, const std::string& text) {
  const char* dir = std::getenv("TMPDIR");
  const std::string path = std::string(dir && *dir ? dir : "/tmp") + "/ostra-bench-" + name;
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
  return path;
}

}  // namespace OstraBench
