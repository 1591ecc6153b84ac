#pragma once

#include <string>

// A file that must not outlive the program, however that ends: a token, a lock. Whoever makes the
// file holds one of these as long as the file stands.
class LeftoverFile {
 public:
  explicit LeftoverFile(const std::string& path);
  LeftoverFile(LeftoverFile&& other) noexcept;
  LeftoverFile& operator=(LeftoverFile&& other) noexcept;
  ~LeftoverFile();

  // Removes all such files. For the end of a program that cannot clean up any more: in a signal
  // handler, or while the other threads are held. Neither allocates nor locks.
  static void RemoveAll() noexcept;

 private:
  void Forget() noexcept;

  int slot_ = -1;  // in the table of all; -1: not in it
};
