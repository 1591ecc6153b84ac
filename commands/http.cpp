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

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kImpossible = -1;

// What the numbers of `timeouts` are when they are left out at the end, in milliseconds.
constexpr int kConnectTimeout = 60000;
constexpr int kSendTimeout = 30000;
constexpr int kReceiveTimeout = 30000;

SV::WString Wide(TavKelParser& parser, names::Literal name) {
  return SV::ConvertUTF8StringToWString(parser.GetStrValue(name));
}

// `resolve;connect;send;receive`. A piece that is no number reads as 0.
void SetTimeouts(TavHTTPClient& client, const SV::String& timeouts) {
  const long count = timeouts.GetTokenCount(';');
  const auto piece = [&](long index, int absent) {
    const int value = index < count ? SV::h_atoi(timeouts.GetToken(index, ';')) : absent;
    return static_cast<std::uint32_t>(value);
  };
  client.SetTimeouts(SV::h_atoui(timeouts.GetToken(0, ';')), piece(1, kConnectTimeout),
                     piece(2, kSendTimeout), piece(3, kReceiveTimeout));
}

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
  TavHTTPClient client(SV::ConvertUTF8StringToWString(parser.GetStrValue()), nullptr);
  SV::WString verb(u"GET");
  if (parser.IsContained(kVerb)) verb = Wide(parser, kVerb);
  if (parser.IsContained(kTimeouts)) SetTimeouts(client, parser.GetStrValue(kTimeouts));
  if (parser.IsContained(kRetry)) {
    client.SetRetryTimes(static_cast<std::uint32_t>(parser.GetIntValue(kRetry)));
  }
  // All three go to the same place, so that the last one given counts.
  for (const names::Literal name : {kProxy, kProxyUser, kProxyPw}) {
    if (parser.IsContained(name)) client.SetProxy(Wide(parser, name));
  }
  if (!client.SendHttpRequest(verb, false)) return kFailed;
  SetAnswer(client, binary, result);
  return kDone;
}

// Pieces of `text`; none when the separator does not occur in it.
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

// The proxies joined by `;`. Pieces between blanks and between tabs come behind a text that holds
// a `;` already, and so stand in it twice.
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

// A conversion that does not fit leaves no NUL behind, so the text ends with the buffer at the
// latest.
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
