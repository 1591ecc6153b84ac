#pragma once

#include <vector>

// A sequence that a caller makes and gives to the host to be filled. Items are numbered from 0.
template <class T>
class ISequence {
 public:
  virtual ~ISequence() = default;
  virtual void Append(const T& item) { items_.push_back(item); }
  virtual long Count() const { return static_cast<long>(items_.size()); }
  virtual const T& Get(long index) const { return items_[static_cast<std::size_t>(index)]; }

 private:
  std::vector<T> items_;
};
