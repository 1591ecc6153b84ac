#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace windows {

// A path that a walk remembers. In a tree each path begins with the one above it, so those that
// lie in one another keep their bytes together: a walk that stands 100,000 levels deep holds the
// longest path once, not a hundred thousand long ones.
class SharedPath {
 public:
  SharedPath() = default;
  // `text`, kept together with `near` when it goes on from there.
  SharedPath(std::string_view text, const SharedPath& near);
  // Of what `folder` names the part `rest`, or `folder` itself for ".". Takes no longer for a deep
  // folder.
  static SharedPath In(const SharedPath& folder, std::string_view rest);
  SharedPath(SharedPath&& other) noexcept;
  SharedPath& operator=(SharedPath&& other) noexcept;
  ~SharedPath();

  bool IsEmpty() const { return length_ == 0; }
  // Good until the next path is made.
  std::string_view View() const {
    return bytes_ ? std::string_view(bytes_->text.data(), length_) : std::string_view();
  }

 private:
  struct Bytes {
    std::string text;
    std::vector<std::size_t> lengths;  // of the paths kept in it, ascending
  };

  // Becomes the first `length` of these bytes.
  void Share(const std::shared_ptr<Bytes>& bytes, std::size_t length);

  std::shared_ptr<Bytes> bytes_;
  std::size_t length_ = 0;
};

}  // namespace windows
