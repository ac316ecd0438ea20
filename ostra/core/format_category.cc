#include "ostra/core/format_category.h"

#include <string>

namespace Ostra {
namespace {

class FormatCategory : public std::error_category {
 public:
  const char* name() const noexcept override { return "ostra.format"; }
  std::string message(int value) const override {
    switch (static_cast<FormatErrc>(value)) {
      case FormatErrc::kArgumentIndexOutOfRange:
        return "argument index out of range";
    }
    return "unknown format error";
  }
};

}  // namespace

const std::error_category& GetFormatCategory() {
  static const FormatCategory category;
  return category;
}

}  // namespace Ostra
