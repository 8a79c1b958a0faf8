// Module names: the toolkit's modules by platform and id, and the files that
// hold them on this system.
#include "system/libnames.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "internal/utf.h"
#include "platform/file.h"
#include "platform/module.h"
#include "ruvokit/rvstatus.h"
#include "ruvokit/rvsystem.h"

namespace {

// The modules by id. Ids 25, 50, 53, 56, 80 and 87 have no row: on platform 0
// they name native parts (kNativeParts below).
constexpr const char16_t *kModules[] = {
    u"Ruvokit.Codecs",                    // 0
    u"Ruvokit.Codecs.Bmp.BmpCodec",       // 1
    u"Ruvokit.Codecs.Tif.TifCodec",       // 2
    u"Ruvokit.Codecs.Jpeg.JpegCodec",     // 3
    u"Ruvokit.Codecs.Png.PngCodec",       // 4
    u"Ruvokit.Codecs.Gif.GifCodec",       // 5
    u"Ruvokit.Codecs.Cmp.CmpCodec",       // 6
    u"Ruvokit.Codecs.Fax.FaxCodec",       // 7
    u"Ruvokit.Codecs.Pcx.PcxCodec",       // 8
    u"Ruvokit.Codecs.Tga.TgaCodec",       // 9
    u"Ruvokit.Codecs.Psd.PsdCodec",       // 10
    u"Ruvokit.Codecs.J2k.J2kCodec",       // 11
    u"Ruvokit.Codecs.Jbig.JbigCodec",     // 12
    u"Ruvokit.Codecs.Jbig2.Jbig2Codec",   // 13
    u"Ruvokit.Codecs.Dicom.DicomCodec",   // 14
    u"Ruvokit.Codecs.Pdf.PdfCodec",       // 15
    u"Ruvokit.Codecs.Svg.SvgCodec",       // 16
    u"Ruvokit.Codecs.Wmf.WmfCodec",       // 17
    u"Ruvokit.Codecs.Raw.RawCodec",       // 18
    u"Ruvokit.Codecs.Ico.IcoCodec",       // 19
    u"Ruvokit.Codecs.Eps.EpsCodec",       // 20
    u"Ruvokit.Codecs.WebP.WebPCodec",     // 21
    u"Ruvokit.Codecs.Heif.HeifCodec",     // 22
    u"Ruvokit.Codecs.Xps.XpsCodec",       // 23
    u"Ruvokit.Core.Resources",            // 24
    nullptr,                              // 25
    u"Ruvokit.ImageProcessing.Core",      // 26
    u"Ruvokit.ImageProcessing.Color",     // 27
    u"Ruvokit.ImageProcessing.Effects",   // 28
    u"Ruvokit.ImageProcessing.Document",  // 29
    u"Ruvokit.ImageProcessing.Medical",   // 30
    u"Ruvokit.Drawing",                   // 31
    u"Ruvokit.Annotations",               // 32
    u"Ruvokit.Dialogs",                   // 33
    u"Ruvokit.Vector",                    // 34
    u"Ruvokit.Barcode",                   // 35
    u"Ruvokit.Ocr",                       // 36
    u"Ruvokit.Forms",                     // 37
    u"Ruvokit.Twain",                     // 38
    u"Ruvokit.Wia",                       // 39
    u"Ruvokit.Capture",                   // 40
    u"Ruvokit.Controls",                  // 41
    u"Ruvokit.Medical.Viewer",            // 42
    u"Ruvokit.ColorConversion",           // 43
    u"Ruvokit.Codecs.Dxf.DxfCodec",       // 44
    u"Ruvokit.Codecs.Cgm.CgmCodec",       // 45
    u"Ruvokit.Codecs.Plt.PltCodec",       // 46
    u"Ruvokit.Codecs.Doc.DocCodec",       // 47
    u"Ruvokit.Codecs.Xls.XlsCodec",       // 48
    u"Ruvokit.Codecs.Ppt.PptCodec",       // 49
    nullptr,                              // 50
    u"Ruvokit.Codecs.Rtf.RtfCodec",       // 51
    u"Ruvokit.Codecs.Txt.TxtCodec",       // 52
    nullptr,                              // 53
    u"Ruvokit.Codecs.Html.HtmlCodec",     // 54
    u"Ruvokit.Pdf.Engine",                // 55
    nullptr,                              // 56
    u"Ruvokit.Codecs.Afp.AfpCodec",       // 57
    u"Ruvokit.Codecs.Djvu.DjvuCodec",     // 58
    u"Ruvokit.Codecs.Jxr.JxrCodec",       // 59
    u"Ruvokit.Codecs.Exr.ExrCodec",       // 60
    u"Ruvokit.Codecs.Hdr.HdrCodec",       // 61
    u"Ruvokit.Codecs.Dpx.DpxCodec",       // 62
    u"Ruvokit.Codecs.Fits.FitsCodec",     // 63
    u"Ruvokit.Codecs.Flc.FlcCodec",       // 64
    u"Ruvokit.Codecs.Pnm.PnmCodec",       // 65
    u"Ruvokit.Codecs.Ras.RasCodec",       // 66
    u"Ruvokit.Codecs.Sgi.SgiCodec",       // 67
    u"Ruvokit.Codecs.Pct.PctCodec",       // 68
    u"Ruvokit.Codecs.Xpm.XpmCodec",       // 69
    u"Ruvokit.Codecs.Wpg.WpgCodec",       // 70
    u"Ruvokit.Codecs.Cals.CalsCodec",     // 71
    u"Ruvokit.Codecs.Mrc.MrcCodec",       // 72
    u"Ruvokit.Codecs.Jpm.JpmCodec",       // 73
    u"Ruvokit.Codecs.Iff.IffCodec",       // 74
    u"Ruvokit.Codecs.Ani.AniCodec",       // 75
    u"Ruvokit.Codecs.Xbm.XbmCodec",       // 76
    u"Ruvokit.Codecs.Emf.EmfCodec",       // 77
    u"Ruvokit.Codecs.Dcx.DcxCodec",       // 78
    u"Ruvokit.Codecs.Fpx.FpxCodec",       // 79
    nullptr,                              // 80
    u"Ruvokit.Codecs.Pcd.PcdCodec",       // 81
    u"Ruvokit.Codecs.Sff.SffCodec",       // 82
    u"Ruvokit.Codecs.Ecw.EcwCodec",       // 83
    u"Ruvokit.Codecs.Jls.JlsCodec",       // 84
    u"Ruvokit.Codecs.Mng.MngCodec",       // 85
    u"Ruvokit.Codecs.Dwf.DwfCodec",       // 86
    nullptr,                              // 87
    u"Ruvokit.Codecs.Dwg.DwgCodec",       // 88
    u"Ruvokit.Codecs.Dgn.DgnCodec",       // 89
    u"Ruvokit.Codecs.Shp.ShpCodec",       // 90
    u"Ruvokit.Codecs.Pcl.PclCodec",       // 91
    u"Ruvokit.Codecs.Ps.PsCodec",         // 92
    u"Ruvokit.Codecs.Epub.EpubCodec",     // 93
    u"Ruvokit.Codecs.Mobi.MobiCodec",     // 94
    u"Ruvokit.Codecs.Pst.PstCodec",       // 95
    u"Ruvokit.Codecs.Eml.EmlCodec",       // 96
    u"Ruvokit.Codecs.Vcf.VcfCodec",       // 97
    u"Ruvokit.Codecs.Pub.PubCodec",       // 98
    u"Ruvokit.Codecs.Cin.CinCodec",       // 99
    u"Ruvokit.Document.Writer",           // 100
    u"Ruvokit.Document.Converter",        // 101
    u"Ruvokit.Pdf.Compressor",            // 102
    u"Ruvokit.Printer",                   // 103
    u"Ruvokit.Spelling",                  // 104
    u"Ruvokit.Recognition.Icr",           // 105
    u"Ruvokit.Recognition.Omr",           // 106
    u"Ruvokit.Multimedia",                // 107
    u"Ruvokit.Security",                  // 108
    u"Ruvokit.Streams",                   // 109
    u"Ruvokit.Codecs.Kdc.KdcCodec",       // 110
    u"Ruvokit.Codecs.Gem.GemCodec",       // 111
    u"Ruvokit.Codecs.Msp.MspCodec",       // 112
    u"Ruvokit.Codecs.Mac.MacCodec",       // 113
    u"Ruvokit.Codecs.Img.ImgCodec",       // 114
    u"Ruvokit.Codecs.Clp.ClpCodec",       // 115
    u"Ruvokit.Codecs.Cut.CutCodec",       // 116
    u"Ruvokit.Codecs.Xwd.XwdCodec",       // 117
    u"Ruvokit.Codecs.Sct.SctCodec",       // 118
    u"Ruvokit.Codecs.Smp.SmpCodec",       // 119
    u"Ruvokit.Codecs.Itg.ItgCodec",       // 120
    u"Ruvokit.Codecs.Jng.JngCodec",       // 121
    u"Ruvokit.Codecs.Dds.DdsCodec",       // 122
    u"Ruvokit.Codecs.Ktx.KtxCodec",       // 123
    u"Ruvokit.Codecs.Avif.AvifCodec",     // 124
    u"Ruvokit.Codecs.Jxl.JxlCodec",       // 125
    u"Ruvokit.Codecs.Ora.OraCodec",       // 126
    u"Ruvokit.Codecs.Xcf.XcfCodec",       // 127
    u"Ruvokit.Codecs.Odt.OdtCodec",       // 128
    u"Ruvokit.Codecs.Vsd.VsdCodec",       // 129
    u"Ruvokit.Codecs.Msg.MsgCodec",       // 130
    u"Ruvokit.Document.Attachments",      // 131
};

// The native parts of modules, which platform 0 reaches through a few ids
// (kNativeIds). A part is named after its module with ".Native" behind, but for
// the engines that ship under names of their own (38 to 46 and 55).
constexpr const char16_t *kNativeParts[] = {
    nullptr, nullptr, nullptr, nullptr, nullptr,  // 0-4
    u"Ruvokit.Pdf",                               // 5
    u"Ruvokit.Ocr",                               // 6
    u"Ruvokit.Barcode",                           // 7
    nullptr,                                      // 8
    u"Ruvokit.Svg",                               // 9
    nullptr, nullptr, nullptr, nullptr, nullptr,  // 10-14
    nullptr, nullptr, nullptr, nullptr, nullptr,  // 15-19
    nullptr, nullptr, nullptr,                    // 20-22
    u"Ruvokit.Document",                          // 23
    nullptr, nullptr, nullptr, nullptr, nullptr,  // 24-28
    nullptr,                                      // 29
    u"Ruvokit.Imaging",                           // 30
    nullptr, nullptr, nullptr, nullptr, nullptr,  // 31-35
    nullptr, nullptr,                             // 36-37
    u"Ruvokit.Ocr.Engine.Core",                   // 38
    u"Ruvokit.Ocr.Engine.Languages",              // 39
    u"Ruvokit.Ocr.Engine.Icr",                    // 40
    u"Ruvokit.Ocr.Engine.Omr",                    // 41
    u"Ruvokit.Ocr.Engine.Spelling",               // 42
    u"Ruvokit.Ocr.Engine.Asian",                  // 43
    u"Ruvokit.Ocr.Engine.Arabic",                 // 44
    u"Ruvokit.Ocr.Engine.Hebrew",                 // 45
    u"Ruvokit.Ocr.Engine.Layout",                 // 46
    nullptr, nullptr, nullptr, nullptr, nullptr,  // 47-51
    nullptr, nullptr, nullptr,                    // 52-54
    u"Ruvokit.Pdf.Engine",                        // 55
};

constexpr bool keeps_own_name(size_t part) noexcept {
  return (part >= 38 && part <= 46) || part == 55;
}

// The ids of platform 0 that name a native part, and the part.
struct NativeId {
  int32_t id;
  size_t part;
};
constexpr NativeId kNativeIds[] = {{25, 30}, {56, 5}, {87, 6}, {80, 7}, {50, 9}, {53, 23}};

constexpr int32_t kPlatformStandard = 0;
constexpr int32_t kPlatformSingleModule = 8;  // only the module of id 0
constexpr int32_t kPlatformNoNativeParts = 49;

constexpr std::u16string_view kNativeSuffix = u".Native";
constexpr std::u16string_view kExtension = u".DLL";

std::u16string_view row(const char16_t *const *table, size_t rows, size_t index) noexcept {
  return index < rows && table[index] != nullptr ? std::u16string_view(table[index])
                                                 : std::u16string_view();
}

// The identifier of a module, without extension; `native` is set for a native
// part that takes ".Native" behind. Empty when the module has no name.
std::u16string_view identifier(int32_t platform, int32_t id, bool *native) noexcept {
  *native = false;
  if (id < 0) return {};
  const auto index = static_cast<size_t>(id);
  switch (platform) {
    case kPlatformStandard:
      for (const NativeId &n : kNativeIds) {
        if (n.id == id) {
          *native = !keeps_own_name(n.part);
          return row(kNativeParts, std::size(kNativeParts), n.part);
        }
      }
      return row(kModules, std::size(kModules), index);
    case kPlatformNoNativeParts: return row(kModules, std::size(kModules), index);
    case kPlatformSingleModule: return row(kModules, std::size(kModules), 0);
    default: return {};
  }
}

bool ends_with_ignoring_case(std::u16string_view text, std::u16string_view ascii_end) noexcept {
  if (text.size() < ascii_end.size()) return false;
  text.remove_prefix(text.size() - ascii_end.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char16_t c = text[i];
    if (c >= u'a' && c <= u'z') c = static_cast<char16_t>(c - u'a' + u'A');
    char16_t e = ascii_end[i];
    if (e >= u'a' && e <= u'z') e = static_cast<char16_t>(e - u'a' + u'A');
    if (c != e) return false;
  }
  return true;
}

bool is_shared_object(std::u16string_view file) noexcept {
  return file.ends_with(u".so") || file.find(u".so.") != std::u16string_view::npos;
}

bool is_file(const std::string &path) noexcept {
  rv::os::FileAttributes attributes{};
  return rv::os::file_attributes(path.c_str(), &attributes) && !attributes.is_directory;
}

size_t file_part_offset(const char16_t *path) noexcept {
  return static_cast<size_t>(Rv_SkipPath(path) - path);
}

}  // namespace

namespace rv::modules {

int32_t module_file(const char16_t *name, std::string *file) noexcept {
  if (name == nullptr || *name == 0) return ERROR_INVALID_PARAMETER;
  const std::u16string_view whole(name);
  const size_t at = file_part_offset(name);
  std::u16string_view module = whole.substr(at);
  if (module.empty()) return ERROR_INVALID_PARAMETER;
  try {
    std::u16string path(whole.substr(0, at));
    if (is_shared_object(module)) {
      path += module;
    } else {
      if (ends_with_ignoring_case(module, kExtension)) module.remove_suffix(kExtension.size());
      path += u"lib";
      path += module;
      path += u".so";
    }
    return utf::to_utf8(path.c_str(), file) ? SUCCESS : ERROR_NO_MEMORY;
  } catch (...) {
    return ERROR_NO_MEMORY;
  }
}

int32_t find_module_file(const char16_t *name, std::string *path) noexcept {
  std::string file;
  const int32_t status = module_file(name, &file);
  if (status != SUCCESS) return status;
  try {
    if (file_part_offset(name) > 0 && is_file(file)) {
      *path = std::move(file);
      return SUCCESS;
    }
    const auto slash = file.rfind('/');
    std::string beside_kernel = os::kernel_directory();
    if (beside_kernel.empty()) return ERROR_FILE_NOT_FOUND_10;
    beside_kernel += slash == std::string::npos ? file : file.substr(slash + 1);
    if (!is_file(beside_kernel)) return ERROR_FILE_NOT_FOUND_10;
    *path = std::move(beside_kernel);
    return SUCCESS;
  } catch (...) {
    return ERROR_NO_MEMORY;
  }
}

}  // namespace rv::modules

int32_t Rv_GetLibName(int32_t nPlatform, int32_t nLibId, char16_t *pszName,
                      uint32_t uLength) noexcept {
  if (pszName == nullptr) return ERROR_INVALID_PARAMETER;
  bool native = false;
  const std::u16string_view module = identifier(nPlatform, nLibId, &native);
  if (module.empty()) return ERROR_FEATURE_NOT_SUPPORTED;
  // The identifier, ".Native" behind a native part, and the extension.
  const std::u16string_view suffix = native ? kNativeSuffix : std::u16string_view();
  if (module.size() + suffix.size() + kExtension.size() >= uLength) return ERROR_BUFFER_TOO_SMALL;
  char16_t *end = std::copy(module.begin(), module.end(), pszName);
  end = std::copy(suffix.begin(), suffix.end(), end);
  end = std::copy(kExtension.begin(), kExtension.end(), end);
  *end = 0;
  return SUCCESS;
}

int32_t Rv_GetLibFullPath(const char16_t *pszName, char16_t *pszPath, uint32_t uLength) noexcept {
  if (pszName == nullptr || pszPath == nullptr) return ERROR_INVALID_PARAMETER;
  std::string path;
  const int32_t status = rv::modules::find_module_file(pszName, &path);
  if (status != SUCCESS) return status;
  const size_t wide = rv::utf::utf8_to_utf16(path.data(), path.size(), nullptr, 0);
  if (wide >= uLength) return ERROR_BUFFER_TOO_SMALL;
  rv::utf::utf8_to_utf16(path.data(), path.size(), pszPath, wide);
  pszPath[wide] = 0;
  return SUCCESS;
}

const char16_t *Rv_SkipPath(const char16_t *pszPath) noexcept {
  if (pszPath == nullptr) return nullptr;
  const char16_t *file = pszPath;
  for (const char16_t *p = pszPath; *p != 0; ++p) {
    if (*p == u':' || *p == u'\\' || *p == u'/') file = p + 1;
  }
  return file;
}

int32_t Rv_IsMissingFile(const char16_t *pszPath) noexcept {
  if (pszPath == nullptr || *pszPath == 0) return TRUE;
  std::string path;
  if (!rv::utf::to_utf8(pszPath, &path)) return TRUE;
  return is_file(path) ? FALSE : TRUE;
}
