// Vector forms of the resample stages. Each gives exactly the elements of the
// plain stage it stands in for, and answers false (leaving the work to the
// plain stage) when it doesn't apply or the vector level is plain.
#pragma once
#include <cstdint>
#include <type_traits>

#include "transform/resample_rows.h"

namespace rv::resample::fast {

template <class T>
bool h_area(const T *, int64_t, T *, int64_t, int, int32_t, bool) noexcept {
  return false;
}
template <class T>
bool h_ramp(const T *, int64_t, T *, int64_t, int, int64_t, int64_t) noexcept {
  return false;
}
template <class T>
bool ramp_ready(const T *, int64_t) noexcept {
  return false;
}
template <class T>
void ramp_row(const T *, const T *, T *, int64_t, int64_t, int64_t) noexcept {}
template <class T, class S>
bool add_row(const T *, S *, int64_t, uint64_t) noexcept {
  return false;
}
template <class T, class S>
bool divide_row(const S *, T *, int64_t, S) noexcept {
  return false;
}
template <class T>
bool spline_rows(const float *, const float *, const float *, const float *, const SplineWeights &, T *,
                 int64_t) noexcept {
  return false;
}

}  // namespace rv::resample::fast
