// Requests over HTTP, and the user's proxy settings.
#include <cstdint>
#include <cstring>
#include <memory>

#include "commands/handlers.h"
#include "commands/support/checks.h"
#include "commands/support/results.h"
#include "host/base/string.h"
#include "host/base/wstring.h"
#include "host/http/http_client.h"
#include "host/notation/kel_parser.h"
#include "host/windows/winhttp.h"

namespace commands {

namespace {

// The parameters of these commands.
constexpr names::Literal kVerb = "verb";
constexpr names::Literal kTimeouts = "timeouts";
constexpr names::Literal kRetry = "retry";
constexpr names::Literal kBinary = "binary";
constexpr names::Literal kProxy = "proxy";
constexpr names::Literal kProxyUser = "proxyuser";
constexpr names::Literal kProxyPw = "proxypw";

// The `ecode` of HTTP_REQUEST: an answer came, none came, or the request could not even be made.
constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kImpossible = -1;

// What the numbers of `timeouts` are when they are left out at the end, in milliseconds.
constexpr int kConnectTimeout = 60000;
constexpr int kSendTimeout = 30000;
constexpr int kReceiveTimeout = 30000;

// Bytes of a URL or a proxy: more than any server takes, so that nothing looks through a text that
// is none.
constexpr long kLongestAddress = 4L << 20;

SV::WString Wide(TavKelParser& parser, names::Literal name) {
  return SV::ConvertUTF8StringToWString(parser.GetStrValue(name));
}

// `resolve;connect;send;receive`, in milliseconds. Pieces that are missing at the end have their
// defaults; one that is no number reads as 0, which means no limit.
void SetTimeouts(TavHTTPClient& client, const SV::String& timeouts) {
  const long count = timeouts.GetTokenCount(';');
  const auto piece = [&](long index, int absent) {
    const int value = index < count ? SV::h_atoi(timeouts.GetToken(index, ';')) : absent;
    return static_cast<std::uint32_t>(value);
  };
  client.SetTimeouts(SV::h_atoui(timeouts.GetToken(0, ';')), piece(1, kConnectTimeout),
                     piece(2, kSendTimeout), piece(3, kReceiveTimeout));
}

// The result variables of a request that was answered.
void SetAnswer(TavHTTPClient& client, bool binary, TavScriptResult& result) {
  SV::String response;
  if (binary) {
    const std::uint32_t length = client.GetRawResponseReceivedContentLength();
    char* bytes = response.AllocBuffer(static_cast<long>(length));
    if (length > 0) std::memcpy(bytes, client.GetRawResponseContent(), length);
  } else {
    response = SV::ConvertWStringToUTF8String(client.GetResponseContent());
  }
  results::SetString(result, "response", response);
  results::SetString(result, "header", SV::ConvertWStringToUTF8String(client.GetResponseHeader()));
  results::SetString(result, "charset",
                     SV::ConvertWStringToUTF8String(client.GetResponseCharset()));
  results::SetString(result, "host", SV::ConvertWStringToUTF8String(client.GetRequestHost()));
}

int Request(TavKelParser& parser, bool binary, TavScriptResult& result) {
  const SV::String url = parser.GetStrValue();
  if (url.Len() > kLongestAddress) return kImpossible;
  TavHTTPClient client(SV::ConvertUTF8StringToWString(url), nullptr);
  SV::WString verb(u"GET");
  if (parser.IsContained(kVerb)) verb = Wide(parser, kVerb);
  if (parser.IsContained(kTimeouts)) SetTimeouts(client, parser.GetStrValue(kTimeouts));
  if (parser.IsContained(kRetry)) {
    client.SetRetryTimes(static_cast<std::uint32_t>(parser.GetIntValue(kRetry)));
  }
  // The host has one setting for all three. Each overwrites the one before, so that the last one
  // given, in this order, is what counts.
  for (const names::Literal name : {kProxy, kProxyUser, kProxyPw}) {
    if (!parser.IsContained(name)) continue;
    if (parser.GetStrValue(name).Len() > kLongestAddress) return kFailed;
    client.SetProxy(Wide(parser, name));
  }
  if (!client.SendHttpRequest(verb, false)) return kFailed;
  SetAnswer(client, binary, result);
  return kDone;
}

// How many pieces the separator makes of the text; 0 when it does not occur in it at all.
long PieceCount(const SV::String& text, char separator) {
  const long count = text.GetTokenCount(separator);
  return count > 1 ? count : 0;
}

void AppendPieces(SV::String& list, const SV::String& text, char separator) {
  const long count = PieceCount(text, separator);
  for (long i = 0; i < count; ++i) {
    if (list.Len() > 0) list += ';';
    list += text.GetToken(i, separator);
  }
}

// The proxies, joined by `;` however the system joined them. A text that holds a `;` goes into the
// list as it is, and its pieces between blanks and between tabs are appended all the same: proxies
// joined in two ways come out twice.
SV::String NormalizedProxies(const SV::String& text) {
  if (PieceCount(text, ';') == 0 && PieceCount(text, ' ') == 0 && PieceCount(text, '\t') == 0) {
    return text;
  }
  SV::String list;
  if (PieceCount(text, ';') > 0) list = text;
  AppendPieces(list, text, ' ');
  AppendPieces(list, text, '\t');
  return list;
}

// The text in the system's code page, up to 2048 bytes. When it does not fit, the conversion leaves
// no NUL in the buffer, and the text is whatever the buffer holds.
SV::String AnsiText(LPCWSTR wide) {
  constexpr int kCapacity = 2048;
  const auto buffer = std::make_unique<char[]>(kCapacity);  // all NUL
  WideCharToMultiByte(0, 0, wide, -1, buffer.get(), kCapacity, nullptr, nullptr);
  const void* end = std::memchr(buffer.get(), '\0', kCapacity);
  const long length = end ? static_cast<long>(static_cast<const char*>(end) - buffer.get())
                          : static_cast<long>(kCapacity);
  return SV::String(buffer.get(), length);
}

}  // namespace

void Command_HTTP_REQUEST(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, checks::kMainValue, TavKelString, result, checks::kRequired)) return;

  const bool binary = parser.GetBoolValue(kBinary, false);
  int code = kImpossible;
  try {
    code = Request(parser, binary, result);
  } catch (...) {  // of whatever kind; the variables set so far stay
  }
  results::SetInteger(result, "ecode", code);
}

void Command_GET_PROXY_SETTINGS(const char*, TavKelParser&, TavScriptResult& result) {
  WINHTTP_CURRENT_USER_IE_PROXY_CONFIG config = {};
  if (!WinHttpGetIEProxyConfigForCurrentUser(&config)) {
    results::SetInteger(result, "ecode", 1);
    return;
  }
  SV::String text;
  if (config.lpszProxy) text = AnsiText(config.lpszProxy);
  for (LPWSTR owned : {config.lpszAutoConfigUrl, config.lpszProxy, config.lpszProxyBypass}) {
    if (owned) GlobalFree(owned);
  }
  results::SetInteger(result, "ecode", 0);
  results::SetString(result, "proxy", NormalizedProxies(text));
}

}  // namespace commands
