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
  Share(bytes_, length_);
}

SharedPath SharedPath::In(const SharedPath& folder, std::string_view rest) {
  SharedPath path;
  if (rest == "." && folder.bytes_) {
    path.Share(folder.bytes_, folder.length_);
    return path;
  }
  if (folder.IsEmpty() || folder.View() == ".") return SharedPath(rest, {});
  const std::size_t end = folder.length_;
  const std::size_t length = end + 1 + rest.size();
  std::string& text = folder.bytes_->text;
  const bool isThere = text.size() >= length && text[end] == '/' &&
                       std::string_view(text).substr(end + 1, rest.size()) == rest;
  const bool isFree = folder.bytes_->lengths.back() == end;  // nobody needs what stands behind it
  if (folder.View() == "/" || (!isThere && !isFree)) {
    std::string whole(folder.View());
    if (whole != "/") whole += '/';
    return SharedPath(whole.append(rest), {});
  }
  if (!isThere) {
    text.resize(end);
    text.append(1, '/').append(rest);
  }
  path.Share(folder.bytes_, length);
  return path;
}

void SharedPath::Share(const std::shared_ptr<Bytes>& bytes, std::size_t length) {
  // First, since only this can fail: who has no place in it must not give one back.
  auto& lengths = bytes->lengths;
  lengths.insert(std::upper_bound(lengths.begin(), lengths.end(), length), length);
  bytes_ = bytes;
  length_ = length;
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
