#include <gtest/gtest.h>

#include <string>

#include "internal/bitmap_hooks.h"
#include "transform/pictures.h"

namespace {

// Records what the region and overlay steps of the transforms are told.
std::vector<std::string> g_calls;
int32_t g_overlay_result = SUCCESS;

int32_t region_flip(BITMAPRECORD *) { g_calls.push_back("region flip"); return SUCCESS; }
int32_t region_reverse(BITMAPRECORD *) { g_calls.push_back("region reverse"); return SUCCESS; }
int32_t region_rotate(BITMAPRECORD *, int32_t w, int32_t h, int32_t angle) {
  g_calls.push_back("region rotate " + std::to_string(w) + "x" + std::to_string(h) + " " + std::to_string(angle));
  return SUCCESS;
}
int32_t overlays_flip(BITMAPRECORD *, bool transposed) {
  g_calls.push_back(std::string("overlays flip") + (transposed ? " transposed" : ""));
  return g_overlay_result;
}
int32_t overlays_reverse(BITMAPRECORD *, bool transposed) {
  g_calls.push_back(std::string("overlays reverse") + (transposed ? " transposed" : ""));
  return g_overlay_result;
}
int32_t overlays_rotate(BITMAPRECORD *, int32_t angle, POINT centre, POINT new_centre) {
  g_calls.push_back("overlays rotate " + std::to_string(angle) + " " + std::to_string(centre.x) + "," +
                    std::to_string(centre.y) + " to " + std::to_string(new_centre.x) + "," +
                    std::to_string(new_centre.y));
  return SUCCESS;
}

const rv::hooks::RegionTransforms kRegion{region_flip, region_reverse, region_rotate};
const rv::hooks::OverlayTransforms kOverlays{overlays_flip, overlays_reverse, overlays_rotate};

// A bitmap that claims a region and overlays, which only the recording
// functions above ever see.
struct Hooked {
  rvtest::Bitmap b;
  int marker = 0;
  Hooked() {
    rvtest::make(b.get(), 6, 4, 8);
    rvtest::fill_random(b.get(), 1);
    b->pRgnInfo = &marker;
    b->hOverlays = &marker;
    g_calls.clear();
    g_overlay_result = SUCCESS;
    rv::hooks::set_region_transforms(&kRegion);
    rv::hooks::set_overlay_transforms(&kOverlays);
  }
  ~Hooked() {
    rv::hooks::set_region_transforms(nullptr);
    rv::hooks::set_overlay_transforms(nullptr);
    b->pRgnInfo = nullptr;
    b->hOverlays = nullptr;
  }
};

TEST(TransformHooks, RegionAndOverlaysFollowThePixels) {
  struct Case {
    int32_t view;
    int32_t (*fn)(BITMAPRECORD *);
    std::vector<std::string> calls;
  };
  const Case cases[] = {
      {1, Rv_FlipBitmap, {"region flip", "overlays flip"}},
      {6, Rv_FlipBitmap, {"region reverse", "overlays reverse transposed"}},  // rows shown as columns
      {1, [](BITMAPRECORD *b) { return Rv_RotateBitmap90(b, TRUE, 0, 100); },
       {"region rotate 6x4 9000", "overlays rotate 9000 3,2 to 2,3"}},
      {4, [](BITMAPRECORD *b) { return Rv_RotateBitmap90(b, FALSE, 0, 100); },
       {"region rotate 6x4 -9000", "overlays rotate -9000 3,2 to 2,3"}},
      {1, [](BITMAPRECORD *b) { return Rv_RotateBitmap(b, 18000, 0, 0); },
       {"region rotate 6x4 18000", "overlays rotate 18000 3,2 to 3,2"}},
  };
  for (const Case &c : cases) {
    Hooked h;
    h.b->nViewPerspective = c.view;
    ASSERT_EQ(c.fn(h.b.get()), SUCCESS);
    EXPECT_EQ(g_calls, c.calls) << c.view;
  }
}

// When the overlays can't follow, the flip is undone: pixels and region.
TEST(TransformHooks, AFailedOverlayStepUndoesTheFlip) {
  Hooked h;
  const auto before = rvtest::grid_of(h.b.get());
  g_overlay_result = ERROR_NO_MEMORY;
  EXPECT_EQ(Rv_IntFlipBitmap(h.b.get()), ERROR_NO_MEMORY);
  EXPECT_EQ(g_calls, (std::vector<std::string>{"region flip", "overlays flip", "region flip"}));
  EXPECT_EQ(rvtest::grid_of(h.b.get()), before);
}

}  // namespace
