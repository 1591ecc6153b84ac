// What a server may say. The first letter of an input says what the rest is:
//   W, H  an answer on the wire, to GET or HEAD: one that is not whole never counts as whole, and
//   one
//         that is whole beyond doubt comes as it was sent
//   T     a charset, a line feed, a text in it: it becomes UTF-8, the same however it is cut
//   E     content encodings, a line feed, data: however it is cut, the outcome is the same
//   U     a URL, a line feed, a reference: what is accepted reads back as the same URL
//   P     a list of proxies: each entry is one that can be spoken to
#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "tavhost/base/ascii.h"
#include "tavhost/base/utf16.h"
#include "tavhost/http/http_converter.h"
#include "tavhost/http/http_encoding.h"
#include "tavhost/http/http_proxy.h"
#include "tavhost/http/http_text.h"
#include "tavhost/http/http_transport.h"
#include "tavhost/http/http_url.h"
#include "tavhost/http/http_watch.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

std::string_view TakeLine(std::string_view& text) {
  const std::string_view line = text.substr(0, text.find('\n'));
  text.remove_prefix(std::min(line.size() + 1, text.size()));
  return line;
}

// A server on loopback that sends what it is told and hangs up. It is a process of its own: what
// its code does is not to guide the fuzzer. Each answer comes from another address, so that none
// meets a connection of the one before.
class ScriptedServer {
 public:
  ScriptedServer() {
    for (Listener& listener : listeners_) Listen(listener);
    std::array<int, 2> ends{};
    Require(pipe(ends.data()) == 0);
    const pid_t child = fork();
    Require(child >= 0);
    if (child == 0) {
      close(ends[1]);
      while (ServeOne(ends[0])) {
      }
      _exit(0);
    }
    close(ends[0]);
    script_ = ends[1];
    for (const Listener& listener : listeners_) close(listener.socket);
  }

  // Where the next request will be answered by these bytes.
  std::string Prepare(std::string_view answer) {
    next_ = (next_ + 1) % listeners_.size();
    const std::array<std::size_t, 2> head = {next_, answer.size()};
    Require(write(script_, head.data(), sizeof head) == sizeof head);
    while (!answer.empty()) {
      const ssize_t written = write(script_, answer.data(), answer.size());
      Require(written > 0);
      answer.remove_prefix(static_cast<std::size_t>(written));
    }
    return "http://" + Address(next_) + ":" + std::to_string(listeners_[next_].port) + "/";
  }

 private:
  struct Listener {
    int socket = -1;
    std::uint16_t port = 0;
  };

  static std::string Address(std::size_t index) { return "127.0.0." + std::to_string(index + 1); }

  void Listen(Listener& listener) {
    const auto index = static_cast<std::size_t>(&listener - listeners_.data());
    sockaddr_in address{};
    address.sin_family = AF_INET;
    inet_pton(AF_INET, Address(index).c_str(), &address.sin_addr);
    socklen_t length = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    listener.socket = socket(AF_INET, SOCK_STREAM, 0);
    Require(bind(listener.socket, any, length) == 0 && listen(listener.socket, 8) == 0 &&
            getsockname(listener.socket, any, &length) == 0);
    listener.port = ntohs(address.sin_port);
  }

  static bool ReadAll(int from, void* data, std::size_t length) {
    auto* at = static_cast<char*>(data);
    while (length > 0) {
      const ssize_t got = read(from, at, length);
      if (got <= 0) return false;
      at += got;
      length -= static_cast<std::size_t>(got);
    }
    return true;
  }

  bool ServeOne(int script) const {
    std::array<std::size_t, 2> head{};
    if (!ReadAll(script, head.data(), sizeof head)) return false;
    std::string answer(head[1], '\0');
    if (!ReadAll(script, answer.data(), answer.size())) return false;
    const int connection = accept(listeners_[head[0]].socket, nullptr, nullptr);
    std::string request;
    char piece[4096];
    while (request.find("\r\n\r\n") == std::string::npos) {
      const ssize_t got = recv(connection, piece, sizeof piece, 0);
      if (got <= 0) break;
      request.append(piece, static_cast<std::size_t>(got));
    }
    std::string_view left = answer;
    while (!left.empty()) {
      const ssize_t sent = send(connection, left.data(), left.size(), MSG_NOSIGNAL);
      if (sent <= 0) break;
      left.remove_prefix(static_cast<std::size_t>(sent));
    }
    close(connection);
    return true;
  }

  std::array<Listener, 16> listeners_;
  std::size_t next_ = 0;
  int script_ = -1;
};

// What can be said of an answer by reading it as simply as can be, apart from all that the host
// does.
enum class Verdict { kCut, kUnclear, kWhole };

struct Reading {
  Verdict verdict = Verdict::kUnclear;
  int status = 0;
  std::string body;  // of a whole one
};

// A line with its end; empty when the end is missing.
std::optional<std::string_view> WholeLine(std::string_view& text) {
  if (text.find('\n') == text.npos) return std::nullopt;
  std::string_view line = TakeLine(text);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

struct Fields {
  bool isComplete = false;
  bool isPlain = true;  // nothing stands in it that could be read in two ways
  std::string length;
  std::string coding;
};

bool IsToken(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(),
                                      [](char c) { return ascii::IsLetterOrDigit(c) || c == '-'; });
}

Fields ReadFields(std::string_view& text) {
  Fields fields;
  while (const auto line = WholeLine(text)) {
    if (line->empty()) {
      fields.isComplete = true;
      return fields;
    }
    const auto colon = line->find(':');
    const std::string name = ascii::ToLower(line->substr(0, colon));
    std::string value(colon == line->npos ? "" : line->substr(colon + 1));
    while (value.starts_with(' ')) value.erase(0, 1);
    const bool isText = std::all_of(value.begin(), value.end(), [](char c) {
      return static_cast<unsigned char>(c) >= ' ' && c != '\x7F';
    });
    if (colon == line->npos || !IsToken(name) || !isText) fields.isPlain = false;
    if (name == "content-length") {
      if (!fields.length.empty() || value.empty() || value.size() > 9) fields.isPlain = false;
      fields.length = value;
    } else if (name == "transfer-encoding") {
      if (!fields.coding.empty() || value.empty()) fields.isPlain = false;
      fields.coding = ascii::ToLower(value);
    } else if (name == "content-encoding") {
      fields.isPlain = false;
    }
  }
  return fields;
}

Reading OfChunks(std::string_view text, Reading reading) {
  reading.verdict = Verdict::kUnclear;
  while (true) {
    const auto line = WholeLine(text);
    if (!line) {
      reading.verdict = Verdict::kCut;
      return reading;
    }
    if (line->empty() || line->size() > 6 ||
        line->find_first_not_of("0123456789abcdefABCDEF") != line->npos) {
      return reading;
    }
    const std::size_t size = std::stoul(std::string(*line), nullptr, 16);
    if (size == 0) break;
    if (text.size() < size + 2) {
      reading.verdict = text.size() < size ? Verdict::kCut : Verdict::kUnclear;
      return reading;
    }
    reading.body += text.substr(0, size);
    if (text.substr(size, 2) != "\r\n") return reading;
    text.remove_prefix(size + 2);
  }
  const Fields trailer = ReadFields(text);
  reading.verdict = !trailer.isComplete               ? Verdict::kCut
                    : trailer.isPlain && text.empty() ? Verdict::kWhole
                                                      : Verdict::kUnclear;
  return reading;
}

Reading Read(std::string_view text, bool isHead) {
  Reading reading;
  bool isPlain = true;
  Fields fields;
  do {
    const auto status = WholeLine(text);
    if (!status) {
      reading.verdict = Verdict::kCut;
      return reading;
    }
    if (status->size() < 13 || !status->starts_with("HTTP/1.1 ") || (*status)[12] != ' ' ||
        !std::all_of(status->begin() + 9, status->begin() + 12, ascii::IsDigit<char>)) {
      return reading;
    }
    reading.status = std::stoi(std::string(status->substr(9, 3)));
    isPlain = isPlain && reading.status >= 100 && reading.status != 101 && reading.status < 600 &&
              std::all_of(status->begin(), status->end(), [](char c) { return c >= ' '; });
    fields = ReadFields(text);
    if (!fields.isComplete) {
      reading.verdict = Verdict::kCut;
      return reading;
    }
    isPlain = isPlain && fields.isPlain;
  } while (reading.status < 200);
  if (!isPlain) return reading;
  const bool isEmpty = isHead || reading.status == 204 || reading.status == 304;
  if (fields.coding == "chunked" && fields.length.empty() && !isEmpty) {
    return OfChunks(text, reading);
  }
  if (!fields.coding.empty()) return reading;
  if (fields.length.find_first_not_of("0123456789") != std::string::npos) return reading;
  if (isEmpty) {
    reading.verdict = text.empty() ? Verdict::kWhole : Verdict::kUnclear;
  } else if (fields.length.empty()) {
    reading.verdict = Verdict::kWhole;
    reading.body = text;
  } else {
    const std::size_t length = std::stoul(fields.length);
    reading.verdict = text.size() < length ? Verdict::kCut : Verdict::kWhole;
    reading.body = text.substr(0, length);
  }
  return reading;
}

void CheckAnswer(std::string_view bytes, bool isHead) {
  static ScriptedServer server;
  http::Request request;
  request.url = *http::ParseUrl(server.Prepare(bytes));
  request.verb = isHead ? "HEAD" : "GET";
  http::Answer answer;
  http::Watch watch({}, http::Watch::Clock::now());
  const bool isTaken = http::Exchange(request, watch, answer);
  const Reading expected = Read(bytes, isHead);
  if (expected.verdict == Verdict::kCut) Require(!isTaken);
  if (expected.verdict == Verdict::kWhole) {
    Require(isTaken && answer.status == expected.status && answer.body.View() == expected.body);
  }
}

std::string Converted(http::Converter& converter, std::string_view bytes) {
  std::string text(converter.RoomFor(bytes.size()) + converter.RoomFor(0), '\0');
  char* end = converter.Append(bytes, text.data());
  end = converter.Finish(end);
  text.resize(static_cast<std::size_t>(end - text.data()));
  return text;
}

void CheckText(std::string_view charset, std::string_view bytes) {
  const SV::String body(bytes.data(), static_cast<long>(bytes.size()));
  const SV::String whole = http::TextOf(charset, body);
  const std::string name = ascii::ToLower(charset);
  constexpr std::uint64_t kLong = std::uint64_t{1} << 30;
  const bool isOurs = http::MakeConverter(name) || name == "utf-16" || name == "utf-32";
  const auto byTable = isOurs ? nullptr : http::MakeSystemConverter(name, kLong);
  if (byTable) {
    // Where the C library goes on behind a mistake can depend on where a text was cut; but long
    // texts are read as short ones are.
    Require(Converted(*byTable, bytes) == whole.View());
  } else {
    for (const std::size_t slice : {1, 3, 7}) {
      Require(http::TextOf(charset, body, slice).View() == whole.View());
    }
  }
  std::string room;
  Require(utf16::WellFormed(whole.View(), room) == whole.View());
}

// What came out, and whether that was all.
std::optional<std::string> Decoded(std::string_view encodings, std::string_view data,
                                   std::size_t piece) {
  constexpr std::size_t kLimit = 1 << 20;
  SV::String bytes;
  http::Body body(bytes, kLimit);
  const auto decoder = http::Decoder::For(encodings, body);
  if (!decoder) return std::nullopt;
  for (std::size_t at = 0; at < data.size(); at += piece) {
    const std::string_view part = data.substr(at, piece);
    if (!decoder->Append(part.data(), part.size())) return std::nullopt;
  }
  body.Finish();
  if (!decoder->IsComplete(http::BodyEnd::kLength)) return std::nullopt;
  return std::string(bytes.View());
}

void CheckEncoding(std::string_view encodings, std::string_view data) {
  const auto whole = Decoded(encodings, data, data.size() + 1);
  for (const std::size_t piece : {1, 5}) Require(Decoded(encodings, data, piece) == whole);
}

void RequireUrl(const http::Url& url) {
  const auto again = http::ParseUrl(url.Text());
  Require(again && again->SameOrigin(url) && again->target == url.target);
  Require(url.target.starts_with('/') && url.Text().find_first_of(" \r\n\t") == std::string::npos);
  Require(http::WithoutUserInfo(url.Text()) == url.Text());
}

void CheckUrl(std::string_view text, std::string_view reference) {
  http::PercentDecoded(text);
  const std::string shown = http::WithoutUserInfo(text);
  Require(http::WithoutUserInfo(shown) == shown);
  const auto url = http::ParseUrl(text);
  if (!url) return;
  RequireUrl(*url);
  if (const auto next = http::ResolveUrl(*url, reference)) RequireUrl(*next);
}

void CheckProxies(std::string_view list) {
  const auto proxies = http::ParseProxyList(list);
  if (!proxies) return;
  for (const http::Proxy& proxy : *proxies) {
    Require(!proxy.scheme.empty() && proxy.hostAndPort.find(':') != std::string::npos);
  }
  http::ChooseProxy(*proxies, false);
  http::ChooseProxy(*proxies, true);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  const char kind = static_cast<char>(*data);
  if (kind == 'W' || kind == 'H') CheckAnswer(rest, kind == 'H');
  if (kind == 'P') CheckProxies(rest);
  if (kind != 'T' && kind != 'E' && kind != 'U') return 0;
  const std::string_view first = TakeLine(rest);
  if (kind == 'T') CheckText(first, rest);
  if (kind == 'E') CheckEncoding(first, rest);
  if (kind == 'U') CheckUrl(first, rest);
  return 0;
}
