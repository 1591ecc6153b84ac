#pragma once

#include <cstdint>
#include <string>

// A file that must not outlive the program, however that ends: a token, a lock. Whoever makes the
// file holds one of these as long as the file stands. What has taken its place since is another's
// and stays.
class LeftoverFile {
 public:
  // Which file it is, whatever it is called. 0 and 0: the system did not tell.
  struct Identity {
    std::uint64_t device = 0;
    std::uint64_t file = 0;
    bool operator==(const Identity&) const = default;
  };

  // Of a file that is there.
  explicit LeftoverFile(const std::string& path);
  LeftoverFile(LeftoverFile&& other) noexcept;
  LeftoverFile& operator=(LeftoverFile&& other) noexcept;
  ~LeftoverFile();

  // Removes the file now; the object then has none.
  void Remove() noexcept;
  // Removes all such files. For the end of a program that cannot clean up any more: in a signal
  // handler, or while the other threads are held. Takes no memory of the program's and no lock of
  // its own; on Windows the system's calls may take some to translate a path, so that a thread
  // held in the middle of taking memory can hold the removal as well.
  static void RemoveAll() noexcept;

 private:
  // Platform part.
  static Identity IdentityOf(const char* path) noexcept;
  static void RemoveIfSame(const char* path, const Identity& identity) noexcept;
  void Forget() noexcept;

  std::string path_;
  Identity identity_;
  int slot_ = -1;  // in the table of all; -1: not in it
};
