#include <algorithm>
#include <cstdlib>
#include <string>

#include "host/windows/windows.h"
#include "tavhost/base/utf16.h"
#include "tavhost/http/http_converter.h"

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

// By the system, which converts whole texts only: cut behind a blank or line feed, which is a
// character of its own in every one of these code pages.
class BySystem final : public Converter {
 public:
  explicit BySystem(UINT page) : page_(page) {}

  // A byte is a character at most, or a piece of one that is not allowed.
  std::size_t RoomFor(std::size_t bytes) const override { return (rest_.size() + bytes) * 6; }

  char* Append(std::string_view bytes, char* out) override {
    const std::size_t cut = bytes.find_last_of(" \n");
    if (cut == bytes.npos) {
      rest_.append(bytes);
      return out;
    }
    rest_.append(bytes.substr(0, cut + 1));
    out = Convert(out);
    rest_.assign(bytes.substr(cut + 1));
    return out;
  }
  char* Finish(char* out) override { return Convert(out); }

 private:
  char* Convert(char* out) {
    const int length = static_cast<int>(rest_.size());
    if (length == 0) return out;
    const int count = MultiByteToWideChar(page_, 0, rest_.data(), length, nullptr, 0);
    std::u16string units(static_cast<std::size_t>(std::max(count, 0)), u'\0');
    MultiByteToWideChar(page_, 0, rest_.data(), length, reinterpret_cast<wchar_t*>(units.data()),
                        count);
    rest_.clear();
    const std::string utf8 = utf16::ToUtf8(units);
    return std::copy(utf8.begin(), utf8.end(), out);
  }

  const UINT page_;
  std::string rest_;
};

}  // namespace

std::unique_ptr<Converter> MakeSystemConverter(const std::string& charset, std::uint64_t) {
  const UINT page = NumberOf(charset);
  if (page == 0 || !IsValidCodePage(page)) return nullptr;
  return std::make_unique<BySystem>(page);
}

}  // namespace http
