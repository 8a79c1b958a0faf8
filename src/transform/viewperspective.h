// The view perspective steps: where the first stored row and column are shown
// after the displayed picture is flipped, reversed or turned a quarter
// clockwise. 0 for a value outside 1 to 8.
#pragma once
#include <cstdint>

namespace rv::xform {

int32_t flipped_view(int32_t view) noexcept;
int32_t reversed_view(int32_t view) noexcept;
int32_t quarter_turned_view(int32_t view) noexcept;

}  // namespace rv::xform
