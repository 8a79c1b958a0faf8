#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "internal/utf.h"
#include "ruvokit/rvkrn.h"

namespace {

TEST(CharNext, Utf16StepsOverPairsOnlyWithinTheCount) {
  const char16_t pair[] = {0xD83D, 0xDE00, u'a', 0};
  const char16_t lone_low[] = {0xDC00, 0xD800, 0};
  struct Case {
    const char16_t *text;
    uint32_t chars;
    ptrdiff_t step;
  };
  const Case cases[] = {
      {pair, 3, 2}, {pair, 2, 2}, {pair, 1, 1},  // a high surrogate at the count's end steps one
      {pair, 0, 0},                              // count 0 stays
      {pair + 2, 1, 1}, {lone_low, 2, 1}, {lone_low + 1, 2, 1},
  };
  for (const Case &c : cases) EXPECT_EQ(Rv_CharNextUTF16(c.text, c.chars) - c.text, c.step);
  EXPECT_EQ(Rv_CharNextUTF16(nullptr, 5), nullptr);
}

TEST(CharNext, Utf8StepsOverWhatWasGoodOfASequence) {
  struct Case {
    const char *bytes;
    uint32_t count;
    ptrdiff_t step;
  };
  const Case cases[] = {
      {"\xE2\x82\x41", 3, 2},          // broken 3-byte form: the lead and one continuation
      {"\xE2\x82\xAC", 3, 3},          // the euro sign
      {"\xE2\x82\xAC", 2, 2},          // held to the count
      {"\xF0\x9F\x98\x80", 4, 4},      // a 4-byte form
      {"\xC3\xA9", 1, 1},              // a count below 2 steps one
      {"\x80\x80", 2, 1},              // a stray continuation byte
      {"\xFF\x80", 2, 1},              // no lead at all
      {"A\x80", 2, 1},
  };
  for (const Case &c : cases) {
    EXPECT_EQ(Rv_CharNextUTF8(c.bytes, c.count) - c.bytes, c.step) << c.bytes;
  }
}

TEST(Utf8Conversion, TerminatorRules) {
  const char16_t text[] = u"h\u00e9";  // 3 bytes in UTF-8
  char out[8];
  std::memset(out, 'x', sizeof out);
  EXPECT_EQ(Rv_WideToUTF8(text, 0, out, 3), 3);  // exactly the byte count: no terminator
  EXPECT_EQ(out[3], 'x');
  EXPECT_EQ(Rv_WideToUTF8(text, 0, out, 8), 3);  // room behind: a terminator, not counted
  EXPECT_EQ(out[3], '\0');
  EXPECT_STREQ(out, "h\xC3\xA9");
  EXPECT_EQ(Rv_WideToUTF8(text, 0, nullptr, 0), 3);  // size query
  EXPECT_EQ(Rv_WideToUTF8(text, -1, nullptr, 0), 4);  // with the terminator
  EXPECT_EQ(Rv_WideToUTF8(text, 0, out, 2), 0);       // too short
  EXPECT_EQ(Rv_WinGetLastError(), 122u);
  EXPECT_EQ(Rv_WideToUTF8(nullptr, 0, out, 8), 0);

  char16_t wide[8];
  EXPECT_EQ(Rv_WideFromUTF8("h\xC3\xA9", 0, wide, 2), 2);
  EXPECT_EQ(Rv_WideFromUTF8("h\xC3\xA9", 0, wide, 8), 2);
  EXPECT_EQ(wide[1], 0xE9);
  EXPECT_EQ(wide[2], 0);
  EXPECT_EQ(Rv_WideFromUTF8("\xF0\x9F\x98\x80", 4, nullptr, 0), 2);
}

TEST(Utf8Conversion, IllFormedInputBecomesReplacementCharacters) {
  struct Case {
    const char *utf8;
    std::u16string wide;
  };
  const Case cases[] = {
      {"\xC0\xAF", u"\uFFFD\uFFFD"},           // overlong: each byte its own
      {"\xE2\x82" "A", u"\uFFFDA"},            // truncated: one for the subpart
      {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"}, // an encoded surrogate
      {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},  // above U+10FFFF
      {"\xF0\x9F\x98\x80", u"\U0001F600"},
  };
  for (const Case &c : cases) {
    char16_t out[16] = {};
    int32_t n = Rv_WideFromUTF8(c.utf8, 0, out, 16);
    EXPECT_EQ(std::u16string(out, n), c.wide) << c.utf8;
  }
  const char16_t lone[] = {u'a', 0xD800, u'b', 0};
  char out[16];
  int32_t n = Rv_WideToUTF8(lone, 0, out, sizeof out);
  EXPECT_EQ(std::string(out, n), "a\xEF\xBF\xBD" "b");
}

TEST(Utf8Conversion, CopyOfTheSameShape) {
  char out[4] = {'x', 'x', 'x', 'x'};
  EXPECT_EQ(Rv_UTF8ToUTF8("abcdef", 0, out, 4), 1);
  EXPECT_EQ(std::string(out, 4), "abcd");  // held, no room for a terminator
  EXPECT_EQ(Rv_UTF8ToUTF8("ab", 0, out, 4), 1);
  EXPECT_STREQ(out, "ab");
  EXPECT_EQ(Rv_UTF8ToUTF8(nullptr, 0, out, 4), ERROR_NULL_POINTER);
}

TEST(Helpers, NarrowFormsRefuseTextThatNeedsMoreBytesThanCharacters) {
  EXPECT_EQ(Rv_W2AHelper(nullptr), nullptr);
  EXPECT_EQ(Rv_A2WHelper(nullptr), nullptr);
  char *ascii = Rv_W2AHelper(u"plain");
  ASSERT_NE(ascii, nullptr);
  EXPECT_STREQ(ascii, "plain");
  Rv_W2AHelperFree(ascii);
  EXPECT_EQ(Rv_T2AHelper(u"\u00e9\u00e8"), nullptr);  // two bytes each
  EXPECT_EQ(Rv_WinGetLastError(), 122u);
  char16_t *wide = Rv_A2THelper("caf\xC3\xA9");
  ASSERT_NE(wide, nullptr);
  EXPECT_EQ(std::u16string(wide), u"caf\u00e9");
  Rv_A2THelperFree(wide);
  char16_t *copy = Rv_T2WHelper(u"same");
  EXPECT_EQ(std::u16string(copy), u"same");
  Rv_HeapTerm(copy);
  Rv_HeapTerm(nullptr);
  char16_t held[4];
  EXPECT_EQ(Rv_T2WConvert(held, u"abcdef", 4), held);
  EXPECT_EQ(std::u16string(held), u"abc");
}

TEST(Helpers, NarrowConversionErrorsMapToStatusCodes) {
  struct Case {
    uint32_t error;
    int32_t status;
  };
  const Case cases[] = {{122, ERROR_BUFFER_TOO_SMALL}, {87, ERROR_INVALID_PARAMETER},
                        {1004, ERROR_INVALID_PARAMETER}, {1113, -1488}, {5, FAILURE}};
  for (const Case &c : cases) EXPECT_EQ(rv::text::narrow_conversion_status(c.error), c.status);
  rv::text::WideArg arg("x\xC3\xA9");
  EXPECT_EQ(arg.status(), SUCCESS);
  EXPECT_EQ(std::u16string(arg.get()), u"x\u00e9");
}

}  // namespace
