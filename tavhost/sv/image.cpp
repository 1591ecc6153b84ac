#include "host/sv/image.h"

#include <utility>

namespace SV {

Image::Image() = default;
Image::Image(std::shared_ptr<const ui::ImageSource> source) : source_(std::move(source)) {}
Image::Image(const Image& other) = default;
Image& Image::operator=(const Image& other) = default;
Image::~Image() = default;

bool Image::IsEmpty() const { return source_ == nullptr; }

}  // namespace SV
