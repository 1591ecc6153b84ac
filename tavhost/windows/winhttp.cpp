#include "host/windows/winhttp.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "host/base/wstring.h"
#include "tavhost/base/trace.h"
#include "tavhost/base/utf16.h"
#include "tavhost/windows/proxy_settings.h"

namespace {

// A copy that the caller frees by GlobalFree; null for an empty text.
LPWSTR Owned(const std::string& text) {
  if (text.empty()) return nullptr;
  const std::u16string wide = utf16::FromUtf8(text);
  const std::size_t bytes = (wide.size() + 1) * sizeof(char16_t);
  auto* copy = static_cast<LPWSTR>(std::malloc(bytes));
  if (copy) std::memcpy(copy, wide.c_str(), bytes);
  return copy;
}

// As a trace may show it: where a proxy has a user name, it may have a password. That can hold
// whatever separates proxies, so none of them is shown then.
SV::String WithoutSecrets(const SV::String& proxies) {
  return proxies.View().find('@') == std::string_view::npos ? proxies : SV::String("***");
}

}  // namespace

BOOL WinHttpGetIEProxyConfigForCurrentUser(WINHTTP_CURRENT_USER_IE_PROXY_CONFIG* config) {
  trace::Call call("WinHttpGetIEProxyConfigForCurrentUser");
  *config = {};
  const auto settings = proxy_settings::Read();
  if (!settings) return call.Result(FALSE);
  config->lpszProxy = Owned(settings->proxy);
  config->lpszProxyBypass = Owned(settings->bypass);
  return call.Result(TRUE);
}

HGLOBAL GlobalFree(HGLOBAL memory) {
  trace::Call call("GlobalFree");
  std::free(memory);
  return call.ResultObject(static_cast<HGLOBAL>(nullptr));
}

// UTF-8, whatever the code page: the commands ask for no other. As on Windows, a negative count
// means up to and with the NUL, and when not all of it fits the result is 0.
int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int count, LPSTR bytes,
                        int capacity, LPCSTR, BOOL*) {
  const SV::WString text = count < 0 ? SV::WString(wide) : SV::WString(wide, count);
  const SV::String utf8 = SV::ConvertWStringToUTF8String(text);
  trace::Call call("WideCharToMultiByte", codePage, flags, WithoutSecrets(utf8), count, capacity);
  const long length = utf8.Len() + (count < 0 ? 1 : 0);
  if (length > capacity) {
    std::memcpy(bytes, utf8.GetStr(), static_cast<std::size_t>(capacity));
    return call.Result(0);
  }
  std::memcpy(bytes, utf8.GetStr(), static_cast<std::size_t>(length));
  return call.Result(static_cast<int>(length));
}
