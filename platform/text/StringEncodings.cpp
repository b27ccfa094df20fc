// SPDX-License-Identifier: Apache-2.0
#include "text/StringEncodings.h"

#include <KestovaPlatform/ASCIICase.h>
#include <KestovaPlatform/NSString.h>

#include "text/Converter.h"

#include <unicode/ucnv.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace kestova {
namespace {

/// Ordered by number.
constexpr StringEncoding kEncodings[] = {
    {kCFStringEncodingMacRoman, "macintosh", "macintosh", "Western (Mac Roman)"},
    {kCFStringEncodingMacGreek, "x-mac-greek", "x-mac-greek", "Greek (Mac)"},
    {kCFStringEncodingMacCyrillic, "x-mac-cyrillic", "x-mac-cyrillic", "Cyrillic (Mac)"},
    {kCFStringEncodingMacCentralEurRoman, "x-mac-centraleurroman", "x-mac-centraleurroman",
     "Central European (Mac)"},
    {kCFStringEncodingMacTurkish, "x-mac-turkish", "x-mac-turkish", "Turkish (Mac)"},
    {kCFStringEncodingUnicode, "utf-16", "UTF-16", "Unicode (UTF-16)"},
    {kCFStringEncodingISOLatin1, "iso-8859-1", "ISO-8859-1", "Western (ISO Latin 1)"},
    {kCFStringEncodingISOLatin2, "iso-8859-2", "iso-8859-2", "Central European (ISO Latin 2)"},
    {kCFStringEncodingISOLatin3, "iso-8859-3", "iso-8859-3", "South European (ISO Latin 3)"},
    {kCFStringEncodingISOLatin4, "iso-8859-4", "iso-8859-4", "North European (ISO Latin 4)"},
    {kCFStringEncodingISOLatinCyrillic, "iso-8859-5", "iso-8859-5", "Cyrillic (ISO 8859-5)"},
    {kCFStringEncodingISOLatinArabic, "iso-8859-6", "iso-8859-6", "Arabic (ISO 8859-6)"},
    {kCFStringEncodingISOLatinGreek, "iso-8859-7", "iso-8859-7", "Greek (ISO 8859-7)"},
    {kCFStringEncodingISOLatinHebrew, "iso-8859-8", "iso-8859-8", "Hebrew (ISO 8859-8)"},
    {kCFStringEncodingISOLatin5, "iso-8859-9", "iso-8859-9", "Turkish (ISO Latin 5)"},
    {kCFStringEncodingISOLatin6, "iso-8859-10", "iso-8859-10", "Nordic (ISO Latin 6)"},
    {kCFStringEncodingISOLatinThai, "iso-8859-11", "iso-8859-11", "Thai (ISO 8859-11)"},
    {kCFStringEncodingISOLatin7, "iso-8859-13", "iso-8859-13", "Baltic (ISO Latin 7)"},
    {kCFStringEncodingISOLatin8, "iso-8859-14", "iso-8859-14", "Celtic (ISO Latin 8)"},
    {kCFStringEncodingISOLatin9, "iso-8859-15", "iso-8859-15", "Western (ISO Latin 9)"},
    {kCFStringEncodingDOSLatinUS, "ibm437", "ibm-437", "Latin-US (DOS)"},
    {kCFStringEncodingDOSGreek, "cp737", "ibm-737", "Greek (DOS)"},
    {kCFStringEncodingDOSBalticRim, "ibm775", "ibm-775", "Baltic (DOS)"},
    {kCFStringEncodingDOSLatin1, "ibm850", "ibm-850", "Western (DOS Latin 1)"},
    {kCFStringEncodingDOSGreek1, "ibm851", "ibm-851", "Greek (DOS Greek 1)"},
    {kCFStringEncodingDOSLatin2, "ibm852", "ibm-852", "Central European (DOS Latin 2)"},
    {kCFStringEncodingDOSCyrillic, "ibm855", "ibm-855", "Cyrillic (DOS)"},
    {kCFStringEncodingDOSTurkish, "ibm857", "ibm-857", "Turkish (DOS)"},
    {kCFStringEncodingDOSPortuguese, "ibm860", "ibm-860", "Portuguese (DOS)"},
    {kCFStringEncodingDOSIcelandic, "ibm861", "ibm-861", "Icelandic (DOS)"},
    {kCFStringEncodingDOSHebrew, "ibm862", "ibm-862", "Hebrew (DOS)"},
    {kCFStringEncodingDOSCanadianFrench, "ibm863", "ibm-863", "Canadian French (DOS)"},
    {kCFStringEncodingDOSArabic, "ibm864", "ibm-864", "Arabic (DOS)"},
    {kCFStringEncodingDOSNordic, "ibm865", "ibm-865", "Nordic (DOS)"},
    {kCFStringEncodingDOSRussian, "ibm866", "ibm-866", "Russian (DOS)"},
    {kCFStringEncodingDOSGreek2, "ibm869", "ibm-869", "Greek (DOS Greek 2)"},
    {kCFStringEncodingDOSThai, "windows-874", "windows-874-2000", "Thai (Windows, DOS)"},
    {kCFStringEncodingDOSJapanese, "windows-31j", "ibm-943_P15A-2003", "Japanese (Windows, DOS)"},
    {kCFStringEncodingDOSChineseSimplif, "cp936", "windows-936-2000",
     "Simplified Chinese (Windows, DOS)"},
    {kCFStringEncodingDOSKorean, "ks_c_5601-1987", "windows-949-2000", "Korean (Windows, DOS)"},
    {kCFStringEncodingDOSChineseTrad, "cp950", "windows-950-2000",
     "Traditional Chinese (Windows, DOS)"},
    {kCFStringEncodingWindowsLatin1, "windows-1252", "windows-1252", "Western (Windows Latin 1)"},
    {kCFStringEncodingWindowsLatin2, "windows-1250", "windows-1250",
     "Central European (Windows Latin 2)"},
    {kCFStringEncodingWindowsCyrillic, "windows-1251", "windows-1251", "Cyrillic (Windows)"},
    {kCFStringEncodingWindowsGreek, "windows-1253", "windows-1253", "Greek (Windows)"},
    {kCFStringEncodingWindowsLatin5, "windows-1254", "windows-1254", "Turkish (Windows Latin 5)"},
    {kCFStringEncodingWindowsHebrew, "windows-1255", "windows-1255", "Hebrew (Windows)"},
    {kCFStringEncodingWindowsArabic, "windows-1256", "windows-1256", "Arabic (Windows)"},
    {kCFStringEncodingWindowsBalticRim, "windows-1257", "windows-1257", "Baltic (Windows)"},
    {kCFStringEncodingWindowsVietnamese, "windows-1258", "windows-1258", "Vietnamese (Windows)"},
    {kCFStringEncodingASCII, "us-ascii", "US-ASCII", "Western (ASCII)"},
    {kCFStringEncodingGBK_95, "gbk", "windows-936-2000", "Chinese (GBK)"},
    {kCFStringEncodingGB_18030_2000, "gb18030", "gb18030", "Chinese (GB 18030)"},
    {kCFStringEncodingISO_2022_JP, "iso-2022-jp", "ISO-2022-JP", "Japanese (ISO 2022-JP)"},
    {kCFStringEncodingISO_2022_JP_2, "iso-2022-jp-2", "ISO-2022-JP-2", "Japanese (ISO 2022-JP-2)"},
    {kCFStringEncodingISO_2022_JP_1, "iso-2022-jp-1", "ISO-2022-JP-1", "Japanese (ISO 2022-JP-1)"},
    {kCFStringEncodingISO_2022_CN, "iso-2022-cn", "ISO-2022-CN", "Chinese (ISO 2022-CN)"},
    {kCFStringEncodingISO_2022_CN_EXT, "iso-2022-cn-ext", "ISO-2022-CN-EXT",
     "Chinese (ISO 2022-CN-EXT)"},
    {kCFStringEncodingISO_2022_KR, "iso-2022-kr", "ISO-2022-KR", "Korean (ISO 2022-KR)"},
    {kCFStringEncodingEUC_JP, "euc-jp", "EUC-JP", "Japanese (EUC)"},
    {kCFStringEncodingEUC_CN, "gb2312", "GB2312", "Simplified Chinese (GB 2312)"},
    {kCFStringEncodingEUC_TW, "euc-tw", "EUC-TW", "Traditional Chinese (EUC)"},
    {kCFStringEncodingEUC_KR, "euc-kr", "EUC-KR", "Korean (EUC)"},
    {kCFStringEncodingShiftJIS, "shift_jis", "Shift_JIS", "Japanese (Shift JIS)"},
    {kCFStringEncodingKOI8_R, "koi8-r", "KOI8-R", "Cyrillic (KOI8-R)"},
    {kCFStringEncodingBig5, "big5", "Big5", "Traditional Chinese (Big 5)"},
    {kCFStringEncodingHZ_GB_2312, "hz-gb-2312", "HZ-GB-2312", "Simplified Chinese (HZ)"},
    {kCFStringEncodingBig5_HKSCS_1999, "big5-hkscs", "Big5-HKSCS",
     "Traditional Chinese (Big 5 HKSCS)"},
    {kCFStringEncodingKOI8_U, "koi8-u", "KOI8-U", "Ukrainian (KOI8-U)"},
    {kCFStringEncodingUTF7_IMAP, "utf-7-imap", "IMAP-mailbox-name", "Unicode (UTF-7, IMAP)"},
    {kCFStringEncodingEBCDIC_CP037, "ibm037", "ibm-37", "Western (EBCDIC 037)"},
    {kCFStringEncodingUTF7, "utf-7", "UTF-7", "Unicode (UTF-7)"},
    {kCFStringEncodingUTF8, "utf-8", "UTF-8", "Unicode (UTF-8)"},
    {kCFStringEncodingUTF32, "utf-32", "UTF-32", "Unicode (UTF-32)"},
    {kCFStringEncodingUTF16BE, "utf-16be", "UTF-16BE", "Unicode (UTF-16BE)"},
    {kCFStringEncodingUTF16LE, "utf-16le", "UTF-16LE", "Unicode (UTF-16LE)"},
    {kCFStringEncodingUTF32BE, "utf-32be", "UTF-32BE", "Unicode (UTF-32BE)"},
    {kCFStringEncodingUTF32LE, "utf-32le", "UTF-32LE", "Unicode (UTF-32LE)"},
};
static_assert(std::ranges::is_sorted(kEncodings, {}, &StringEncoding::number));

/// The encodings that the string classes number by themselves.
constexpr struct {
  CFStringEncoding number;
  NSStringEncoding ofStrings;
} kOwnNumbers[] = {
    {kCFStringEncodingASCII, NSASCIIStringEncoding},
    {kCFStringEncodingEUC_JP, NSJapaneseEUCStringEncoding},
    {kCFStringEncodingUTF8, NSUTF8StringEncoding},
    {kCFStringEncodingISOLatin1, NSISOLatin1StringEncoding},
    {kCFStringEncodingShiftJIS, NSShiftJISStringEncoding},
    {kCFStringEncodingISOLatin2, NSISOLatin2StringEncoding},
    {kCFStringEncodingUnicode, NSUnicodeStringEncoding},
    {kCFStringEncodingWindowsCyrillic, NSWindowsCP1251StringEncoding},
    {kCFStringEncodingWindowsLatin1, NSWindowsCP1252StringEncoding},
    {kCFStringEncodingWindowsGreek, NSWindowsCP1253StringEncoding},
    {kCFStringEncodingWindowsLatin5, NSWindowsCP1254StringEncoding},
    {kCFStringEncodingWindowsLatin2, NSWindowsCP1250StringEncoding},
    {kCFStringEncodingISO_2022_JP, NSISO2022JPStringEncoding},
    {kCFStringEncodingMacRoman, NSMacOSRomanStringEncoding},
};

constexpr NSStringEncoding kForeignNumber = 0x80000000;

/// ICU's own name of what goes by `name`; empty for nothing.
std::string_view canonicalName(const char* name) {
  UErrorCode error = U_ZERO_ERROR;
  const char* canonical = ucnv_getAlias(name, 0, &error);
  return U_SUCCESS(error) && canonical != nullptr ? canonical : "";
}

bool isForDOS(const StringEncoding& encoding) {
  return encoding.number >> 8 == kCFStringEncodingDOSLatinUS >> 8;
}

/// The encoding that goes by an alias. Where one for DOS shares its converter with another, the
/// alias is taken for the other's.
const StringEncoding* findByAlias(const char* alias) {
  const std::string_view wanted = canonicalName(alias);
  const StringEncoding* found = nullptr;
  for (const StringEncoding& encoding : kEncodings) {
    if (!wanted.empty() && canonicalName(encoding.converterName) == wanted &&
        (found == nullptr || isForDOS(*found))) {
      found = &encoding;
    }
  }
  return found;
}

const StringEncoding* findByName(const char* name) {
  const auto found = std::ranges::find_if(kEncodings, [&](const StringEncoding& encoding) {
    return isSameButForCase(encoding.charsetName, name);
  });
  return found == std::end(kEncodings) ? findByAlias(name) : &*found;
}

bool isAvailable(const StringEncoding& encoding) {
  return formOfEncoding(encoding.number) != EncodingForm::kConverter ||
         Converter::open(encoding.converterName).has_value();
}

std::vector<CFStringEncoding> availableEncodings() {
  std::vector<CFStringEncoding> result;
  for (const StringEncoding& encoding : kEncodings) {
    if (isAvailable(encoding)) {
      result.push_back(encoding.number);
    }
  }
  return result;
}

}  // namespace

const StringEncoding* findStringEncoding(CFStringEncoding number) {
  const auto found = std::ranges::lower_bound(kEncodings, number, {}, &StringEncoding::number);
  return found != std::end(kEncodings) && found->number == number ? &*found : nullptr;
}

std::optional<Converter> openConverter(CFStringEncoding encoding) {
  const StringEncoding* known = findStringEncoding(encoding);
  return known != nullptr ? Converter::open(known->converterName) : std::nullopt;
}

EncodingForm formOfEncoding(CFStringEncoding number) {
  switch (number) {
    case kCFStringEncodingUTF8:
      return EncodingForm::kUTF8;
    case kCFStringEncodingUTF16:
    case kCFStringEncodingUTF16BE:
    case kCFStringEncodingUTF16LE:
      return EncodingForm::kUTF16;
    case kCFStringEncodingUTF32:
    case kCFStringEncodingUTF32BE:
    case kCFStringEncodingUTF32LE:
      return EncodingForm::kUTF32;
    default:
      return EncodingForm::kConverter;
  }
}

std::endian byteOrderOfEncoding(CFStringEncoding number) {
  switch (number) {
    case kCFStringEncodingUTF16BE:
    case kCFStringEncodingUTF32BE:
      return std::endian::big;
    case kCFStringEncodingUTF16LE:
    case kCFStringEncodingUTF32LE:
      return std::endian::little;
    default:
      return std::endian::native;
  }
}

bool leavesByteOrderOpen(CFStringEncoding number) {
  return number == kCFStringEncodingUTF16 || number == kCFStringEncodingUTF32;
}

bool extendsASCII(CFStringEncoding number) {
  switch (number) {
    case kCFStringEncodingUTF7:
    case kCFStringEncodingUTF7_IMAP:
    case kCFStringEncodingISO_2022_JP:
    case kCFStringEncodingISO_2022_JP_1:
    case kCFStringEncodingISO_2022_JP_2:
    case kCFStringEncodingISO_2022_CN:
    case kCFStringEncodingISO_2022_CN_EXT:
    case kCFStringEncodingISO_2022_KR:
    case kCFStringEncodingHZ_GB_2312:
    case kCFStringEncodingEBCDIC_CP037:
      return false;
    default:
      return formOfEncoding(number) == EncodingForm::kUTF8 ||
             (formOfEncoding(number) == EncodingForm::kConverter &&
              findStringEncoding(number) != nullptr);
  }
}

std::string_view byteOrderMarkOfEncoding(CFStringEncoding encoding) {
  using namespace std::string_view_literals;
  const bool isBig = byteOrderOfEncoding(encoding) == std::endian::big;
  switch (formOfEncoding(encoding)) {
    case EncodingForm::kUTF8:
      return "\xEF\xBB\xBF"sv;
    case EncodingForm::kUTF16:
      return isBig ? "\xFE\xFF"sv : "\xFF\xFE"sv;
    case EncodingForm::kUTF32:
      return isBig ? "\0\0\xFE\xFF"sv : "\xFF\xFE\0\0"sv;
    case EncodingForm::kConverter:
      break;
  }
  return {};
}

NSStringEncoding CFStringConvertEncodingToNSStringEncoding(CFStringEncoding encoding) {
  if (encoding == kCFStringEncodingInvalidId) {
    return 0;
  }
  for (const auto& own : kOwnNumbers) {
    if (own.number == encoding) {
      return own.ofStrings;
    }
  }
  return kForeignNumber | encoding;
}

CFStringEncoding CFStringConvertNSStringEncodingToEncoding(NSStringEncoding encoding) {
  for (const auto& own : kOwnNumbers) {
    if (own.ofStrings == encoding) {
      return own.number;
    }
  }
  const bool isForeign = encoding >= kForeignNumber && encoding < kCFStringEncodingInvalidId;
  return isForeign ? static_cast<CFStringEncoding>(encoding & ~kForeignNumber)
                   : kCFStringEncodingInvalidId;
}

Ref<NSString> CFStringConvertEncodingToIANACharSetName(CFStringEncoding encoding) {
  const bool isThere = CFStringIsEncodingAvailable(encoding);
  return isThere ? findStringEncoding(encoding)->charsetName : nullptr;
}

CFStringEncoding CFStringConvertIANACharSetNameToEncoding(const Ref<NSString>& name) {
  if (!name || !name->isEightBit()) {
    return kCFStringEncodingInvalidId;
  }
  const std::string text(name->eightBitCharacters(), name->length());
  const StringEncoding* encoding =
      text.find('\0') == text.npos ? findByName(text.c_str()) : nullptr;
  return encoding != nullptr && isAvailable(*encoding) ? encoding->number
                                                       : kCFStringEncodingInvalidId;
}

Ref<NSString> CFStringGetNameOfEncoding(CFStringEncoding encoding) {
  const bool isThere = CFStringIsEncodingAvailable(encoding);
  return isThere ? findStringEncoding(encoding)->title : nullptr;
}

bool CFStringIsEncodingAvailable(CFStringEncoding encoding) {
  const StringEncoding* known = findStringEncoding(encoding);
  return known != nullptr && isAvailable(*known);
}

std::span<const CFStringEncoding> CFStringGetListOfAvailableEncodings() {
  static const auto& all = *new std::vector<CFStringEncoding>(availableEncodings());
  return all;
}

}  // namespace kestova
