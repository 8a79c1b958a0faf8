#include <gtest/gtest.h>

#include "support/bitmaps.h"

namespace {

TEST(PlaybackParms, CopiedWithColoursTranslated) {
  rvtest::Bitmap src, dst;
  ASSERT_TRUE(rvtest::make(src.get(), 2, 2, 24));
  ASSERT_TRUE(rvtest::make(dst.get(), 2, 2, 1));
  dst->pPalette = Rv_CreateFixedPalette(1);
  src->nLeft = 3;
  src->nTop = 4;
  src->nDelay = 50;
  src->nDisposalMethod = 2;
  src->crBackground = RV_RGB(250, 250, 250);
  src->crTransparent = RV_RGB(5, 5, 5);
  src->uFlags |= BITMAPFLAG_TRANSPARENCY;
  ASSERT_EQ(Rv_CopyPlaybackParms(dst.get(), src.get()), SUCCESS);
  EXPECT_EQ(dst->nLeft, 3);
  EXPECT_EQ(dst->nTop, 4);
  EXPECT_EQ(dst->nDelay, 50);
  EXPECT_EQ(dst->nDisposalMethod, 2);
  EXPECT_TRUE(dst->uFlags & BITMAPFLAG_TRANSPARENCY);
  EXPECT_EQ(dst->crBackground, RV_PALETTE_INDEX(1));  // white, in the 2-colour palette
  EXPECT_EQ(dst->crTransparent, RV_PALETTE_INDEX(0));
  EXPECT_EQ(Rv_CopyPlaybackParms(nullptr, src.get()), ERROR_INVALID_PARAMETER);
}

}  // namespace
