// Twins in the tables of kernels, inside the library alone.
#pragma once

namespace dorbmp {

// What a table has for a name that is defined in builds with AVX2 alone: null in the others.
#ifdef DORBMP_AVX2
template <auto* Twin>
constexpr auto* if_built = Twin;
#else
template <auto* Twin>
constexpr decltype(Twin) if_built = nullptr;
#endif

}  // namespace dorbmp
