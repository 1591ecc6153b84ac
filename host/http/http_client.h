#pragma once

#include <cstdint>
#include <memory>

#include "host/base/wstring.h"
#include "host/export.h"

// One HTTP or HTTPS request and its answer. Redirects are followed (20 at most, never from https
// to http), certificates are checked, and answers that break off or contradict themselves are
// failures. The user-interface thread waits; only a stop request gets through.
class TAV_HOST_API TavHTTPClient {
 public:
  // Throws std::invalid_argument for what is not a URL of http or https. The callback is not used
  // by this host.
  TavHTTPClient(const SV::WString& url, bool (*progress)(double));
  TavHTTPClient(const TavHTTPClient&) = delete;
  TavHTTPClient& operator=(const TavHTTPClient&) = delete;
  ~TavHTTPClient();

  // Milliseconds for each attempt, 0 without a limit: name look-up, connecting, sending, and
  // between two pieces of the answer. All that together may not take longer than their sum.
  bool SetTimeouts(std::uint32_t resolve, std::uint32_t connect, std::uint32_t send,
                   std::uint32_t receive);
  // Further attempts after a failed one, 10 at most.
  void SetRetryTimes(std::uint32_t count);
  // `[scheme=][scheme://]host:port`, several joined by `;`; empty for no proxy. False for what
  // names no proxy; requests then fail without a look-up.
  bool SetProxy(const SV::WString& proxy);

  // True when a complete answer came, whatever its status. The second argument is not used by this
  // host.
  bool SendHttpRequest(const SV::WString& verb, bool unused);

  // Of the last answer. The content is decoded by the charset that the server named, else by a
  // byte-order mark, else as UTF-8 when it is that, else as windows-1252. Who wants the raw content
  // as well asks for it first: where only the text is asked for, the raw content is given up for
  // it, since both may be large, and asking for it then throws std::logic_error.
  const SV::WString& GetResponseContent();
  const unsigned char* GetRawResponseContent();
  std::uint32_t GetRawResponseReceivedContentLength();
  const SV::WString& GetResponseHeader();
  const SV::WString& GetResponseCharset();
  const SV::WString& GetRequestHost();

 private:
  struct State;
  std::unique_ptr<State> state_;
};
