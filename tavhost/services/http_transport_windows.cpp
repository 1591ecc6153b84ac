#include "host/windows/winhttp.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/sv/wstring.h"
#include "tavhost/services/http_transport.h"
#include "tavhost/sv/stop.h"

namespace http {

namespace {

std::wstring Wide(const std::string& utf8) {
  const SV::WString wide =
      SV::ConvertUTF8StringToWString(SV::String(utf8.data(), static_cast<long>(utf8.size())));
  return std::wstring(wide.GetStr(), wide.GetStr() + wide.Len());
}

// The session lives as long as the process, and with it the connections to hosts already asked.
HINTERNET Session() {
  static const HINTERNET session = WinHttpOpen(L"tavhost", WINHTTP_ACCESS_TYPE_NO_PROXY,
                                               WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0);
  return session;
}

// One exchange, carried out on a thread of its own so that the user-interface thread can end it:
// closing a handle makes the call that waits on it fail.
class Work {
 public:
  Work(const Request& request, Answer& answer) : request_(request), answer_(answer) {}

  ~Work() { Close(); }

  void Run() {
    const bool complete = Connect() && Send() && ReadHeader() && ReadBody();
    const std::lock_guard lock(mutex_);
    complete_ = complete;
    done_ = true;
    ended_.notify_one();
  }

  // True when the work ended within that time.
  bool WaitFor(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    return ended_.wait_for(lock, time, [this] { return done_; });
  }

  void Close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    for (HINTERNET* handle : {&exchange_, &connection_}) {
      if (*handle) WinHttpCloseHandle(*handle);
      *handle = nullptr;
    }
  }

  bool IsComplete() const { return complete_; }

 private:
  bool Connect() {
    const std::lock_guard lock(mutex_);
    if (closed_ || !Session()) return false;
    connection_ = WinHttpConnect(Session(), Wide(request_.url.host).c_str(), request_.url.port, 0);
    if (!connection_) return false;
    exchange_ = WinHttpOpenRequest(
        connection_, Wide(request_.verb).c_str(), Wide(request_.url.target).c_str(), nullptr,
        WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
        WINHTTP_FLAG_ESCAPE_DISABLE | (request_.url.secure ? WINHTTP_FLAG_SECURE : 0));
    if (!exchange_) return false;
    const auto limit = [](std::uint32_t milliseconds) {
      return static_cast<int>(std::min<std::uint32_t>(milliseconds, 0x7FFFFFFF));
    };
    const Timeouts& timeouts = request_.timeouts;
    WinHttpSetTimeouts(exchange_, limit(timeouts.resolve), limit(timeouts.connect),
                       limit(timeouts.send), limit(timeouts.receive));
    DWORD disabled = WINHTTP_DISABLE_REDIRECTS | WINHTTP_DISABLE_COOKIES;
    WinHttpSetOption(exchange_, WINHTTP_OPTION_DISABLE_FEATURE, &disabled, sizeof disabled);
    DWORD decompression = WINHTTP_DECOMPRESSION_FLAG_ALL;
    decompresses_ = WinHttpSetOption(exchange_, WINHTTP_OPTION_DECOMPRESSION, &decompression,
                                     sizeof decompression) != FALSE;
    return SetProxy() && SetCredentials(request_.url.userInfo, WINHTTP_AUTH_TARGET_SERVER);
  }

  bool SetProxy() {
    if (!request_.proxy) return true;
    std::wstring proxy = Wide(request_.proxy->hostAndPort);
    if (request_.proxy->scheme.starts_with("socks")) proxy = L"socks=" + proxy;
    WINHTTP_PROXY_INFO info = {WINHTTP_ACCESS_TYPE_NAMED_PROXY, proxy.data(), nullptr};
    return WinHttpSetOption(exchange_, WINHTTP_OPTION_PROXY, &info, sizeof info) &&
           SetCredentials(request_.proxy->userInfo, WINHTTP_AUTH_TARGET_PROXY);
  }

  bool SetCredentials(const std::string& userInfo, DWORD target) {
    if (userInfo.empty()) return true;
    const auto colon = userInfo.find(':');
    const std::wstring user = Wide(PercentDecoded(userInfo.substr(0, colon)));
    const std::wstring password =
        colon == std::string::npos ? L"" : Wide(PercentDecoded(userInfo.substr(colon + 1)));
    return WinHttpSetCredentials(exchange_, target, WINHTTP_AUTH_SCHEME_BASIC, user.c_str(),
                                 password.c_str(), nullptr) != FALSE;
  }

  bool Send() {
    return WinHttpSendRequest(exchange_, WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA,
                              0, 0, 0) &&
           WinHttpReceiveResponse(exchange_, nullptr);
  }

  bool ReadHeader() {
    DWORD bytes = 0;
    WinHttpQueryHeaders(exchange_, WINHTTP_QUERY_RAW_HEADERS_CRLF, WINHTTP_HEADER_NAME_BY_INDEX,
                        nullptr, &bytes, WINHTTP_NO_HEADER_INDEX);
    std::vector<char16_t> units(bytes / sizeof(char16_t) + 1);
    if (!WinHttpQueryHeaders(exchange_, WINHTTP_QUERY_RAW_HEADERS_CRLF,
                             WINHTTP_HEADER_NAME_BY_INDEX, units.data(), &bytes,
                             WINHTTP_NO_HEADER_INDEX)) {
      return false;
    }
    const SV::String header = SV::ConvertWStringToUTF8String(SV::WString(units.data()));
    answer_.header = std::string(header.View());
    if (answer_.header.size() > kHeaderLimit || HasBadFraming(answer_.header)) return false;
    DWORD status = 0;
    DWORD size = sizeof status;
    WinHttpQueryHeaders(exchange_, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                        WINHTTP_HEADER_NAME_BY_INDEX, &status, &size, WINHTTP_NO_HEADER_INDEX);
    answer_.status = static_cast<int>(status);
    return status != 0;
  }

  bool HasBody() const {
    return request_.verb != "HEAD" && answer_.status != 204 && answer_.status != 304;
  }

  bool ReadBody() {
    constexpr DWORD kPiece = 256 * 1024;
    std::vector<char> piece(kPiece);
    while (true) {
      DWORD read = 0;
      if (!WinHttpReadData(exchange_, piece.data(), kPiece, &read)) return false;
      if (read == 0) break;
      if (static_cast<std::size_t>(answer_.body.Len()) + read > request_.bodyLimit) return false;
      answer_.body.Append(piece.data(), static_cast<long>(read));
    }
    // An answer that breaks off reads as one that ends; only its length tells.
    const std::string length = answer_.Field("Content-Length");
    const bool encoded = decompresses_ && !answer_.Field("Content-Encoding").empty();
    return length.empty() || encoded || !HasBody() ||
           std::strtoull(length.c_str(), nullptr, 10) ==
               static_cast<unsigned long long>(answer_.body.Len());
  }

  const Request& request_;
  Answer& answer_;
  std::mutex mutex_;
  bool closed_ = false;
  HINTERNET connection_ = nullptr;
  HINTERNET exchange_ = nullptr;
  bool decompresses_ = false;
  std::condition_variable ended_;
  bool done_ = false;
  bool complete_ = false;
};

}  // namespace

bool Exchange(const Request& request, Answer& answer) {
  constexpr auto kSlice = std::chrono::milliseconds(20);
  answer = Answer();
  Work work(request, answer);
  std::thread thread([&work] { work.Run(); });
  const auto begin = std::chrono::steady_clock::now();
  const auto whole = std::chrono::milliseconds(WholeTime(request.timeouts));
  while (!work.WaitFor(kSlice)) {
    const bool late = whole.count() != 0 && std::chrono::steady_clock::now() - begin > whole;
    if (stop::IsRequested() || late) work.Close();
  }
  thread.join();
  return work.IsComplete();
}

}  // namespace http
