#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "internal/utf.h"
#include "platform/error.h"
#include "platform/file.h"
#include "platform/module.h"
#include "ruvokit/rvkrn.h"

namespace {

std::string narrow(const char16_t *text) {
  std::string out;
  EXPECT_TRUE(rv::utf::to_utf8(text, &out));
  return out;
}

std::string message(int32_t code, uint32_t length = 1024, int32_t with_path = FALSE) {
  char16_t text[1024];
  EXPECT_EQ(Rv_GetFriendlyErrorMessage(code, text, length, with_path), SUCCESS);
  return narrow(text);
}

constexpr const char kUnrecognized[] = "Internal or Unrecognized Error!";

TEST(Messages, TextOfCodes) {
  struct Case {
    int32_t code;
    const char *text;
  };
  const Case cases[] = {
      {105, kUnrecognized}, {-1876, kUnrecognized}, {-17, kUnrecognized},
      {-1874, kUnrecognized}, {INT32_MIN, kUnrecognized}, {INT32_MAX, kUnrecognized},
      {SUCCESS, "Success"}, {FAILURE, "Function not successful"},
      {ERROR_FEATURE_NOT_SUPPORTED,
       "Feature not supported.\r\nSupport for the requested feature is unavailable.\r\n"
       "This could be due to:\r\n  * The file format does not support this feature.\r\n"
       "  * The required dll is missing from your system."},
      {ERROR_LIBRARY_MISSING_356, "The Ruvokit.Codecs.Cmp.CmpCodec.DLL library is missing."},
      {ERROR_LIBRARY_MISSING_357, "The Ruvokit.Codecs.Fax.FaxCodec.DLL library is missing."},
      {ERROR_LIBRARY_MISSING_1484, "The Ruvokit.Ocr.Native.DLL library is missing."},
      {ERROR_LIBID_24_DIALOGS_COULD_NOT, "The dialogs could not load Ruvokit.Core.Resources.DLL"},
      {ERROR_LIBID_24_S_INVALID_CORRUPTED, "Ruvokit.Core.Resources.DLL is invalid or corrupted"},
      {ERROR_LIBID_55_S_LIBRARY_INVALID,
       "The Ruvokit.Pdf.Engine.DLL library is invalid or out of date."},
      {ERROR_LIBID_24_FAILED_LOAD_S, "Failed to load %s"},  // names no module: copied as it is
  };
  for (const Case &c : cases) EXPECT_EQ(message(c.code), c.text) << c.code;
}

TEST(Messages, CopyHeldToTheLength) {
  EXPECT_EQ(message(SUCCESS, 5), "Succ");
  EXPECT_EQ(message(SUCCESS, 8), "Success");
  EXPECT_EQ(message(SUCCESS, 1), "");
  EXPECT_EQ(message(ERROR_LIBRARY_MISSING_356, 12), "The Ruvokit");

  char16_t untouched[4] = {u'x', u'y', 0, 0};
  EXPECT_EQ(Rv_GetFriendlyErrorMessage(SUCCESS, untouched, 0, FALSE), SUCCESS);
  EXPECT_EQ(untouched[0], u'x');
  EXPECT_EQ(Rv_GetFriendlyErrorMessage(SUCCESS, nullptr, 10, FALSE), ERROR_INVALID_PARAMETER);
}

TEST(Messages, EveryRowReadsBack) {
  const int32_t named[] = {ERROR_LIBID_24_DIALOGS_COULD_NOT, ERROR_LIBID_24_S_INVALID_CORRUPTED,
                           ERROR_LIBID_55_S_LIBRARY_INVALID};
  auto check_row = [&](int32_t code, const char *text) {
    uint32_t platform = 99;
    int32_t lib_id = 0;
    Rv_GetLibIdFromErrorCode(code, &platform, &lib_id);
    EXPECT_EQ(platform, 0u);
    EXPECT_EQ(lib_id, -1) << code;
    if (std::find(std::begin(named), std::end(named), code) == std::end(named)) {
      EXPECT_EQ(message(code), text) << code;
    }
  };
  auto check_missing = [](int32_t code) {
    uint32_t platform = 99;
    int32_t lib_id = -1;
    Rv_GetLibIdFromErrorCode(code, &platform, &lib_id);
    EXPECT_EQ(platform, 0u);
    char16_t name[512];
    ASSERT_EQ(Rv_GetLibName(static_cast<int32_t>(platform), lib_id, name, 512), SUCCESS) << code;
    EXPECT_EQ(message(code), "The " + narrow(name) + " library is missing.");
  };
#define RV_STATUS(name, value, text) check_row(value, text);
#define RV_STATUS_LIBRARY_MISSING(name, value) check_missing(value);
#include "ruvokit/rvstatus.def"
#undef RV_STATUS
#undef RV_STATUS_LIBRARY_MISSING

  Rv_GetLibIdFromErrorCode(ERROR_LIBRARY_MISSING_356, nullptr, nullptr);  // no outputs: no harm
}

TEST(Messages, WithPathNamesTheFileBesideTheKernel) {
  const std::string file = rv::os::kernel_directory() + "libRuvokit.Codecs.Fax.FaxCodec.so";
  rv::os::delete_file(file.c_str());  // left by an interrupted run
  const char plain[] = "The Ruvokit.Codecs.Fax.FaxCodec.DLL library is missing.";
  rv::os::set_last_error(1234);
  EXPECT_EQ(message(ERROR_LIBRARY_MISSING_357, 1024, TRUE), plain);
  EXPECT_EQ(rv::os::last_error(), 1234u);  // the search leaves the thread's error alone

  rv::os::File *made = rv::os::File::open(file.c_str(), rv::os::kFileWrite,
                                          rv::os::Disposition::CreateNew, rv::os::DeleteOnClose::No);
  ASSERT_NE(made, nullptr);
  made->release();
  EXPECT_EQ(message(ERROR_LIBRARY_MISSING_357, 1024, TRUE), "The " + file + " library is missing.");
  EXPECT_EQ(message(ERROR_LIBRARY_MISSING_357, 1024, FALSE), plain);
  EXPECT_TRUE(rv::os::delete_file(file.c_str()));
}

}  // namespace
