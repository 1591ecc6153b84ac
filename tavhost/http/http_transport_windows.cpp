#include <algorithm>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/windows/winhttp.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/utf16.h"
#include "tavhost/base/wide_text_windows.h"
#include "tavhost/files/base64_codec.h"
#include "tavhost/http/http_body.h"
#include "tavhost/http/http_encoding.h"
#include "tavhost/http/http_header.h"
#include "tavhost/http/http_transport.h"
#include "tavhost/http/http_watch.h"

namespace http {

namespace {

std::string Base64(const std::string& text) {
  std::string encoded(base64::EncodedLength(text.size()), '\0');
  base64::Encode(base64::Best(), text.data(), text.size(), encoded.data());
  return encoded;
}

std::string Credentials(const Url& url) {
  const bool hasPassword = url.userInfo.find(':') != std::string::npos;
  return PercentDecoded(url.userInfo) + (hasPassword ? "" : ":");
}

// The host as WinHTTP takes it: addresses of IPv6 in brackets, names in ASCII; empty when it
// cannot be.
std::wstring Host(const Url& url) {
  if (url.host.find(':') != std::string::npos) return L"[" + base::Wide(url.host) + L"]";
  constexpr int kLongestName = 255;
  wchar_t ascii[kLongestName + 1];
  const std::wstring host = base::Wide(url.host);
  const int length = IdnToAscii(0, host.data(), static_cast<int>(host.size()), ascii, kLongestName);
  return std::wstring(ascii, static_cast<std::size_t>(std::max(length, 0)));
}

// What WinHTTP has reported of one exchange; its threads write it, the user-interface thread waits
// for it. The exchange may be left while WinHTTP still works at it: until WinHTTP reports that the
// handle is closed, it may write here and into `piece`.
struct Reports {
  enum class Kind { kNone, kSent, kHeader, kAvailable, kRead, kFailed };

  std::mutex mutex;
  std::condition_variable changed;
  Kind kind = Kind::kNone;
  DWORD bytes = 0;  // that are available, or were read
  Watch::Phase phase = Watch::Phase::kResolving;
  std::vector<char> piece;
  std::shared_ptr<Reports> self;  // what the handle holds

  void Set(Kind reported, DWORD count = 0) {
    kind = reported;
    bytes = count;
    changed.notify_one();
  }
};

void CALLBACK TakeReport(HINTERNET, DWORD_PTR context, DWORD status, void* info, DWORD length) {
  auto* const reports = reinterpret_cast<Reports*>(context);
  if (!reports) return;
  std::shared_ptr<Reports> closed;  // let go of behind the lock
  const std::lock_guard lock(reports->mutex);
  switch (status) {
    case WINHTTP_CALLBACK_STATUS_CONNECTING_TO_SERVER:
      reports->phase = Watch::Phase::kConnecting;
      break;
    case WINHTTP_CALLBACK_STATUS_SENDING_REQUEST:
      reports->phase = Watch::Phase::kSending;
      break;
    case WINHTTP_CALLBACK_STATUS_REQUEST_SENT:
      reports->phase = Watch::Phase::kReceiving;
      break;
    case WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE:
      reports->phase = Watch::Phase::kReceiving;
      reports->Set(Reports::Kind::kSent);
      break;
    case WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE:
      reports->Set(Reports::Kind::kHeader);
      break;
    case WINHTTP_CALLBACK_STATUS_DATA_AVAILABLE:
      reports->Set(Reports::Kind::kAvailable, *static_cast<const DWORD*>(info));
      break;
    case WINHTTP_CALLBACK_STATUS_READ_COMPLETE:
      reports->Set(Reports::Kind::kRead, length);
      break;
    case WINHTTP_CALLBACK_STATUS_REQUEST_ERROR:
      reports->Set(Reports::Kind::kFailed);
      break;
    case WINHTTP_CALLBACK_STATUS_HANDLE_CLOSING:
      closed = std::move(reports->self);
      break;
    default:
      break;
  }
}

// One session for each proxy, "" for none: not every system takes a proxy for a single request.
// They live as long as the process, and with them the connections to hosts already asked.
HINTERNET Session(const std::wstring& proxy) {
  static std::map<std::wstring, HINTERNET> sessions;
  HINTERNET& session = sessions[proxy];
  if (!session) {
    session = WinHttpOpen(
        L"tavhost", proxy.empty() ? WINHTTP_ACCESS_TYPE_NO_PROXY : WINHTTP_ACCESS_TYPE_NAMED_PROXY,
        proxy.empty() ? WINHTTP_NO_PROXY_NAME : proxy.c_str(), WINHTTP_NO_PROXY_BYPASS,
        WINHTTP_FLAG_ASYNC);
  }
  if (!session) throw std::runtime_error("WinHTTP cannot be started");
  return session;
}

template <typename Value>
void SetOption(HINTERNET handle, DWORD option, Value value) {
  // Older systems lack some of the options; none is one that a request must not go without.
  WinHttpSetOption(handle, option, &value, sizeof value);
}

// One exchange, step by step: each step is begun, and then waited for in slices in which the
// windows are painted and the watch is asked.
class Exchanging {
 public:
  Exchanging(const Request& request, Watch& watch, Answer& answer)
      : request_(request), answer_(answer), watch_(watch), reports_(std::make_shared<Reports>()) {}
  Exchanging(const Exchanging&) = delete;
  Exchanging& operator=(const Exchanging&) = delete;
  ~Exchanging() {
    if (exchange_) WinHttpCloseHandle(exchange_);
    if (connection_) WinHttpCloseHandle(connection_);
  }

  bool Run() { return Open() && Send() && ReadHeader() && ReadBody(); }

 private:
  bool Open() {
    std::wstring proxy;
    if (request_.proxy) {
      // WinHTTP would pass over a proxy that it cannot speak to.
      if (request_.proxy->scheme != "http") return false;
      proxy = base::Wide(request_.proxy->hostAndPort);
    }
    const std::wstring host = Host(request_.url);
    if (host.empty()) return false;
    connection_ = WinHttpConnect(Session(proxy), host.c_str(), request_.url.port, 0);
    if (!connection_) return false;
    exchange_ = WinHttpOpenRequest(
        connection_, base::Wide(request_.verb).c_str(), base::Wide(request_.url.target).c_str(),
        nullptr, WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
        WINHTTP_FLAG_ESCAPE_DISABLE | (request_.url.secure ? WINHTTP_FLAG_SECURE : 0));
    if (!exchange_) return false;
    SetOption(exchange_, WINHTTP_OPTION_CONTEXT_VALUE, reinterpret_cast<DWORD_PTR>(reports_.get()));
    if (WinHttpSetStatusCallback(exchange_, TakeReport, WINHTTP_CALLBACK_FLAG_ALL_NOTIFICATIONS,
                                 0) == WINHTTP_INVALID_STATUS_CALLBACK) {
      return false;
    }
    reports_->self = reports_;
    SetOptions();
    return WinHttpAddRequestHeaders(exchange_, base::Wide(kAcceptEncoding).c_str(),
                                    static_cast<DWORD>(-1), WINHTTP_ADDREQ_FLAG_ADD) &&
           SetCredentials();
  }

  void SetOptions() {
    // The watch ends what takes too long; these limits let WinHTTP give up on it as well.
    const auto limit = [](std::uint32_t milliseconds) {
      return static_cast<int>(std::min<std::uint32_t>(milliseconds, 0x7FFFFFFF));
    };
    const Timeouts& timeouts = watch_.Limits();
    WinHttpSetTimeouts(exchange_, limit(timeouts.resolve), limit(timeouts.connect),
                       limit(timeouts.send), limit(timeouts.receive));
    SetOption(exchange_, WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT,
              timeouts.receive == 0 ? DWORD{0xFFFFFFFF} : DWORD{timeouts.receive});
    SetOption(exchange_, WINHTTP_OPTION_CONNECT_RETRIES, DWORD{1});
    SetOption(exchange_, WINHTTP_OPTION_MAX_RESPONSE_HEADER_SIZE, DWORD{kHeaderLimit});
    // A server is not to learn who the user is because it asks.
    SetOption(exchange_, WINHTTP_OPTION_AUTOLOGON_POLICY,
              DWORD{WINHTTP_AUTOLOGON_SECURITY_LEVEL_HIGH});
    DWORD disabled = WINHTTP_DISABLE_REDIRECTS | WINHTTP_DISABLE_COOKIES;
    if (!request_.proxy || request_.proxy->userInfo.empty()) {
      disabled |= WINHTTP_DISABLE_AUTHENTICATION;
    }
    SetOption(exchange_, WINHTTP_OPTION_DISABLE_FEATURE, disabled);
  }

  bool SetCredentials() {
    if (!request_.url.userInfo.empty()) {
      const std::string field = "Authorization: Basic " + Base64(Credentials(request_.url));
      if (!WinHttpAddRequestHeaders(exchange_, base::Wide(field).c_str(), static_cast<DWORD>(-1),
                                    WINHTTP_ADDREQ_FLAG_ADD)) {
        return false;
      }
    }
    if (!request_.proxy || request_.proxy->userInfo.empty()) return true;
    const std::string& userInfo = request_.proxy->userInfo;
    const auto colon = userInfo.find(':');
    const std::wstring user = base::Wide(PercentDecoded(userInfo.substr(0, colon)));
    const std::wstring password =
        colon == std::string::npos ? L"" : base::Wide(PercentDecoded(userInfo.substr(colon + 1)));
    return WinHttpSetCredentials(exchange_, WINHTTP_AUTH_TARGET_PROXY, WINHTTP_AUTH_SCHEME_BASIC,
                                 user.c_str(), password.c_str(), nullptr) != FALSE;
  }

  // Waits for what the call just made is to report; false when it failed, took too long, or a stop
  // was asked for.
  bool Await(BOOL started, Reports::Kind wanted) {
    constexpr auto kSlice = std::chrono::milliseconds(20);
    if (!started) return false;
    std::unique_lock lock(reports_->mutex);
    while (true) {
      const bool reported = reports_->changed.wait_for(
          lock, kSlice, [this] { return reports_->kind != Reports::Kind::kNone; });
      const auto now = Watch::Clock::now();
      watch_.Enter(reports_->phase, now);
      if (reported) {
        const bool good = reports_->kind == wanted;
        reports_->kind = Reports::Kind::kNone;
        watch_.Received(now);
        return good && !stop::IsRequested() && !watch_.IsOver(now);
      }
      if (stop::IsRequested() || watch_.IsOver(now)) return false;
      lock.unlock();
      PaintWhileWaiting();
      lock.lock();
    }
  }

  bool Send() {
    return Await(
        WinHttpSendRequest(exchange_, WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0,
                           0, reinterpret_cast<DWORD_PTR>(reports_.get())),
        Reports::Kind::kSent);
  }

  bool ReadHeader() {
    // An interim answer handed out as the last one is no answer.
    return Await(WinHttpReceiveResponse(exchange_, nullptr), Reports::Kind::kHeader) &&
           TakeHeader() && answer_.status >= 200;
  }

  bool TakeHeader() {
    DWORD bytes = 0;
    WinHttpQueryHeaders(exchange_, WINHTTP_QUERY_RAW_HEADERS_CRLF, WINHTTP_HEADER_NAME_BY_INDEX,
                        nullptr, &bytes, WINHTTP_NO_HEADER_INDEX);
    std::vector<char16_t> units(bytes / sizeof(char16_t) + 1);
    if (!WinHttpQueryHeaders(exchange_, WINHTTP_QUERY_RAW_HEADERS_CRLF,
                             WINHTTP_HEADER_NAME_BY_INDEX, units.data(), &bytes,
                             WINHTTP_NO_HEADER_INDEX)) {
      return false;
    }
    answer_.header = utf16::ToUtf8(units.data());
    // One that breaks off is handed out all the same, without the empty line behind it.
    if (answer_.header.size() > kHeaderLimit || !answer_.header.ends_with("\r\n\r\n")) return false;
    DWORD status = 0;
    DWORD size = sizeof status;
    WinHttpQueryHeaders(exchange_, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                        WINHTTP_HEADER_NAME_BY_INDEX, &status, &size, WINHTTP_NO_HEADER_INDEX);
    answer_.status = static_cast<int>(status);
    const auto framing = FramingOf(answer_.header, request_.verb, answer_.status);
    if (framing) framing_ = *framing;
    return framing.has_value();
  }

  bool ReadBody() {
    constexpr DWORD kPiece = 256 * 1024;
    if (framing_.end == BodyEnd::kNone) return true;
    if (framing_.length > kBodyLimit) return false;
    reports_->piece.resize(kPiece);
    Body body(answer_.body, kBodyLimit);
    body.Announce(framing_.length);
    const auto decoder = Decoder::For(JoinedFields(answer_.header, "Content-Encoding"), body);
    if (!decoder) return false;
    std::uint64_t received = 0;
    while (true) {
      // Asked first, since reading waits until the piece is full.
      if (!Await(WinHttpQueryDataAvailable(exchange_, nullptr), Reports::Kind::kAvailable)) {
        return false;
      }
      const DWORD available = std::min(reports_->bytes, kPiece);
      if (available == 0) break;
      if (!Await(WinHttpReadData(exchange_, reports_->piece.data(), available, nullptr),
                 Reports::Kind::kRead)) {
        return false;
      }
      if (reports_->bytes == 0) break;
      received += reports_->bytes;
      if (!decoder->Append(reports_->piece.data(), reports_->bytes)) return false;
    }
    body.Finish();
    // An answer that breaks off reads as one that ends; only its length tells. Whether chunks are
    // whole is for WinHTTP to see.
    return decoder->IsComplete(framing_.end) &&
           (framing_.end != BodyEnd::kLength || framing_.length == received);
  }

  const Request& request_;
  Answer& answer_;
  Watch& watch_;
  Framing framing_;  // from the end of the header on
  std::shared_ptr<Reports> reports_;
  HINTERNET connection_ = nullptr;
  HINTERNET exchange_ = nullptr;
};

}  // namespace

bool Exchange(const Request& request, Watch& watch, Answer& answer) {
  answer = Answer();
  watch.BeginExchange(Watch::Clock::now());
  return Exchanging(request, watch, answer).Run();
}

}  // namespace http
