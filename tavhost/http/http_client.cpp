#include "host/http/http_client.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "tavhost/base/ascii.h"
#include "tavhost/base/dry_run.h"
#include "tavhost/base/refused_memory.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/base/utf16.h"
#include "tavhost/http/http_header.h"
#include "tavhost/http/http_proxy.h"
#include "tavhost/http/http_text.h"
#include "tavhost/http/http_transport.h"
#include "tavhost/http/http_url.h"
#include "tavhost/http/http_watch.h"

namespace {

constexpr int kRedirectLimit = 20;         // more is a circle
constexpr std::uint32_t kRetryLimit = 10;  // whatever a script asks for

std::string Utf8(const SV::WString& text) { return utf16::ToUtf8(text.View()); }

SV::WString Wide(const std::string& utf8) {
  return SV::ConvertUTF8StringToWString(base::StringOf(utf8));
}

// A token of RFC 9110, 5.6.2.
bool IsToken(const std::string& verb) {
  return !verb.empty() && std::all_of(verb.begin(), verb.end(), [](char c) {
    return ascii::IsLetterOrDigit(c) ||
           std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
  });
}

bool IsRedirect(int status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

// RFC 9110, 15.4: after 303 the other page is fetched; after 301 and 302 a POST becomes a GET.
std::string VerbBehind(int status, const std::string& verb) {
  if (status == 303 && verb != "HEAD") return "GET";
  if ((status == 301 || status == 302) && verb == "POST") return "GET";
  return verb;
}

}  // namespace

struct TavHTTPClient::State {
  http::Url url;
  http::Timeouts timeouts;
  std::uint32_t retries = 0;
  std::vector<http::Proxy> proxies;
  bool badProxy = false;  // the list given makes no sense: requests fail, rather than go direct
  http::Answer answer;
  std::uint32_t received = 0;  // bytes of its body
  SV::WString content;         // the body as text, once that was asked for
  bool decoded = false;
  bool rawWanted = false;  // the body is kept beside its text
  SV::WString header;
  SV::WString charset;
  SV::WString host;

  bool Fetch(const std::string& verb);
  bool FetchRepeatedly(const std::string& verb);  // with the retries
  SV::String DecodedText();
};

// One attempt: the request and whatever it is redirected to. From https no redirect leads back to
// http, and user names and passwords go to no other server than they were meant for.
bool TavHTTPClient::State::Fetch(const std::string& verb) {
  http::Request request;
  request.url = url;
  request.verb = verb;
  http::Watch watch(timeouts, http::Watch::Clock::now());
  for (int redirects = 0; redirects <= kRedirectLimit; ++redirects) {
    const http::Proxy* proxy = http::ChooseProxy(proxies, request.url.secure);
    request.proxy = proxy ? std::optional(*proxy) : std::nullopt;
    if (!http::Exchange(request, watch, answer)) return false;
    const std::string location = http::FirstField(answer.header, "Location");
    if (!IsRedirect(answer.status) || location.empty()) return true;
    auto next = http::ResolveUrl(request.url, location);
    if (!next || (request.url.secure && !next->secure)) return false;
    if (!next->SameOrigin(request.url)) {
      next->userInfo.clear();
    } else if (next->userInfo.empty()) {
      next->userInfo = request.url.userInfo;
    }
    request.verb = VerbBehind(answer.status, request.verb);
    request.url = *std::move(next);
  }
  return false;
}

bool TavHTTPClient::State::FetchRepeatedly(const std::string& verb) {
  for (std::uint32_t attempt = 0; attempt <= retries && !stop::IsRequested(); ++attempt) {
    if (Fetch(verb)) return true;
  }
  return false;
}

SV::String TavHTTPClient::State::DecodedText() {
  const std::string charsetName = http::CharsetOf(http::FirstField(answer.header, "Content-Type"));
  return rawWanted ? http::TextOf(charsetName, answer.body)
                   : http::TakeTextOf(charsetName, answer.body);
}

// Notes it itself: who makes a client may take whatever is thrown for an address that is none.
TavHTTPClient::TavHTTPClient(const SV::WString& url, bool (*progress)(double)) try
    : state_(std::make_unique<State>()) {
  const std::string text = Utf8(url);
  trace::Call call("TavHTTPClient::TavHTTPClient", http::WithoutUserInfo(text),
                   trace::Object{reinterpret_cast<const void*>(progress)});
  auto parsed = http::ParseUrl(text);
  if (!parsed) throw std::invalid_argument("not a URL of http or https");
  state_->url = *std::move(parsed);
  state_->host = Wide(state_->url.host);
  call.Created("TavHTTPClient", this);
} catch (const std::bad_alloc&) {
  refused_memory::Note();
}

TavHTTPClient::~TavHTTPClient() {
  trace::Call call(this, "~TavHTTPClient");
  call.Write();
  trace::Forget(this);
}

bool TavHTTPClient::SetTimeouts(std::uint32_t resolve, std::uint32_t connect, std::uint32_t send,
                                std::uint32_t receive) {
  trace::Call call(this, "SetTimeouts", resolve, connect, send, receive);
  state_->timeouts = {resolve, connect, send, receive};
  return call.Result(true);
}

void TavHTTPClient::SetRetryTimes(std::uint32_t count) {
  trace::Call call(this, "SetRetryTimes", count);
  call.Write();
  // A negative number of a script is none, not very many.
  state_->retries = count > 0x7FFFFFFFu ? 0 : std::min(count, kRetryLimit);
}

bool TavHTTPClient::SetProxy(const SV::WString& proxy) {
  trace::Call call(this, "SetProxy", "***");  // it may be a password
  auto proxies = refused_memory::Noting([&] { return http::ParseProxyList(Utf8(proxy)); });
  state_->badProxy = !proxies;
  state_->proxies = proxies ? *std::move(proxies) : std::vector<http::Proxy>();
  return call.Result(!state_->badProxy);
}

bool TavHTTPClient::SendHttpRequest(const SV::WString& verb, bool unused) {
  const std::string name = Utf8(verb);
  trace::Call call(this, "SendHttpRequest", name, unused);
  state_->decoded = false;
  state_->rawWanted = false;
  if (state_->badProxy || (!name.empty() && !IsToken(name))) return call.Result(false);
  const std::string sent = name.empty() ? "GET" : name;
  if (dry_run::IsOn()) {
    dry_run::Tell({dry_run::Act::kSend, state_->url.Text(), {}, -1, false, sent});
    state_->answer = http::Answer();  // an empty one, as if the server had taken it
    state_->received = 0;
    return call.Result(true);
  }
  const bool complete = refused_memory::Noting([&] { return state_->FetchRepeatedly(sent); });
  if (!complete) state_->answer = http::Answer();
  state_->received = static_cast<std::uint32_t>(state_->answer.body.Len());
  state_->header = Wide(state_->answer.header);
  state_->charset = Wide(http::CharsetOf(http::FirstField(state_->answer.header, "Content-Type")));
  return call.Result(complete);
}

const SV::WString& TavHTTPClient::GetResponseContent() {
  trace::Call call(this, "GetResponseContent");
  if (!state_->decoded) {
    state_->content =
        refused_memory::Noting([this] { return SV::WString::OfUtf8(state_->DecodedText()); });
    state_->decoded = true;
  }
  return call.ResultText(state_->content);
}

const unsigned char* TavHTTPClient::GetRawResponseContent() {
  trace::Call call(this, "GetRawResponseContent");
  if (state_->decoded && !state_->rawWanted) {
    throw std::logic_error("the raw content was given up for the text");
  }
  state_->rawWanted = true;
  call.Result(state_->answer.body);
  return reinterpret_cast<const unsigned char*>(state_->answer.body.GetStr());
}

std::uint32_t TavHTTPClient::GetRawResponseReceivedContentLength() {
  trace::Call call(this, "GetRawResponseReceivedContentLength");
  return call.Result(state_->received);
}

const SV::WString& TavHTTPClient::GetResponseHeader() {
  trace::Call call(this, "GetResponseHeader");
  return call.ResultText(state_->header);
}

const SV::WString& TavHTTPClient::GetResponseCharset() {
  trace::Call call(this, "GetResponseCharset");
  return call.ResultText(state_->charset);
}

const SV::WString& TavHTTPClient::GetRequestHost() {
  trace::Call call(this, "GetRequestHost");
  return call.ResultText(state_->host);
}
