#include "tavhost/service/request_reader.h"

#include <algorithm>
#include <boost/beast/http/error.hpp>

#include "tavhost/base/ascii.h"

namespace script::service {

namespace http = boost::beast::http;

namespace {

constexpr std::string_view kHeaderEnd = "\r\n\r\n";

// Whether a line of the header goes on in the next one: nobody sends such lines any more, and who
// reads them differently from a front end sees another request than that.
bool HasFoldedLine(std::string_view header) {
  return header.find("\r\n ") != header.npos || header.find("\r\n\t") != header.npos;
}

}  // namespace

void RequestReader::Begin() {
  parser_.emplace();
  parser_->header_limit(2 * kHeaderLimit);  // the limit itself is looked at here
  parser_->body_limit(kBodyLimit);
  scanned_ = 0;
  hasHeader_ = false;
}

RequestReader::Progress RequestReader::Read() {
  if (!hasHeader_) return ReadHeader();
  return ReadBody();
}

// Some clients send one more behind a body.
void RequestReader::SkipEmptyLines() {
  std::size_t begin = 0;
  while (pending_.compare(begin, 2, "\r\n") == 0) begin += 2;
  if (begin == 0) return;
  pending_.erase(0, begin);
  scanned_ = 0;
}

RequestReader::Progress RequestReader::ReadHeader() {
  SkipEmptyLines();
  if (pending_.empty()) return Progress::kNeedsMore;
  const bool isMethod = pending_[0] == '\r' || ascii::IsLetter(pending_[0]);
  if (!isMethod) return Progress::kMalformed;  // no HTTP at all: nobody waits for its end
  const std::size_t end = pending_.find(kHeaderEnd, scanned_);
  if (end == pending_.npos) {
    if (pending_.size() >= kHeaderLimit) return Progress::kHeaderTooLong;
    scanned_ = pending_.size() - std::min(pending_.size(), kHeaderEnd.size() - 1);
    return Progress::kNeedsMore;
  }
  const std::size_t size = end + kHeaderEnd.size();
  if (size > kHeaderLimit) return Progress::kHeaderTooLong;
  const std::string header = pending_.substr(0, size);
  pending_.erase(0, size);
  if (HasFoldedLine(header)) return Progress::kMalformed;
  boost::system::error_code error;
  std::string_view rest = header;
  while (!rest.empty() && !parser_->is_header_done()) {
    const std::size_t taken = parser_->put(boost::asio::buffer(rest.data(), rest.size()), error);
    if (error == http::error::body_limit) return Progress::kBodyTooLong;
    if (error || taken == 0) return Progress::kMalformed;
    rest.remove_prefix(taken);
  }
  if (!parser_->is_header_done()) return Progress::kMalformed;
  hasHeader_ = true;
  parser_->eager(true);
  return Progress::kHasHeader;
}

RequestReader::Progress RequestReader::ReadBody() {
  boost::system::error_code error;
  std::size_t taken = 0;
  while (!parser_->is_done() && taken < pending_.size()) {
    const std::size_t step =
        parser_->put(boost::asio::buffer(pending_.data() + taken, pending_.size() - taken), error);
    taken += step;
    if (error == http::error::need_more || (!error && step == 0)) break;
    if (error == http::error::body_limit) return Progress::kBodyTooLong;
    if (error) return Progress::kMalformed;
  }
  pending_.erase(0, taken);
  if (parser_->is_done()) return Progress::kIsComplete;
  // What the parser leaves is the beginning of a chunk's own line.
  return pending_.size() > kHeaderLimit ? Progress::kMalformed : Progress::kNeedsMore;
}

}  // namespace script::service
