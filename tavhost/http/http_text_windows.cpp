#include <algorithm>
#include <cstdlib>

#include "host/windows/windows.h"
#include "tavhost/http/http_text.h"

namespace http {

namespace {

struct CodePage {
  const char* charset;
  UINT number;
};

constexpr CodePage kCodePages[] = {
    {"us-ascii", 20127},  {"shift_jis", 932}, {"sjis", 932},     {"gbk", 936},
    {"gb2312", 936},      {"gb18030", 54936}, {"big5", 950},     {"euc-kr", 949},
    {"euc-jp", 20932},    {"koi8-r", 20866},  {"koi8-u", 21866}, {"windows-874", 874},
    {"macintosh", 10000}, {"ibm437", 437},    {"ibm850", 850},   {"utf-7", 65000},
};

UINT NumberOf(const std::string& charset) {
  if (charset.starts_with("windows-125")) return 1250 + std::atoi(charset.c_str() + 11);
  if (charset.starts_with("iso-8859-")) return 28590 + std::atoi(charset.c_str() + 9);
  for (const CodePage& page : kCodePages) {
    if (charset == page.charset) return page.number;
  }
  return 0;
}

}  // namespace

std::optional<std::u16string> DecodeWithSystem(std::string_view bytes, const std::string& charset) {
  const UINT page = NumberOf(charset);
  if (page == 0 || !IsValidCodePage(page)) return std::nullopt;
  const int length = static_cast<int>(bytes.size());
  if (length == 0) return std::u16string();
  const int units = MultiByteToWideChar(page, 0, bytes.data(), length, nullptr, 0);
  std::u16string text(static_cast<std::size_t>(std::max(units, 0)), u'\0');
  MultiByteToWideChar(page, 0, bytes.data(), length, reinterpret_cast<wchar_t*>(text.data()),
                      units);
  return text;
}

}  // namespace http
