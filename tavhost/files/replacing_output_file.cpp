#include "tavhost/files/replacing_output_file.h"

#include <tl/expected.hpp>

namespace disk {

std::unique_ptr<OutputFile> ReplacingOutputFile::Open(Name name) {
  base::WholeFile::Options options;
  options.stoppable = true;
  auto whole = OpenWhole(name, options);
  if (!whole) return nullptr;
  return std::make_unique<ReplacingOutputFile>(std::move(*whole), name);
}

long ReplacingOutputFile::Write(const char* data, long length) {
  if (direct_) return direct_->Write(data, length);
  isBegun_ = true;
  isRefused_ = isRefused_ || !whole_->Write({data, static_cast<std::size_t>(length)});
  return isRefused_ ? 0 : length;
}

base::Result<void> ReplacingOutputFile::StayOpen() {
  if (isBegun_) {
    if (const base::Result<bool> stored = Close(); !stored) {
      return tl::unexpected<base::Error>(stored.error());
    }
  }
  whole_ = nullptr;
  direct_ = OpenForWriting({path_.c_str(), isScripts_}, isBegun_);
  if (!direct_) return base::Failure("it can no longer be opened", path_);
  return {};
}

base::Result<bool> ReplacingOutputFile::Close() {
  if (direct_) return direct_->Close();
  if (isRefused_) return false;
  if (const base::Result<void> stored = whole_->Store(); !stored) {
    return tl::unexpected<base::Error>(stored.error());
  }
  return true;
}

}  // namespace disk
