#include <algorithm>
#include <tl/expected.hpp>
#include <vector>

#include "host/windows/windows.h"
#include "tavhost/base/system_error_windows.h"
#include "tavhost/base/wide_text_windows.h"
#include "tavhost/loader/library_file.h"
#include "tavhost/loader/refusal_texts.h"

// The PE format, as far as loading depends on it.
namespace loader {

namespace {

class File {
 public:
  explicit File(const std::string& path)
      : handle_(CreateFileW(base::Wide(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (IsOpen()) CloseHandle(handle_);
  }

  bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  std::uint64_t Size() const {
    LARGE_INTEGER size{};
    GetFileSizeEx(handle_, &size);
    return static_cast<std::uint64_t>(size.QuadPart);
  }
  bool Read(void* to, std::size_t size, std::uint64_t offset) const {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    DWORD read = 0;
    return ReadFile(handle_, to, static_cast<DWORD>(size), &read, &place) && read == size;
  }

 private:
  HANDLE handle_;
};

}  // namespace

base::Result<void> CheckLibraryFile(const std::string& path) {
  const File file(path);
  if (!file.IsOpen())
    return base::Failure(messages::CannotRead(base::SystemErrorText(GetLastError())));
  const std::uint64_t size = file.Size();

  IMAGE_DOS_HEADER dos;
  IMAGE_NT_HEADERS64 headers;
  if (!file.Read(&dos, sizeof dos, 0)) {
    WORD magic = 0;
    const bool begun = file.Read(&magic, sizeof magic, 0) && magic == IMAGE_DOS_SIGNATURE;
    return base::Failure(begun ? messages::CutShort(size, sizeof dos) : messages::NotALibrary());
  }
  if (dos.e_magic != IMAGE_DOS_SIGNATURE || dos.e_lfanew < 0)
    return base::Failure(messages::NotALibrary());
  const auto start = static_cast<std::uint64_t>(dos.e_lfanew);
  if (!file.Read(&headers, sizeof headers, start)) {
    return base::Failure(messages::CutShort(size, start + sizeof headers));
  }
  if (headers.Signature != IMAGE_NT_SIGNATURE) return base::Failure(messages::NotALibrary());
  if (headers.FileHeader.Machine != IMAGE_FILE_MACHINE_AMD64)
    return base::Failure(messages::OtherMachine());
  if (!(headers.FileHeader.Characteristics & IMAGE_FILE_DLL))
    return base::Failure(messages::NotALibrary());

  std::vector<IMAGE_SECTION_HEADER> sections(headers.FileHeader.NumberOfSections);
  const std::uint64_t tableStart = start + offsetof(IMAGE_NT_HEADERS64, OptionalHeader) +
                                   headers.FileHeader.SizeOfOptionalHeader;
  const std::uint64_t tableSize = sections.size() * sizeof(IMAGE_SECTION_HEADER);
  if (!file.Read(sections.data(), tableSize, tableStart)) {
    return base::Failure(messages::CutShort(size, tableStart + tableSize));
  }
  std::uint64_t end = 0;
  for (const IMAGE_SECTION_HEADER& section : sections) {
    end = std::max(end, std::uint64_t{section.PointerToRawData} + section.SizeOfRawData);
  }
  if (end > size) return base::Failure(messages::CutShort(size, end));
  return {};
}

}  // namespace loader
