#include <gtest/gtest.h>

#include <string>
#include <unistd.h>

#include "internal/utf.h"
#include "platform/file.h"
#include "ruvokit/rvkrn.h"
#include "system/libnames.h"

namespace {

std::string narrow(const char16_t *text) {
  std::string out;
  EXPECT_TRUE(rv::utf::to_utf8(text, &out));
  return out;
}

std::u16string wide(const std::string &text) { return std::u16string(text.begin(), text.end()); }

TEST(LibNames, NamesByPlatformAndId) {
  struct Case {
    int32_t platform, id, status;
    const char *name;
  };
  const Case cases[] = {
      {0, 0, SUCCESS, "Ruvokit.Codecs.DLL"},
      {0, 6, SUCCESS, "Ruvokit.Codecs.Cmp.CmpCodec.DLL"},
      {0, 7, SUCCESS, "Ruvokit.Codecs.Fax.FaxCodec.DLL"},
      // ids that platform 0 sends to native parts
      {0, 25, SUCCESS, "Ruvokit.Imaging.Native.DLL"},
      {0, 56, SUCCESS, "Ruvokit.Pdf.Native.DLL"},
      {0, 87, SUCCESS, "Ruvokit.Ocr.Native.DLL"},
      {0, 80, SUCCESS, "Ruvokit.Barcode.Native.DLL"},
      {0, 50, SUCCESS, "Ruvokit.Svg.Native.DLL"},
      {0, 53, SUCCESS, "Ruvokit.Document.Native.DLL"},
      {0, 131, SUCCESS, "Ruvokit.Document.Attachments.DLL"},
      {0, 132, ERROR_FEATURE_NOT_SUPPORTED, nullptr},
      {0, INT32_MAX, ERROR_FEATURE_NOT_SUPPORTED, nullptr},
      {0, -1, ERROR_FEATURE_NOT_SUPPORTED, nullptr},
      {0, INT32_MIN, ERROR_FEATURE_NOT_SUPPORTED, nullptr},
      // platform 8 has only the module of id 0
      {8, 0, SUCCESS, "Ruvokit.Codecs.DLL"},
      {8, 7, SUCCESS, "Ruvokit.Codecs.DLL"},
      {8, -1, ERROR_FEATURE_NOT_SUPPORTED, nullptr},
      // platform 49 has no native parts
      {49, 6, SUCCESS, "Ruvokit.Codecs.Cmp.CmpCodec.DLL"},
      {49, 25, ERROR_FEATURE_NOT_SUPPORTED, nullptr},
      {49, -3, ERROR_FEATURE_NOT_SUPPORTED, nullptr},
      {1, 6, ERROR_FEATURE_NOT_SUPPORTED, nullptr},
      {-1, 0, ERROR_FEATURE_NOT_SUPPORTED, nullptr},
  };
  for (const Case &c : cases) {
    char16_t name[64] = u"unchanged";
    EXPECT_EQ(Rv_GetLibName(c.platform, c.id, name, 64), c.status) << c.platform << "/" << c.id;
    EXPECT_EQ(narrow(name), c.name ? c.name : "unchanged") << c.platform << "/" << c.id;
  }
}

TEST(LibNames, BufferMustHoldNameAndTerminator) {
  char16_t name[40] = u"unchanged";
  // "Ruvokit.Codecs.Cmp.CmpCodec.DLL" is 31 characters.
  EXPECT_EQ(Rv_GetLibName(0, 6, name, 31), ERROR_BUFFER_TOO_SMALL);
  EXPECT_EQ(narrow(name), "unchanged");
  EXPECT_EQ(Rv_GetLibName(0, 6, name, 0), ERROR_BUFFER_TOO_SMALL);
  EXPECT_EQ(Rv_GetLibName(0, 6, name, 32), SUCCESS);
  EXPECT_EQ(narrow(name), "Ruvokit.Codecs.Cmp.CmpCodec.DLL");
  EXPECT_EQ(Rv_GetLibName(0, 6, nullptr, 32), ERROR_INVALID_PARAMETER);
}

TEST(LibNames, FilesOfModules) {
  struct Case {
    const char16_t *name;
    int32_t status;
    const char *file;
  };
  const Case cases[] = {
      {u"Ruvokit.Codecs.Fax.FaxCodec.DLL", SUCCESS, "libRuvokit.Codecs.Fax.FaxCodec.so"},
      {u"Ruvokit.Codecs.dll", SUCCESS, "libRuvokit.Codecs.so"},
      {u"Ruvokit.Codecs", SUCCESS, "libRuvokit.Codecs.so"},
      {u"/opt/rv/Ruvokit.Ocr.DLL", SUCCESS, "/opt/rv/libRuvokit.Ocr.so"},
      {u"plug\\Ruvokit.Ocr.DLL", SUCCESS, "plug\\libRuvokit.Ocr.so"},
      {u"libz.so.1", SUCCESS, "libz.so.1"},
      {u"mods/libRuvokit.Ocr.so", SUCCESS, "mods/libRuvokit.Ocr.so"},
      {u"", ERROR_INVALID_PARAMETER, ""},
      {u"/opt/rv/", ERROR_INVALID_PARAMETER, ""},
      {nullptr, ERROR_INVALID_PARAMETER, ""},
  };
  for (const Case &c : cases) {
    std::string file;
    EXPECT_EQ(rv::modules::module_file(c.name, &file), c.status) << c.file;
    EXPECT_EQ(file, c.file);
  }
  EXPECT_EQ(Rv_SkipPath(nullptr), nullptr);
  const char16_t *path = u"a:b\\c/d.DLL";
  EXPECT_EQ(Rv_SkipPath(path), path + 6);
}

TEST(LibNames, FullPathOfAModuleInAGivenDirectory) {
  const std::string dir = rv::os::temp_directory() + "rvkrn_libnames_" + std::to_string(getpid());
  ASSERT_TRUE(rv::os::create_directory(dir.c_str()));
  const std::string file = dir + "/libRuvokit.Test.so";
  rv::os::File *made = rv::os::File::open(file.c_str(), rv::os::kFileWrite,
                                          rv::os::Disposition::CreateNew, rv::os::DeleteOnClose::No);
  ASSERT_NE(made, nullptr);
  made->release();

  char16_t path[512];
  const std::u16string name = wide(dir + "/Ruvokit.Test.DLL");
  EXPECT_EQ(Rv_GetLibFullPath(name.c_str(), path, 512), SUCCESS);
  EXPECT_EQ(narrow(path), file);
  EXPECT_EQ(Rv_GetLibFullPath(name.c_str(), path, static_cast<uint32_t>(file.size())),
            ERROR_BUFFER_TOO_SMALL);
  EXPECT_EQ(Rv_GetLibFullPath(wide(dir + "/Ruvokit.Other.DLL").c_str(), path, 512),
            ERROR_FILE_NOT_FOUND_10);
  EXPECT_EQ(Rv_GetLibFullPath(u"Ruvokit.Other.DLL", path, 512), ERROR_FILE_NOT_FOUND_10);
  EXPECT_EQ(Rv_GetLibFullPath(nullptr, path, 512), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_GetLibFullPath(name.c_str(), nullptr, 512), ERROR_INVALID_PARAMETER);

  EXPECT_EQ(Rv_IsMissingFile(wide(file).c_str()), FALSE);
  EXPECT_EQ(Rv_IsMissingFile(wide(dir).c_str()), TRUE);  // a directory is no file
  EXPECT_EQ(Rv_IsMissingFile(wide(dir + "/nothing").c_str()), TRUE);
  EXPECT_EQ(Rv_IsMissingFile(u""), TRUE);
  EXPECT_EQ(Rv_IsMissingFile(nullptr), TRUE);

  EXPECT_TRUE(rv::os::delete_file(file.c_str()));
  rmdir(dir.c_str());
}

}  // namespace
