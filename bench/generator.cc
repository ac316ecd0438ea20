#include "generator.h"

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace OstraBench {
namespace {

// A fixed pseudo-random sequence (a linear congruential generator), so documents never vary.
class Sequence {
 public:
  explicit Sequence(std::uint64_t seed = 20261121) : state_(seed) {}

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
  std::uint64_t state_;
};

// `count` items made by make(i), comma-separated.
template <class Make>
std::string Join(int count, Make make) {
  std::string items;
  for (int i = 0; i < count; ++i) {
    if (i > 0) items += ',';
    items += make(i);
  }
  return items;
}

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

std::string DocumentedMetamodel(std::size_t bytes, const std::string& component) {
  Sequence random;
  std::string packages;
  for (int p = 0; packages.size() < bytes; ++p)
    packages += (p ? "," : "") + Package(random, PackageName(component, p));
  return R"({"metamodel":{"component":{"name":")" + component + R"(","documentation":")" +
         random.Text(100) + R"(","metadata":{},"packages":[)" + packages + "]}}}";
}

std::string DocumentedAuthentication(std::size_t bytes, const std::string& component) {
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

std::string DocumentedCli(std::size_t bytes, const std::string& root) {
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

// ---- The dense shape: small records, metadata tables, many distinct types and names.

// A short documentation text of two to six words.
std::string Short(Sequence& random) {
  return random.Text(2 + static_cast<int>(random.Next(5)));
}

// A metadata table of `entries` distinct entries of the kinds real documents carry.
std::string Metadata(Sequence& random, int entries) {
  const std::string kinds[] = {
      R"("Required":{})",
      R"("Size":{"min":"1","max":")" + std::to_string(8 << random.Next(6)) + R"("})",
      R"("Tags":{"value":["public",")" + std::string(random.Next(2) ? "stable" : "beta") + R"("]})",
      R"("Since":{"value":"2.)" + std::to_string(random.Next(9)) + R"("})",
      R"("Http":{"method":"GET","path":"/v1/items/{id}"})",
      R"("Deprecated":{"reason":"replaced by a newer call"})"};
  const std::uint32_t start = random.Next(6);
  return "{" + Join(entries, [&](int i) { return kinds[(start + i) % 6]; }) + "}";
}

// A type: mostly builtin (spelled in several ways) or a structure or enumeration of the package,
// sometimes a list or optional of one.
std::string DenseType(Sequence& random, const std::string& package, int depth) {
  const std::uint32_t pick = random.Next(10);
  if (depth > 0 && pick < 2) {
    return R"({"category":"GENERIC","generic_type":")" +
           std::string(pick == 0 ? "LIST" : "OPTIONAL") + R"(","element_type":)" +
           DenseType(random, package, depth - 1) + "}";
  }
  if (pick < 5) {
    return R"({"category":"USER_DEFINED","user_defined_type":"Structure",)"
           R"("user_defined_type_name":")" +
           package + ".Item" + std::to_string(random.Next(8)) + R"("})";
  }
  if (pick == 5) {
    return R"({"category":"USER_DEFINED","user_defined_type":"Enumeration",)"
           R"("user_defined_type_name":")" +
           package + ".Kind" + std::to_string(random.Next(3)) + R"("})";
  }
  static const char* const kCategories[] = {"BUILTIN", "builtin", "primitive"};
  static const char* const kTypes[] = {"STRING", "long", "BOOLEAN", "double", "ID", "DATE_TIME"};
  return R"({"category":")" + std::string(kCategories[random.Next(3)]) + R"(","primitive_type":")" +
         kTypes[random.Next(6)] + R"("})";
}

std::string DenseField(Sequence& random, const std::string& package, const std::string& name,
                       const std::string& metadata) {
  return R"({"name":")" + name + R"(","documentation":")" + Short(random) + R"(","metadata":)" +
         metadata + R"(,"type":)" + DenseType(random, package, 1) + "}";
}

std::string DenseEnumeration(Sequence& random, const std::string& name) {
  const int values = 4 + static_cast<int>(random.Next(9));
  return R"({"name":")" + name + R"(","documentation":")" + Short(random) + R"(","metadata":)" +
         Metadata(random, static_cast<int>(random.Next(2))) + R"(,"values":[)" +
         Join(values,
              [&](int v) {
                return R"({"name":"V)" + std::to_string(v) + R"(","documentation":")" +
                       Short(random) + R"(","metadata":)" +
                       (random.Next(2) ? Metadata(random, 1) : "{}") + "}";
              }) +
         "]}";
}

std::string DenseConstant(Sequence& random, int index) {
  const bool list = random.Next(2) != 0;
  return R"({"name":"LIMIT_)" + std::to_string(index) + R"(","documentation":")" + Short(random) +
         R"(","type":{"category":")" + (list ? "LIST" : "PRIMITIVE") +
         R"(","type":"STRING"},"value":)" + (list ? R"(["a","b","c"])" : R"("none")") + "}";
}

// Structure `index` of a package; the first is the model of the package's first resource.
std::string DenseStructure(Sequence& random, const std::string& package, const std::string& name,
                           bool model) {
  const int fields = 3 + static_cast<int>(random.Next(8));
  const std::string resource = R"("Resource":{"value":")" + package + R"(.Res0"})";
  return R"({"name":")" + name + R"(","type":")" + (random.Next(5) ? "STRUCTURE" : "ERROR") +
         R"(","documentation":")" + Short(random) + R"(","metadata":)" +
         (model ? "{\"Model\":{}," + resource + "}"
                : Metadata(random, static_cast<int>(random.Next(2)))) +
         R"(,"enumerations":[)" + (random.Next(4) ? "" : DenseEnumeration(random, name + ".Mode")) +
         R"(],"constants":[)" +
         Join(static_cast<int>(random.Next(3)), [&](int c) { return DenseConstant(random, c); }) +
         R"(],"fields":[)" +
         Join(fields,
              [&](int f) {
                const std::string metadata =
                    model && f == 0 ? "{" + resource + R"(,"ModelKey":{}})"
                                    : Metadata(random, static_cast<int>(random.Next(3)));
                return DenseField(random, package, "f" + std::to_string(f), metadata);
              }) +
         "]}";
}

std::string DenseOperation(Sequence& random, const std::string& package, int index) {
  static const char* const kVerbs[] = {"get", "list", "create", "update", "delete", "watch"};
  const std::string metadata = random.Next(2) ? R"({"Resource":{"value":[")" + package +
                                                    R"(.Res0",")" + package + R"(.Res1"]}})"
                                              : Metadata(random, static_cast<int>(random.Next(2)));
  return R"({"name":")" + std::string(kVerbs[index % 6]) + std::to_string(index) +
         R"(","documentation":")" + Short(random) + R"(","metadata":)" + metadata +
         R"(,"params":[)" +
         Join(static_cast<int>(random.Next(5)),
              [&](int f) {
                return DenseField(random, package, "p" + std::to_string(f),
                                  Metadata(random, static_cast<int>(random.Next(2))));
              }) +
         R"(],"result":{"documentation":")" + Short(random) + R"(","metadata":{},"type":)" +
         DenseType(random, package, 1) + R"(},"errors":[)" +
         Join(static_cast<int>(random.Next(3)),
              [&](int) {
                return R"({"user_defined_type_name":")" + package + ".Item" +
                       std::to_string(random.Next(8)) + R"(","documentation":")" + Short(random) +
                       R"("})";
              }) +
         "]}";
}

std::string DenseService(Sequence& random, const std::string& package, int index) {
  const std::string name = package + ".svc" + std::to_string(index);
  return R"({"name":")" + name + R"(","documentation":")" + Short(random) + R"(","metadata":)" +
         Metadata(random, 1) + R"(,"enumerations":[)" +
         (random.Next(2) ? DenseEnumeration(random, name + ".Flag") : "") + R"(],"structures":[)" +
         (random.Next(2) ? DenseStructure(random, package, name + ".Options", false) : "") +
         R"(],"constants":[)" + (random.Next(2) ? DenseConstant(random, 0) : "") +
         R"(],"operations":[)" +
         Join(2 + static_cast<int>(random.Next(5)),
              [&](int o) { return DenseOperation(random, package, o); }) +
         "]}";
}

std::string DensePackage(Sequence& random, const std::string& name) {
  return R"({"name":")" + name + R"(","documentation":")" + Short(random) + R"(","metadata":)" +
         Metadata(random, 2) + R"(,"enumerations":[)" +
         Join(3,
              [&](int e) { return DenseEnumeration(random, name + ".Kind" + std::to_string(e)); }) +
         R"(],"structures":[)" +
         Join(8,
              [&](int s) {
                return DenseStructure(random, name, name + ".Item" + std::to_string(s), s == 0);
              }) +
         R"(],"services":[)" + Join(3, [&](int s) { return DenseService(random, name, s); }) + "]}";
}

std::string DenseMetamodel(std::size_t bytes, const std::string& component) {
  Sequence random(7);
  std::string packages;
  for (int p = 0; packages.size() < bytes; ++p) {
    if (p > 0) packages += ',';
    packages += DensePackage(random, component + ".area" + std::to_string(p));
  }
  return R"({"metamodel":{"component":{"name":")" + component + R"(","documentation":")" +
         Short(random) + R"(","metadata":{"Owner":{"value":"platform"}},"packages":[)" + packages +
         "]}}}";
}

// A list of zero to three distinct schemes of the six.
std::string SchemeList(Sequence& random) {
  const std::uint32_t first = random.Next(6);
  const int count = static_cast<int>(random.Next(4));
  return "[" +
         Join(count, [&](int i) { return "\"k" + std::to_string((first + 2 * i) % 6) + "\""; }) +
         "]";
}

// Operations are listed in no particular order; the third service of each package and every
// fourth package are not listed, so the parser makes them.
std::string DenseAuthenticationComponent(Sequence& random, const std::string& name, int packages,
                                         std::size_t bytes) {
  std::string operations, services, listed;
  const auto add = [](std::string& members, const std::string& member) {
    if (!members.empty()) members += ',';
    members += member;
  };
  for (int block = 0; block < packages || operations.size() + services.size() < bytes; block += 8) {
    std::vector<std::string> members;
    for (int p = block; p < block + 8; ++p) {
      const std::string package = name + ".area" + std::to_string(p);
      if (p % 4 != 3) add(listed, "\"" + package + "\":" + SchemeList(random));
      for (int s = 0; s < 3; ++s) {
        const std::string service = package + ".svc" + std::to_string(s);
        if (s != 2) add(services, "\"" + service + "\":" + SchemeList(random));
        for (int o = 0; o < 5; ++o)
          members.push_back("\"" + service + ".op" + std::to_string(o) +
                            "\":" + SchemeList(random));
      }
    }
    for (std::size_t i = members.size(); i > 1; --i)
      std::swap(members[i - 1], members[random.Next(static_cast<std::uint32_t>(i))]);
    for (const auto& member : members)
      add(operations, member);
    if (packages > 0 && block + 8 >= packages) break;
  }
  std::string schemes;
  for (int k = 0; k < 6; ++k) {
    add(schemes, "\"k" + std::to_string(k) + R"(":{"authenticationScheme":"com.bench.scheme)" +
                     std::to_string(k) +
                     (k < 4 ? R"(","type":"SESSIONLESS"})"
                            : R"(","type":"sessionAware","sessionManager":"com.bench.sessions"})"));
  }
  return R"({"name":")" + name + R"(","schemes":{)" + schemes + R"(},"operations":{)" + operations +
         R"(},"services":{)" + services + R"(},"packages":{)" + listed + "}}";
}

std::string DenseAuthentication(std::size_t bytes, const std::string& component) {
  Sequence random(11);
  return R"({"authentication":{"product":)" +
         DenseAuthenticationComponent(random, component + ".product", 8, 0) + R"(,"component":)" +
         DenseAuthenticationComponent(random, component, 0, bytes) + "}}";
}

std::string DenseCli(std::size_t bytes, const std::string& root) {
  Sequence random(13);
  static const char* const kFormatters[] = {"table", "json", "yaml", "csv", "plain", "fancy"};
  static const char* const kGenerics[] = {"", "optional", "list", "set", "map", "none"};
  static const char* const kTypes[] = {"string", "integer", "boolean", "list"};
  std::string nodes;
  const auto add = [&nodes](const std::string& node) {
    if (!nodes.empty()) nodes += ',';
    nodes += node;
  };
  const auto ns = [&](const std::string& path, const std::string& name) {
    add(R"({"type":"namespace","path":")" + path + R"(","name":")" + name + R"(","description":")" +
        Short(random) + R"("})");
  };
  for (int u = 0; nodes.size() < bytes; ++u) {
    // Units three levels below the root; every fourth unit declares its area again.
    const std::string area = "area" + std::to_string(u / 4);
    const std::string path = root + ".zone" + std::to_string(u / 16) + "." + area;
    const std::string unit = "unit" + std::to_string(u);
    ns(path, unit);
    if (u % 4 == 0) ns(root + ".zone" + std::to_string(u / 16), area);
    const int commands = 4 + static_cast<int>(random.Next(5));
    for (int c = 0; c < commands; ++c) {
      std::string options = Join(static_cast<int>(random.Next(7)), [&](int o) {
        return R"({"long_option":"opt-)" + std::to_string(o) + "\"," +
               (random.Next(2) ? R"("short_option":")" + std::string(1, 'a' + o) + "\"," : "") +
               R"("field_name":"f)" + std::to_string(o) + R"(","description":")" + Short(random) +
               R"(","type":")" + kTypes[random.Next(4)] + R"(","generic":")" +
               kGenerics[random.Next(6)] + R"("})";
      });
      std::string outputs = Join(1 + static_cast<int>(random.Next(3)), [&](int) {
        return R"({"structure_id":"com.bench.Item)" + std::to_string(random.Next(8)) +
               R"(","output_fields":[)" +
               Join(2 + static_cast<int>(random.Next(5)),
                    [&](int f) {
                      return R"({"field_name":"f)" + std::to_string(f) + R"(","display_name":"F)" +
                             std::to_string(f) + R"("})";
                    }) +
               "]}";
      });
      add(R"({"type":"command","path":")" + path + "." + unit + R"(","name":"cmd)" +
          std::to_string(c) + R"(","description":")" + Short(random) +
          R"(","node_metadata":{"service_id":"com.bench.area)" + std::to_string(u) + ".svc" +
          std::to_string(c % 3) + R"(","operation_id":"op)" + std::to_string(c) +
          R"(","formatter":")" + kFormatters[random.Next(6)] + R"(","options":[)" + options +
          R"(],"output_field_list":[)" + outputs + "]}}");
    }
  }
  return R"({"cli":[)" + nodes + "]}";
}

}  // namespace

std::string MetamodelDocument(std::size_t bytes, const std::string& component, Shape shape) {
  return shape == Shape::kDense ? DenseMetamodel(bytes, component)
                                : DocumentedMetamodel(bytes, component);
}

std::string AuthenticationDocument(std::size_t bytes, const std::string& component, Shape shape) {
  return shape == Shape::kDense ? DenseAuthentication(bytes, component)
                                : DocumentedAuthentication(bytes, component);
}

std::string CliDocument(std::size_t bytes, const std::string& root, Shape shape) {
  return shape == Shape::kDense ? DenseCli(bytes, root) : DocumentedCli(bytes, root);
}

std::string WriteTemp(const std::string& name, const std::string& text) {
  const char* dir = std::getenv("TMPDIR");
  const std::string path = std::string(dir && *dir ? dir : "/tmp") + "/ostra-bench-" + name;
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
  return path;
}

}  // namespace OstraBench
