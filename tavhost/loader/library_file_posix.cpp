#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <tl/expected.hpp>
#include <vector>

#include "tavhost/loader/library_file.h"
#include "tavhost/loader/refusal_texts.h"

// The ELF format (System V ABI, chapters 4 and 5), as far as loading depends on it.
namespace loader {

namespace {

#if defined(__x86_64__)
constexpr Elf64_Half kMachine = EM_X86_64;
#elif defined(__aarch64__)
constexpr Elf64_Half kMachine = EM_AARCH64;
#else
#error "say which ELF machine this is"
#endif
constexpr unsigned char kByteOrder =
    std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;

class File {
 public:
  explicit File(const std::string& path)
      : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (descriptor_ >= 0) close(descriptor_);
  }

  bool IsOpen() const { return descriptor_ >= 0; }
  bool Stat(struct stat& status) const { return fstat(descriptor_, &status) == 0; }
  bool Read(void* to, std::size_t size, off_t offset) const {
    return pread(descriptor_, to, size, offset) == static_cast<ssize_t>(size);
  }

 private:
  int descriptor_;
};

// Fails when the header is not that of a shared library for this machine.
base::Result<void> CheckHeader(const Elf64_Ehdr& header) {
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0)
    return base::Failure(messages::NotALibrary());
  if (header.e_ident[EI_CLASS] != ELFCLASS64 || header.e_ident[EI_DATA] != kByteOrder ||
      header.e_machine != kMachine) {
    return base::Failure(messages::OtherMachine());
  }
  if (header.e_type != ET_DYN || header.e_phentsize != sizeof(Elf64_Phdr)) {
    return base::Failure(messages::NotALibrary());
  }
  return {};
}

}  // namespace

base::Result<void> CheckLibraryFile(const std::string& path) {
  const File file(path);
  struct stat status;
  if (!file.IsOpen() || !file.Stat(status))
    return base::Failure(messages::CannotRead(std::strerror(errno)));
  if (S_ISDIR(status.st_mode)) return base::Failure(messages::CannotRead(std::strerror(EISDIR)));
  if (!S_ISREG(status.st_mode)) return base::Failure(messages::NotALibrary());
  const auto size = static_cast<std::uint64_t>(status.st_size);

  Elf64_Ehdr header;
  if (!file.Read(&header, sizeof header, 0)) {
    char magic[SELFMAG];
    const bool begun = file.Read(magic, sizeof magic, 0) && !std::memcmp(magic, ELFMAG, SELFMAG);
    return base::Failure(begun ? messages::CutShort(size, sizeof header) : messages::NotALibrary());
  }
  if (base::Result<void> checked = CheckHeader(header); !checked) return checked;

  std::vector<Elf64_Phdr> segments(header.e_phnum);
  const std::uint64_t tableSize = segments.size() * sizeof(Elf64_Phdr);
  if (header.e_phoff > size || tableSize > size - header.e_phoff) {
    return base::Failure(messages::CutShort(size, header.e_phoff + tableSize));
  }
  if (!file.Read(segments.data(), tableSize, static_cast<off_t>(header.e_phoff))) {
    return base::Failure(messages::CannotRead(std::strerror(errno)));
  }
  std::uint64_t end = 0;
  for (const Elf64_Phdr& segment : segments) {
    if (segment.p_type == PT_LOAD) end = std::max(end, segment.p_offset + segment.p_filesz);
  }
  if (end > size) return base::Failure(messages::CutShort(size, end));
  return {};
}

}  // namespace loader
