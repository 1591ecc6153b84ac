#pragma once

#include <memory>

#include "host/export.h"

namespace ui {
struct ImageSource;
}

namespace SV {

// A picture; copies share it.
class TAV_HOST_API Image {
 public:
  Image();  // empty
  explicit Image(std::shared_ptr<const ui::ImageSource> source);
  Image(const Image& other);
  Image& operator=(const Image& other);
  ~Image();

  bool IsEmpty() const;
  // What user interfaces draw; null when empty.
  const std::shared_ptr<const ui::ImageSource>& Source() const { return source_; }

 private:
  std::shared_ptr<const ui::ImageSource> source_;
};

}  // namespace SV
