// What arrives at the script service: requests as they are read out of a connection's bytes, and
// the check of their headers. However the bytes are cut into pieces, the requests are the same.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "tavhost/service/request_check.h"
#include "tavhost/service/request_reader.h"

namespace {

using script::service::Order;
using script::service::Refusal;
using script::service::RequestCheck;
using script::service::RequestReader;
using Progress = RequestReader::Progress;

const RequestCheck kCheck({"localhost", "127.0.0.1"}, 8080, "0123456789abcdef0123456789abcdef");

struct Seen {
  unsigned status = 0;  // 0: it may be carried out
  std::string body;
  Progress progress = Progress::kNeedsMore;

  bool operator==(const Seen&) const = default;
};

// What a connection makes of bytes that come in pieces of this size.
std::vector<Seen> Read(std::string_view text, std::size_t piece) {
  constexpr std::size_t kMostRequests = 100;
  std::vector<Seen> all;
  RequestReader reader;
  Seen seen;
  while (all.size() < kMostRequests) {
    const Progress progress = reader.Read();
    if (progress == Progress::kNeedsMore) {
      if (text.empty()) break;
      reader.Add(text.substr(0, piece));
      text.remove_prefix(std::min(piece, text.size()));
      continue;
    }
    if (progress == Progress::kHasHeader) {
      const auto look = kCheck.Look(reader.Get());
      if (const auto* const refusal = std::get_if<Refusal>(&look)) seen.status = refusal->status;
      // Nobody without the token gets further.
      if (seen.status == 0 && !kCheck.HasToken(reader.Get())) std::abort();
      continue;
    }
    seen.progress = progress;
    seen.body = progress == Progress::kIsComplete ? reader.Get().body() : std::string();
    all.push_back(std::move(seen));
    if (progress != Progress::kIsComplete) break;
    seen = {};
    reader.Begin();
  }
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::vector<Seen> whole = Read(text, std::string_view::npos);
  if (Read(text, 1 + data[0] % 32) != whole) std::abort();
  return 0;
}
