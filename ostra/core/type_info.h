// TypeInfo<I>::name(): the identifier of service interface I. The bindings specialize it for every
// interface they declare.
#pragma once

#include <string>

namespace Ostra {
namespace Data {

template <class I>
struct TypeInfo;

}  // namespace Data
}  // namespace Ostra
