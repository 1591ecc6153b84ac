#include "tavhost/windows/shared_path.h"

#include <algorithm>
#include <utility>

namespace windows {

SharedPath::SharedPath(std::string_view text, const SharedPath& near) : length_(text.size()) {
  if (text.empty()) return;
  if (near.bytes_ && text.starts_with(near.View())) {
    Bytes& bytes = *near.bytes_;
    const std::string_view kept = bytes.text;
    if (kept.starts_with(text)) {
      bytes_ = near.bytes_;
    } else if (bytes.lengths.back() == near.length_) {
      // Nobody needs what stands behind `near`.
      bytes.text.resize(near.length_);
      bytes.text.append(text.substr(near.length_));
      bytes_ = near.bytes_;
    }
  }
  if (!bytes_) {
    bytes_ = std::make_shared<Bytes>();
    bytes_->text = text;
  }
  auto& lengths = bytes_->lengths;
  lengths.insert(std::upper_bound(lengths.begin(), lengths.end(), length_), length_);
}

SharedPath::SharedPath(SharedPath&& other) noexcept
    : bytes_(std::move(other.bytes_)), length_(std::exchange(other.length_, 0)) {}

SharedPath& SharedPath::operator=(SharedPath&& other) noexcept {
  std::swap(bytes_, other.bytes_);
  std::swap(length_, other.length_);
  return *this;
}

SharedPath::~SharedPath() {
  if (!bytes_) return;
  auto& lengths = bytes_->lengths;
  lengths.erase(std::lower_bound(lengths.begin(), lengths.end(), length_));
}

}  // namespace windows
