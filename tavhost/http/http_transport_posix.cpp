#define CURL_DISABLE_TYPECHECK
#include <curl/curl.h>
#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "tavhost/base/stop.h"
#include "tavhost/http/http_body.h"
#include "tavhost/http/http_encoding.h"
#include "tavhost/http/http_transport.h"
#include "tavhost/http/http_watch.h"

namespace http {

namespace {

// libcurl, loaded by the first request: that takes milliseconds which no other command pays for.
struct Library {
  decltype(&curl_global_init) globalInit;
  decltype(&curl_easy_init) easyInit;
  decltype(&curl_easy_reset) easyReset;
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

  // Live as long as the process: the connections to hosts already asked stay open in them.
  CURL* easy = nullptr;
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
  Find(module, "curl_easy_reset", library.easyReset);
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
  if (library.globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
    throw std::runtime_error("libcurl cannot be started");
  }
  library.easy = library.easyInit();
  library.multi = library.multiInit();
  if (!library.easy || !library.multi) throw std::runtime_error("libcurl cannot be started");
  return library;
}

const Library& Curl() {
  static const Library library = Load();
  return library;
}

// What the callbacks of one transfer share.
struct Transfer {
  const Request& request;
  Answer& answer;
  Body body;
  Watch watch;
  std::unique_ptr<Decoder> decoder = nullptr;  // from the first bytes of the body on
  std::size_t headerBytes = 0;
  bool refused = false;
};

// libcurl hands over the header line by line and the body in pieces. Anything but the number of
// bytes as the result ends the transfer.

std::size_t TakeHeader(char* data, std::size_t, std::size_t length, void* user) {
  auto& transfer = *static_cast<Transfer*>(user);
  transfer.watch.Received(Watch::Clock::now());
  transfer.headerBytes += length;
  if (transfer.headerBytes > kHeaderLimit) {
    transfer.refused = true;
    return 0;
  }
  std::string& header = transfer.answer.header;
  const std::string_view line(data, length);
  if (line.starts_with("HTTP/")) header.clear();  // an interim answer stood before this one
  header += line;
  // The header is complete. Its fields must agree on the body's length before a body is read.
  if ((line == "\r\n" || line == "\n") && HasBadFraming(header)) {
    transfer.refused = true;
    return 0;
  }
  return length;
}

std::size_t TakeBody(char* data, std::size_t, std::size_t length, void* user) {
  auto& transfer = *static_cast<Transfer*>(user);
  const auto now = Watch::Clock::now();
  transfer.watch.Received(now);
  // A server that is fast enough keeps libcurl from returning in between.
  PaintWhileWaiting();
  if (stop::IsRequested() || transfer.watch.IsOver(now)) {
    transfer.refused = true;
    return 0;
  }
  if (!transfer.decoder) {
    curl_off_t announced = -1;
    Curl().getInfo(Curl().easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
    const auto expected = static_cast<std::uint64_t>(std::max<curl_off_t>(announced, 0));
    transfer.body.Announce(expected);
    transfer.answer.text = BodyText(CharsetOf(transfer.answer.Field("Content-Type")), expected);
    transfer.decoder = Decoder::For(transfer.answer.Field("Content-Encoding"), transfer.body);
  }
  if (transfer.decoder && transfer.decoder->Append(data, length)) return length;
  transfer.refused = true;
  return 0;
}

// Tells the watch how far the transfer has come: libcurl notes the time at which each phase ended.
void Follow(Watch& watch, Watch::Clock::time_point now) {
  const auto reached = [](CURLINFO when) {
    curl_off_t microseconds = 0;
    Curl().getInfo(Curl().easy, when, &microseconds);
    return microseconds > 0;
  };
  if (reached(CURLINFO_NAMELOOKUP_TIME_T)) watch.Enter(Watch::Phase::kConnecting, now);
  // A request without a body is sent as soon as there is a connection.
  if (reached(CURLINFO_PRETRANSFER_TIME_T)) watch.Enter(Watch::Phase::kReceiving, now);
}

struct ListDeleter {
  void operator()(curl_slist* list) const { Curl().listFree(list); }
};
using HeaderList = std::unique_ptr<curl_slist, ListDeleter>;

void SetCredentials(const Library& curl, CURLoption user, CURLoption password,
                    const std::string& userInfo) {
  if (userInfo.empty()) return;
  const auto colon = userInfo.find(':');
  curl.setOption(curl.easy, user, PercentDecoded(userInfo.substr(0, colon)).c_str());
  curl.setOption(
      curl.easy, password,
      colon == std::string::npos ? "" : PercentDecoded(userInfo.substr(colon + 1)).c_str());
}

HeaderList SetOptions(const Library& curl, Transfer& transfer) {
  const Request& request = transfer.request;
  CURL* easy = curl.easy;
  curl.easyReset(easy);
  curl.setOption(easy, CURLOPT_URL, request.url.Text().c_str());
  curl.setOption(easy, CURLOPT_PROTOCOLS_STR, "http,https");
  curl.setOption(easy, CURLOPT_FOLLOWLOCATION, 0L);
  curl.setOption(easy, CURLOPT_PATH_AS_IS, 1L);
  curl.setOption(easy, CURLOPT_NOSIGNAL, 1L);
  curl.setOption(easy, CURLOPT_QUICK_EXIT, 1L);
  curl.setOption(easy, CURLOPT_USERAGENT, "tavhost");
  curl.setOption(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  curl.setOption(easy, CURLOPT_HEADERFUNCTION, TakeHeader);
  curl.setOption(easy, CURLOPT_HEADERDATA, &transfer);
  curl.setOption(easy, CURLOPT_WRITEFUNCTION, TakeBody);
  curl.setOption(easy, CURLOPT_WRITEDATA, &transfer);
  curl.setOption(easy, CURLOPT_BUFFERSIZE, 512L * 1024);
  // The watch ends what takes too long; libcurl's own limit only must not come first.
  curl.setOption(easy, CURLOPT_CONNECTTIMEOUT_MS, 0x7FFFFFFFL);
  if (const char* authority = std::getenv("SSL_CERT_FILE")) {
    curl.setOption(easy, CURLOPT_CAINFO, authority);
  }
  SetCredentials(curl, CURLOPT_USERNAME, CURLOPT_PASSWORD, request.url.userInfo);

  // The environment's proxies are not used: a script asks for them by GET_PROXY_SETTINGS.
  curl.setOption(easy, CURLOPT_PROXY, request.proxy ? request.proxy->Text().c_str() : "");
  curl.setOption(easy, CURLOPT_NOPROXY, "");
  if (request.proxy) {
    SetCredentials(curl, CURLOPT_PROXYUSERNAME, CURLOPT_PROXYPASSWORD, request.proxy->userInfo);
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
      return message->msg == CURLMSG_DONE && message->data.result == CURLE_OK;
    }
    const auto now = Watch::Clock::now();
    Follow(transfer.watch, now);
    if (running == 0 || stop::IsRequested() || transfer.watch.IsOver(now)) return false;
    PaintWhileWaiting();
    curl.poll(curl.multi, nullptr, 0, kSliceMilliseconds, nullptr);
  }
}

}  // namespace

bool Exchange(const Request& request, Answer& answer) {
  const Library& curl = Curl();
  answer = Answer();
  Transfer transfer{request, answer, Body(answer.body, kBodyLimit, &answer.text),
                    Watch(request.timeouts, Watch::Clock::now())};
  const HeaderList fields = SetOptions(curl, transfer);
  if (curl.addHandle(curl.multi, curl.easy) != CURLM_OK) return false;
  const bool complete = Run(curl, transfer) && !transfer.refused &&
                        (!transfer.decoder || transfer.decoder->IsComplete());
  long status = 0;
  curl.getInfo(curl.easy, CURLINFO_RESPONSE_CODE, &status);
  curl.removeHandle(curl.multi, curl.easy);
  answer.status = static_cast<int>(status);
  transfer.body.Finish();
  return complete && status != 0;
}

}  // namespace http
