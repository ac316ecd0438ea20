// The error category of the message formatter.
#pragma once

#include <system_error>

namespace Ostra {

enum class FormatErrc {
  kArgumentIndexOutOfRange = 3,  // a placeholder names an argument that was not given
};

// Named "ostra.format".
const std::error_category& GetFormatCategory();

inline std::error_code make_error_code(FormatErrc code) {
  return {static_cast<int>(code), GetFormatCategory()};
}

}  // namespace Ostra
