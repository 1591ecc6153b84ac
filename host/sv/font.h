#pragma once

#include "host/base/size.h"
#include "host/base/string.h"
#include "host/export.h"

namespace SV {

// A font by its face and size. Width 0 is the width natural for the height; sizes are kept as they
// are given, zero and negative ones too, and a window that cannot show such a height keeps its own.
class TAV_HOST_API Font {
 public:
  Font(const String& name, const Size& size);
  Font(const Font& other);
  Font& operator=(const Font& other) = default;
  ~Font();

  void ChangeName(const String& name);
  void ChangeSize(const Size& size);

  const String& GetName() const { return name_; }
  const Size& GetSize() const { return size_; }

 private:
  String name_;
  Size size_;
};

}  // namespace SV
