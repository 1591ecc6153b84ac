#include "host/sv/font.h"

#include "tavhost/base/trace.h"

namespace SV {

Font::Font(const String& name, const Size& size) : name_(name), size_(size) {}

Font::Font(const Font& other) : name_(other.name_), size_(other.size_) {
  trace::Call call("SV::Font::Font", trace::Window(&other));
  call.Created("SV::Font", this);
}

Font::~Font() {
  trace::Call call(this, "~Font");
  call.Write();
  trace::Forget(this);
}

void Font::ChangeName(const String& name) {
  trace::Call call(this, "ChangeName", name);
  call.Write();
  name_ = name;
}

void Font::ChangeSize(const Size& size) {
  trace::Call call(this, "ChangeSize", size);
  call.Write();
  size_ = size;
}

}  // namespace SV
