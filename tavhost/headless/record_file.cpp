#include "tavhost/headless/record_file.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/base/file_text.h"

namespace ui {

namespace {

tl::unexpected<base::Error> Fault() {
  return base::Failure(std::strerror(errno != 0 ? errno : EIO));
}

}  // namespace

base::Result<std::unique_ptr<RecordFile>> RecordFile::Open(const std::string& path) {
  std::unique_ptr<RecordFile> record(new RecordFile);
  if (IsPipeOrDevice(path)) {
    errno = 0;
    record->stream_ = base::OpenForWriting(path);
    if (!record->stream_) return Fault();
    return record;
  }
  base::WholeFile::Options options;
  options.ownerOnly = true;  // what was typed may be in it
  base::Result<std::unique_ptr<base::WholeFile>> whole = base::WholeFile::Open(path, options);
  if (!whole) return tl::unexpected<base::Error>(whole.error());
  record->whole_ = std::move(*whole);
  return record;
}

bool RecordFile::IsPipeOrDevice(const std::string& path) {
  const std::u8string text(path.begin(), path.end());
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(text, error);
  return std::filesystem::is_other(status);
}

RecordFile::~RecordFile() {
  if (stream_) std::fclose(stream_);
}

base::Result<void> RecordFile::WriteAtOnce(std::string_view text) {
  errno = 0;
  const bool written =
      std::fwrite(text.data(), 1, text.size(), stream_) == text.size() && std::fflush(stream_) == 0;
  if (!written) return Fault();
  return {};
}

void RecordFile::Write(std::string_view text) {
  if (fault_) return;  // a record with a gap would be replayed wrongly
  const base::Result<void> written = whole_ ? whole_->Write(text) : WriteAtOnce(text);
  if (!written) fault_ = written.error();
}

base::Result<void> RecordFile::Keep() {
  if (fault_) return tl::unexpected<base::Error>(*fault_);
  if (whole_) return whole_->Store();
  return {};
}

}  // namespace ui
