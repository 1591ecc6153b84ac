#define CURL_DISABLE_TYPECHECK
#include <curl/curl.h>
#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>

#include "tavhost/base/stop.h"
#include "tavhost/http/http_body.h"
#include "tavhost/http/http_encoding.h"
#include "tavhost/http/http_header.h"
#include "tavhost/http/http_sockets_posix.h"
#include "tavhost/http/http_transport.h"
#include "tavhost/http/http_watch.h"

struct ssl_st;
struct ssl_ctx_st;

namespace http {

namespace {

// libcurl, loaded by the first request: that takes milliseconds which no other command pays for.
struct Library {
  decltype(&curl_global_init) globalInit;
  decltype(&curl_easy_init) easyInit;
  decltype(&curl_easy_cleanup) easyCleanup;
  decltype(&curl_easy_setopt) setOption;
  decltype(&curl_easy_getinfo) getInfo;
  decltype(&curl_multi_init) multiInit;
  decltype(&curl_multi_add_handle) addHandle;
  decltype(&curl_multi_remove_handle) removeHandle;
  decltype(&curl_multi_perform) perform;
  decltype(&curl_multi_poll) poll;
  decltype(&curl_multi_info_read) infoRead;
  decltype(&curl_slist_append) listAppend;
  decltype(&curl_slist_free_all) listFree;
  // Of the TLS library that libcurl uses, if it is OpenSSL; else null.
  void (*setInfoCallback)(ssl_ctx_st*, void (*)(const ssl_st*, int, int)) = nullptr;
  void (*getProtocol)(const ssl_st*, const unsigned char**, unsigned*) = nullptr;

  // Lives as long as the process: the connections to hosts already asked stay open in it.
  CURLM* multi = nullptr;
};

template <typename Function>
void Find(void* module, const char* name, Function& function) {
  void* address = dlsym(module, name);
  if (!address) throw std::runtime_error(std::string("libcurl lacks ") + name);
  function = reinterpret_cast<Function>(address);
}

Library Load() {
  void* module = dlopen("libcurl.so.4", RTLD_NOW | RTLD_LOCAL);
  if (!module) throw std::runtime_error("libcurl.so.4 cannot be loaded");
  Library library;
  Find(module, "curl_global_init", library.globalInit);
  Find(module, "curl_easy_init", library.easyInit);
  Find(module, "curl_easy_cleanup", library.easyCleanup);
  Find(module, "curl_easy_setopt", library.setOption);
  Find(module, "curl_easy_getinfo", library.getInfo);
  Find(module, "curl_multi_init", library.multiInit);
  Find(module, "curl_multi_add_handle", library.addHandle);
  Find(module, "curl_multi_remove_handle", library.removeHandle);
  Find(module, "curl_multi_perform", library.perform);
  Find(module, "curl_multi_poll", library.poll);
  Find(module, "curl_multi_info_read", library.infoRead);
  Find(module, "curl_slist_append", library.listAppend);
  Find(module, "curl_slist_free_all", library.listFree);
  if (void* address = dlsym(module, "SSL_CTX_set_info_callback")) {
    library.setInfoCallback = reinterpret_cast<decltype(library.setInfoCallback)>(address);
    Find(module, "SSL_get0_alpn_selected", library.getProtocol);
  }
  if (library.globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
    throw std::runtime_error("libcurl cannot be started");
  }
  library.multi = library.multiInit();
  if (!library.multi) throw std::runtime_error("libcurl cannot be started");
  return library;
}

const Library& Curl() {
  static const Library library = Load();
  return library;
}

// A handle for one transfer: of one that is used again, libcurl 7.88 remembers fields of the answer
// before although it has freed them.
struct EasyDeleter {
  void operator()(CURL* easy) const { Curl().easyCleanup(easy); }
};
using Easy = std::unique_ptr<CURL, EasyDeleter>;

Easy MakeEasy() {
  Easy easy(Curl().easyInit());
  if (!easy) throw std::bad_alloc();
  return easy;
}

// What the callbacks of one transfer share.
struct Transfer {
  const Request& request;
  Answer& answer;
  Body body;
  Watch& watch;
  HeaderLines header;
  Framing framing = {};                        // from the end of the header on
  std::unique_ptr<Decoder> decoder = nullptr;  // the same, when there is a body that it can decode
  const ssl_st* tls = nullptr;                 // the same; null where the answer comes without
  bool refused = false;
  std::exception_ptr fault = nullptr;  // thrown in a callback, which libcurl must not see
  Easy easy = MakeEasy();
};

curl_socket_t OpenSocket(void*, curlsocktype, curl_sockaddr* address) {
  return sockets::Open(address->family, address->socktype, address->protocol);
}

int CloseSocket(void*, curl_socket_t socket) { return sockets::Close(socket); }

// What libcurl does not tell: whether TLS was ended as it has to be, or broke off.
const void* ended = nullptr;  // the one that its peer ended last

void NoteAlert(const ssl_st* tls, int where, int alert) {
  constexpr int kHandshakeStart = 0x10;
  constexpr int kAlertRead = 0x4004;
  constexpr int kKindOfAlert = 0xFF;
  constexpr int kCloseNotify = 0;
  // A new connection may lie where one that has ended was.
  if (where == kHandshakeStart && ended == tls) ended = nullptr;
  if (where == kAlertRead && (alert & kKindOfAlert) == kCloseNotify) ended = tls;
}

CURLcode WatchTls(CURL*, void* context, void*) {
  if (const auto setInfoCallback = Curl().setInfoCallback) {
    setInfoCallback(static_cast<ssl_ctx_st*>(context), NoteAlert);
  }
  return CURLE_OK;
}

const ssl_st* TlsInUse(CURL* easy) {
  const curl_tlssessioninfo* session = nullptr;
  Curl().getInfo(easy, CURLINFO_TLS_SSL_PTR, &session);
  const bool isKnown = session && session->backend == CURLSSLBACKEND_OPENSSL;
  return isKnown ? static_cast<const ssl_st*>(session->internals) : nullptr;
}

// What was agreed on counts: a status line says of itself whatever its server likes.
bool IsHttp2(const ssl_st* tls) {
  const unsigned char* name = nullptr;
  unsigned length = 0;
  Curl().getProtocol(tls, &name, &length);
  return std::string_view(reinterpret_cast<const char*>(name), length) == "h2";
}

// The header has come whole: its fields must agree on the body's length before a body is read.
bool BeginBody(Transfer& transfer) {
  const std::string& header = transfer.answer.header;
  const auto framing = FramingOf(header, transfer.request.verb, transfer.header.Status());
  if (!framing) return false;
  transfer.framing = *framing;
  transfer.tls = TlsInUse(transfer.easy.get());
  if (framing->end == BodyEnd::kNone) return true;
  if (framing->length > kBodyLimit) return false;
  transfer.body.Announce(framing->length);
  transfer.decoder = Decoder::For(JoinedFields(header, "Content-Encoding"), transfer.body);
  return true;
}

// Whether the body is whole, by all that has come of it.
bool IsBodyComplete(const Transfer& transfer) {
  if (transfer.framing.end == BodyEnd::kNone) return true;
  // Anybody on the way can end a connection; that the answer ends there only the server can say.
  // From version 2 on each answer has an end of its own.
  const bool isWatched = transfer.tls && Curl().setInfoCallback;
  if (transfer.framing.end == BodyEnd::kClose && isWatched && ended != transfer.tls &&
      !IsHttp2(transfer.tls)) {
    return false;
  }
  // Of a body in an encoding that is not known nothing was taken: it was empty.
  return !transfer.decoder || transfer.decoder->IsComplete(transfer.framing.end);
}

bool TakeHeader(Transfer& transfer, std::string_view line) {
  transfer.watch.Received(Watch::Clock::now());
  const bool isTrailer = transfer.header.IsComplete();
  return transfer.header.Append(line) &&
         (isTrailer || !transfer.header.IsComplete() || BeginBody(transfer));
}

bool TakeBody(Transfer& transfer, std::string_view piece) {
  const auto now = Watch::Clock::now();
  transfer.watch.Received(now);
  // A server that is fast enough keeps libcurl from returning in between.
  PaintWhileWaiting();
  return !stop::IsRequested() && !transfer.watch.IsOver(now) && transfer.decoder &&
         transfer.decoder->Append(piece.data(), piece.size());
}

// libcurl hands over the header line by line and the body in pieces. Anything but the number of
// bytes as the result ends the transfer.
template <bool (*take)(Transfer&, std::string_view)>
std::size_t Callback(char* data, std::size_t, std::size_t length, void* user) noexcept {
  auto& transfer = *static_cast<Transfer*>(user);
  try {
    if (take(transfer, {data, length})) return length;
  } catch (...) {
    transfer.fault = std::current_exception();
  }
  transfer.refused = true;
  return 0;
}

// Tells the watch how far the transfer has come: libcurl notes the time at which each phase ended.
// True when the answer is waited for.
bool Follow(Watch& watch, CURL* easy, Watch::Clock::time_point now) {
  const auto reached = [easy](CURLINFO when) {
    curl_off_t microseconds = 0;
    Curl().getInfo(easy, when, &microseconds);
    return microseconds > 0;
  };
  if (reached(CURLINFO_NAMELOOKUP_TIME_T)) watch.Enter(Watch::Phase::kConnecting, now);
  // A request without a body is sent as soon as there is a connection.
  if (!reached(CURLINFO_PRETRANSFER_TIME_T)) return false;
  watch.Enter(Watch::Phase::kReceiving, now);
  return true;
}

// Whether the proxy has refused the tunnel. What it says behind that, of any length, libcurl would
// read to its end, although nobody asks for it: a user name has been sent with the first request.
bool IsTunnelRefused(CURL* easy) {
  constexpr long kSuccess = 2;  // hundreds
  long status = 0;
  Curl().getInfo(easy, CURLINFO_HTTP_CONNECTCODE, &status);
  return status != 0 && status / 100 != kSuccess;
}

// libcurl takes what a proxy says to the request for a tunnel without returning, as long as it goes
// on: only from in here can that be ended. Anything but zero as the result ends the transfer.
int OnProgress(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t) noexcept {
  auto& transfer = *static_cast<Transfer*>(user);
  try {
    const auto now = Watch::Clock::now();
    Follow(transfer.watch, transfer.easy.get(), now);
    PaintWhileWaiting();
    transfer.refused = transfer.refused || stop::IsRequested() || transfer.watch.IsOver(now) ||
                       IsTunnelRefused(transfer.easy.get());
  } catch (...) {
    transfer.fault = std::current_exception();
    transfer.refused = true;
  }
  return transfer.refused ? 1 : 0;
}

struct ListDeleter {
  void operator()(curl_slist* list) const { Curl().listFree(list); }
};
using HeaderList = std::unique_ptr<curl_slist, ListDeleter>;

void SetCredentials(const Library& curl, CURL* easy, CURLoption user, CURLoption password,
                    const std::string& userInfo) {
  if (userInfo.empty()) return;
  const auto colon = userInfo.find(':');
  curl.setOption(easy, user, PercentDecoded(userInfo.substr(0, colon)).c_str());
  curl.setOption(
      easy, password,
      colon == std::string::npos ? "" : PercentDecoded(userInfo.substr(colon + 1)).c_str());
}

HeaderList SetOptions(const Library& curl, Transfer& transfer) {
  const Request& request = transfer.request;
  CURL* const easy = transfer.easy.get();
  curl.setOption(easy, CURLOPT_URL, request.url.Text().c_str());
  curl.setOption(easy, CURLOPT_PROTOCOLS_STR, "http,https");
  curl.setOption(easy, CURLOPT_FOLLOWLOCATION, 0L);
  curl.setOption(easy, CURLOPT_PATH_AS_IS, 1L);
  curl.setOption(easy, CURLOPT_NOSIGNAL, 1L);
  curl.setOption(easy, CURLOPT_QUICK_EXIT, 1L);
  curl.setOption(easy, CURLOPT_USERAGENT, "tavhost");
  curl.setOption(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  curl.setOption(easy, CURLOPT_HEADERFUNCTION, Callback<TakeHeader>);
  curl.setOption(easy, CURLOPT_HEADERDATA, &transfer);
  curl.setOption(easy, CURLOPT_WRITEFUNCTION, Callback<TakeBody>);
  curl.setOption(easy, CURLOPT_WRITEDATA, &transfer);
  curl.setOption(easy, CURLOPT_NOPROGRESS, 0L);
  curl.setOption(easy, CURLOPT_XFERINFOFUNCTION, OnProgress);
  curl.setOption(easy, CURLOPT_XFERINFODATA, &transfer);
  curl.setOption(easy, CURLOPT_BUFFERSIZE, 512L * 1024);
  curl.setOption(easy, CURLOPT_OPENSOCKETFUNCTION, OpenSocket);
  curl.setOption(easy, CURLOPT_CLOSESOCKETFUNCTION, CloseSocket);
  // The watch ends what takes too long; libcurl's own limit only must not come first.
  curl.setOption(easy, CURLOPT_CONNECTTIMEOUT_MS, 0x7FFFFFFFL);
  const char* const authority = std::getenv("SSL_CERT_FILE");
  if (authority && *authority != '\0') curl.setOption(easy, CURLOPT_CAINFO, authority);
  if (curl.setInfoCallback) curl.setOption(easy, CURLOPT_SSL_CTX_FUNCTION, WatchTls);
  SetCredentials(curl, easy, CURLOPT_USERNAME, CURLOPT_PASSWORD, request.url.userInfo);

  // The environment's proxies are not used: a script asks for them by GET_PROXY_SETTINGS. The hosts
  // that no_proxy names there want none, whoever asks: of these libcurl knows by itself.
  curl.setOption(easy, CURLOPT_PROXY, request.proxy ? request.proxy->Text().c_str() : "");
  if (request.proxy) {
    SetCredentials(curl, easy, CURLOPT_PROXYUSERNAME, CURLOPT_PROXYPASSWORD,
                   request.proxy->userInfo);
  }

  HeaderList fields(curl.listAppend(nullptr, kAcceptEncoding));
  if (request.verb == "HEAD") {
    curl.setOption(easy, CURLOPT_NOBODY, 1L);
  } else if (request.verb != "GET") {
    curl.setOption(easy, CURLOPT_CUSTOMREQUEST, request.verb.c_str());
  }
  if (request.verb == "POST" || request.verb == "PUT" || request.verb == "PATCH") {
    curl.listAppend(fields.get(), "Content-Length: 0");  // RFC 9110, 8.6
  }
  curl.setOption(easy, CURLOPT_HTTPHEADER, fields.get());
  return fields;
}

// Runs the transfer to its end; false when it failed, took too long, or a stop was asked for.
bool Run(const Library& curl, Transfer& transfer) {
  constexpr int kSliceMilliseconds = 20;
  while (true) {
    int running = 0;
    if (curl.perform(curl.multi, &running) != CURLM_OK) return false;
    int left = 0;
    if (const CURLMsg* message = curl.infoRead(curl.multi, &left)) {
      // Its own word for want of memory also stands for a line of the header that is too long.
      return message->msg == CURLMSG_DONE && message->data.result == CURLE_OK;
    }
    const auto now = Watch::Clock::now();
    const bool isReceiving = Follow(transfer.watch, transfer.easy.get(), now);
    if (running == 0 || stop::IsRequested() || transfer.watch.IsOver(now)) return false;
    PaintWhileWaiting();
    int ready = 0;
    curl.poll(curl.multi, nullptr, 0, kSliceMilliseconds, &ready);
    // Of a line of the header that has not come whole libcurl tells nothing.
    if (ready > 0 && isReceiving) transfer.watch.Received(Watch::Clock::now());
  }
}

}  // namespace

bool Exchange(const Request& request, Watch& watch, Answer& answer) {
  const Library& curl = Curl();
  answer = Answer();
  ended = nullptr;
  sockets::EndTalkative();
  watch.BeginExchange(Watch::Clock::now());
  Transfer transfer{request, answer, Body(answer.body, kBodyLimit), watch,
                    HeaderLines(answer.header)};
  const HeaderList fields = SetOptions(curl, transfer);
  if (curl.addHandle(curl.multi, transfer.easy.get()) != CURLM_OK) return false;
  const bool complete = Run(curl, transfer) && !transfer.refused && transfer.header.IsComplete() &&
                        IsBodyComplete(transfer);
  curl.removeHandle(curl.multi, transfer.easy.get());
  if (transfer.fault) std::rethrow_exception(transfer.fault);
  answer.status = transfer.header.Status();
  transfer.body.Finish();
  return complete;
}

}  // namespace http
