#include "tavhost/files/disk.h"

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/base/file_contents_posix.h"
#include "tavhost/base/file_names.h"
#include "tavhost/base/long_work.h"
#include "tavhost/base/report.h"
#include "tavhost/base/standard_write.h"
#include "tavhost/base/uninterrupted_posix.h"
#include "tavhost/base/whole_file_posix.h"
#include "tavhost/files/replacing_output_file.h"
#include "tavhost/windows/file_operations.h"
#include "tavhost/windows/open_files.h"

namespace disk {

namespace {

using windows::Descriptor;
using windows::IdOf;
using windows::Path;
using windows::Place;

// A name as a path and the place it leads to.
class Location {
 public:
  explicit Location(Name name)
      : path_(name.isScripts ? Path(name.text) : Path(Path::System{name.text})), place_(path_) {}

  const Path& GetPath() const { return path_; }
  const Place& GetPlace() const { return place_; }
  // It can be a file's.
  bool IsFilePath() const { return place_.IsValid() && !path_.HasTrailingSeparator(); }

 private:
  Path path_;
  Place place_;
};

Descriptor Open(const Location& location, int flags) {
  if (!location.IsFilePath()) return Descriptor();
  // A pipe without another end must not be waited for.
  return Descriptor(base::OpenAt(location.GetPlace().Directory(), location.GetPlace().Name(),
                                 flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0666));
}

// A pipe or device, or a file that the host holds open already: another one under its name would
// not be what is held.
bool IsWrittenDirectly(const struct stat& status) {
  return (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) ||
         windows::IsOpenFile(IdOf(status));
}

// The files to which standard output and standard error are redirected, which stays so as long as
// the program runs.
struct PrintedIds {
  windows::FileId output = Of(STDOUT_FILENO);
  windows::FileId error = Of(STDERR_FILENO);

  static windows::FileId Of(int stream) {
    struct stat status;
    const bool isFile = base::StatusOf(stream, status) == 0 && S_ISREG(status.st_mode);
    return isFile ? IdOf(status) : windows::FileId();
  }
};

const PrintedIds& Printed() {
  static const PrintedIds ids;
  return ids;
}

bool IsPrintedTo(windows::FileId file) {
  return file == Printed().output || file == Printed().error;
}

// The descriptor of the program's own for which a path stands; -1 for others. Opened anew, a file
// to which the stream is redirected would be written from its beginning.
int StandardStreamOf(const Path& path) {
  if (!path.IsValid() || path.HasTrailingSeparator()) return -1;
  constexpr std::pair<std::string_view, int> kNames[] = {
      {"/dev/stdout", STDOUT_FILENO},     {"/dev/stderr", STDERR_FILENO},
      {"/dev/fd/1", STDOUT_FILENO},       {"/dev/fd/2", STDERR_FILENO},
      {"/proc/self/fd/1", STDOUT_FILENO}, {"/proc/self/fd/2", STDERR_FILENO},
  };
  for (const auto& [name, stream] : kNames) {
    if (path.View() == name) return stream;
  }
  return -1;
}

// Reads to the end or to `length` bytes; the number read, -1 on failure.
std::int64_t ReadUpTo(int file, char* out, std::int64_t length, base::LongWork* work) {
  std::int64_t done = 0;
  while (done < length) {
    if (work) work->At(static_cast<std::uint64_t>(done), static_cast<std::uint64_t>(length));
    constexpr std::int64_t kAtOnce = std::int64_t{8} << 20;
    const ssize_t bytes =
        read(file, out + done, static_cast<std::size_t>(std::min(length - done, kAtOnce)));
    if (bytes < 0 && errno == EINTR) continue;
    if (bytes < 0) return -1;
    if (bytes == 0) break;
    done += bytes;
  }
  return done;
}

// For what does not tell its size beforehand: devices, and files that the system makes up as they
// are read.
ReadCode ReadInPieces(int file, SV::String& contents, base::LongWork& work) {
  constexpr std::size_t kPiece = std::size_t{64} << 10;
  const auto piece = std::make_unique_for_overwrite<char[]>(kPiece);
  contents = SV::String();
  while (true) {
    work.At(static_cast<std::uint64_t>(contents.Len()));
    const std::int64_t bytes = ReadUpTo(file, piece.get(), kPiece, nullptr);
    const bool isTooLarge = bytes > SV::String::kMaxLength - contents.Len();
    if (bytes < 0 || isTooLarge) {
      contents = SV::String();
      return isTooLarge ? kTooLarge : kUnreadable;
    }
    contents.Append(piece.get(), static_cast<long>(bytes));
    if (bytes < static_cast<std::int64_t>(kPiece)) return kRead;
  }
}

// Standard output or standard error under a path. What was printed before stands before what is
// written, and the stream stays open when this is closed.
class StandardStream : public OutputFile {
 public:
  StandardStream(int stream, std::string path) : stream_(stream), path_(std::move(path)) {}

  long Write(const char* data, long length) override {
    constexpr std::size_t kAtOnce = std::size_t{64} << 10;
    report::TakeStatusAway();
    if (stream_ != STDOUT_FILENO) standard_write::FlushOutput();
    base::LongWork work("Writing", path_);
    std::string_view left(data, static_cast<std::size_t>(length));
    while (!left.empty()) {
      work.At(static_cast<std::size_t>(length) - left.size(), static_cast<std::size_t>(length));
      const std::string_view piece = left.substr(0, kAtOnce);
      const int error = stream_ == STDOUT_FILENO ? standard_write::OutputNow(piece)
                                                 : standard_write::Error(piece);
      if (error != 0) break;
      left.remove_prefix(piece.size());
    }
    return length - static_cast<long>(left.size());
  }

  base::Result<void> StayOpen() override { return {}; }
  base::Result<bool> Close() override { return true; }

 private:
  int stream_;
  std::string path_;  // for a person
};

class PosixFile : public OutputFile {
 public:
  PosixFile(Descriptor file, windows::FileId id, std::string path)
      : file_(std::move(file)), id_(id), path_(std::move(path)) {
    windows::RememberOpenFile(id_);
  }
  ~PosixFile() override {
    if (file_.IsOpen()) windows::ForgetOpenFile(id_);
  }

  long Write(const char* data, long length) override {
    base::LongWork work("Writing", path_);
    return static_cast<long>(
        base::WriteBytes(file_.Get(), data, static_cast<std::size_t>(length), &work));
  }

  base::Result<void> StayOpen() override { return {}; }

  base::Result<bool> Close() override {
    windows::ForgetOpenFile(id_);
    if (!file_.Close()) return base::Failure(std::strerror(errno), path_);
    return true;
  }

 private:
  Descriptor file_;
  windows::FileId id_;
  std::string path_;  // for a person
};

// A file to which the program prints, too: what was printed before stands before what is written,
// and what is printed later behind it.
class PrintedFile : public OutputFile {
 public:
  PrintedFile(std::unique_ptr<OutputFile> file, windows::FileId id)
      : file_(std::move(file)), id_(id) {}

  // Before anything of the file is changed.
  static void Begin() { standard_write::FlushOutput(); }

  long Write(const char* data, long length) override {
    Begin();
    const long written = file_->Write(data, length);
    LetPrintingGoOnBehind();
    return written;
  }
  base::Result<void> StayOpen() override {
    base::Result<void> stays = file_->StayOpen();
    LetPrintingGoOnBehind();
    return stays;
  }
  base::Result<bool> Close() override {
    Begin();
    base::Result<bool> stored = file_->Close();
    LetPrintingGoOnBehind();
    return stored;
  }

 private:
  void LetPrintingGoOnBehind() const {
    if (id_ == Printed().output) lseek(STDOUT_FILENO, 0, SEEK_END);
    if (id_ == Printed().error) lseek(STDERR_FILENO, 0, SEEK_END);
  }

  std::unique_ptr<OutputFile> file_;
  windows::FileId id_;
};

// What the system's library has allocated.
struct Freed {
  void operator()(char* text) const { std::free(text); }
};

// The folder asked for last, and some on the way to it: those asked for one after the other lie in
// each other or side by side, and going the whole way again would take longer with each level.
class OpenWay {
 public:
  // A descriptor of the folder, good until the next call; -1 when it cannot be opened.
  int To(std::string_view folder) {
    while (!stops_.empty() && !Passes(folder, stops_.back().length)) stops_.pop_back();
    path_ = folder;
    while (LengthReached() < folder.size()) {
      const std::size_t from = LengthReached();
      std::size_t end = folder.size();
      if (end - from > kApart) end = folder.find('/', from + kApart);
      end = std::min(end, folder.size());
      const std::size_t begin = from == 0 ? 0 : from + 1;  // behind the separator
      Descriptor reached =
          windows::OpenDirectoryAt(stops_.empty() ? AT_FDCWD : stops_.back().folder.Get(),
                                   folder.substr(begin, end - begin), O_PATH);
      if (!reached.IsOpen()) return -1;
      Keep({end, std::move(reached)});
    }
    return stops_.empty() ? -1 : stops_.back().folder.Get();
  }

 private:
  static constexpr std::size_t kApart = 512;  // bytes
  static constexpr std::size_t kMost = 16;    // a program may have no more than 64 files open

  struct Stop {
    std::size_t length;  // of the path up to it
    Descriptor folder;
  };

  std::size_t LengthReached() const { return stops_.empty() ? 0 : stops_.back().length; }

  bool Passes(std::string_view folder, std::size_t length) const {
    return folder.size() >= length &&
           folder.substr(0, length) == std::string_view(path_).substr(0, length) &&
           (folder.size() == length || folder[length] == '/');
  }

  void Keep(Stop stop) {
    const std::size_t count = stops_.size();
    const std::size_t before = count > 1 ? stops_[count - 2].length : 0;
    if (count > 0 && stop.length - before <= kApart) stops_.pop_back();
    if (stops_.size() == kMost) stops_.erase(stops_.begin());
    stops_.push_back(std::move(stop));
  }

  std::string path_;
  std::vector<Stop> stops_;  // each inside the one before
};

}  // namespace

bool IsFile(Name name) {
  const Location location(name);
  struct stat status;
  return location.IsFilePath() &&
         base::StatusAt(location.GetPlace().Directory(), location.GetPlace().Name(), status, 0) ==
             0 &&
         !S_ISDIR(status.st_mode);
}

bool IsTakenByOther(Name name) {
  const Location location(name);
  struct stat status;
  if (!location.GetPlace().IsValid()) return false;
  if (location.GetPlace().Status(status)) return !S_ISREG(status.st_mode);
  return errno != ENOENT && errno != ENOTDIR && errno != ENAMETOOLONG;
}

bool IsStandardStream(Name name) { return StandardStreamOf(Location(name).GetPath()) >= 0; }

bool Delete(Name name) { return windows::DeleteFile(Location(name).GetPath()); }

void RemoveLeftover(const std::string& path) { base::UnlinkAt(AT_FDCWD, path.c_str(), 0); }

bool Copy(Name from, Name to, const CopyOptions& wanted) {
  windows::CopyOptions options;
  options.replace = true;
  options.keepAttributes = wanted.keepAttributes;
  options.followLink = true;
  options.synced = wanted.synced;
  return windows::CopyFile(Location(from).GetPath(), Location(to).GetPath(), options);
}

bool Rename(Name from, Name to) {
  return windows::MoveFile(Location(from).GetPath(), Location(to).GetPath());
}

ReadCode Read(Name name, SV::String& contents) {
  const Location location(name);
  if (!location.IsFilePath()) return IsTakenByOther(name) ? kUnreadable : kNotFound;
  const Descriptor file = Open(location, O_RDONLY);
  if (!file.IsOpen()) {
    const bool isMissing = errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG;
    return isMissing ? kNotFound : kUnreadable;
  }
  struct stat status;
  if (base::StatusOf(file.Get(), status) != 0) return kUnreadable;
  if (!S_ISREG(status.st_mode) && !S_ISCHR(status.st_mode)) return kUnreadable;
  if (status.st_size > SV::String::kMaxLength) return kTooLarge;
  base::LongWork work("Reading", name.text);
  if (!S_ISREG(status.st_mode) || status.st_size == 0) {
    return ReadInPieces(file.Get(), contents, work);
  }
  const auto size = static_cast<long>(status.st_size);
  const std::int64_t bytes = ReadUpTo(file.Get(), contents.AllocBuffer(size), size, &work);
  if (bytes < 0) {
    contents = SV::String();
    return kUnreadable;
  }
  contents.Erase(static_cast<long>(bytes), size);  // it was cut short meanwhile
  return kRead;
}

bool MayRead(const std::string& path) {
  return Descriptor(
             base::OpenAt(AT_FDCWD, path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK))
      .IsOpen();
}

std::unique_ptr<OutputFile> OpenForWriting(Name name, bool append) {
  const Location location(name);
  if (const int stream = StandardStreamOf(location.GetPath()); stream >= 0) {
    return fcntl(stream, F_GETFD) < 0 ? nullptr
                                      : std::make_unique<StandardStream>(stream, name.text);
  }
  Descriptor file = Open(location, O_WRONLY | O_CREAT | (append ? O_APPEND : 0));
  struct stat status;
  if (!file.IsOpen() || base::StatusOf(file.Get(), status) != 0) return nullptr;
  const bool isPrintedTo = IsPrintedTo(IdOf(status));
  if (isPrintedTo) PrintedFile::Begin();
  // Permissions do not hold back every user; the read-only attribute does.
  if (S_ISREG(status.st_mode)) {
    if (windows::IsReadOnly(status)) return nullptr;
    const bool isEmptied = append || (status.st_size == 0 && !isPrintedTo) ||
                           base::Uninterrupted([&] { return ftruncate(file.Get(), 0); }) == 0;
    if (!isEmptied) return nullptr;
  }
  if (isPrintedTo && fcntl(file.Get(), F_SETFL, O_APPEND) != 0) return nullptr;
  auto opened = std::make_unique<PosixFile>(std::move(file), IdOf(status), name.text);
  if (!isPrintedTo) return opened;
  return std::make_unique<PrintedFile>(std::move(opened), IdOf(status));
}

std::unique_ptr<OutputFile> OpenForReplacing(Name name) {
  const Location location(name);
  if (StandardStreamOf(location.GetPath()) >= 0) return OpenForWriting(name, false);
  if (!location.IsFilePath()) return nullptr;
  struct stat status;
  const Place& place = location.GetPlace();
  if (base::StatusAt(place.Directory(), place.Name(), status, 0) != 0) {
    // What stands there and cannot be told is not taken for nothing.
    return errno == ENOENT ? ReplacingOutputFile::Open(name) : nullptr;
  }
  if (IsWrittenDirectly(status)) return OpenForWriting(name, false);
  if (!IsPrintedTo(IdOf(status))) return ReplacingOutputFile::Open(name);
  PrintedFile::Begin();
  std::unique_ptr<OutputFile> file = ReplacingOutputFile::Open(name);
  if (!file) return nullptr;
  return std::make_unique<PrintedFile>(std::move(file), IdOf(status));
}

base::Result<std::unique_ptr<base::WholeFile>> OpenWhole(Name name,
                                                         const base::WholeFile::Options& options) {
  const Location location(name);
  if (!location.IsFilePath()) return base::Failure(std::strerror(ENOENT), name.text);
  const Place& place = location.GetPlace();
  return base::OpenWholeFileAt(place.Directory(), place.Name(), options);
}

std::string TemporaryFolder() {
  const char* chosen = std::getenv("TMPDIR");
  std::string folder = chosen && *chosen ? chosen : "/tmp";
  folder = WithoutWayUp(folder).value_or("/tmp");
  if (folder[0] != '/') folder = Join(CurrentFolder(), folder);
  folder.erase(0, folder.find_first_not_of('/') - 1);  // two in front would name a network share
  return folder[0] == '/' && CanBeWritten(folder) ? folder : "/tmp";
}

std::string NewTemporaryFile(const std::string& prefix) {
  std::string path = Join(TemporaryFolder(), prefix + "XXXXXX");
  const Descriptor file(mkstemp(path.data()));
  return file.IsOpen() ? path : std::string();
}

bool IsAbsolute(const std::string& path) {
  const bool hasDrive = path.size() >= 2 && path[1] == ':';
  return !path.empty() && (windows::IsSeparator(path[0]) || hasDrive);
}

bool CanNameFile(const char* path) { return Path(path).IsValid(); }

bool CanBeWritten(const std::string& path) { return path.find('\\') == std::string::npos; }

std::string Join(const std::string& folder, const std::string& name) {
  return folder.empty() || folder.back() == '/' ? folder + name : folder + '/' + name;
}

std::optional<std::string> WithoutWayUp(const std::string& path) {
  std::size_t end = 0;  // of the last `..` that stands behind a name
  bool hasName = false;
  for (std::size_t at = 0; at < path.size();) {
    const std::size_t next = std::min(path.find('/', at), path.size());
    const std::string_view name = std::string_view(path).substr(at, next - at);
    if (name == ".." && hasName) end = next;
    hasName |= !name.empty() && !file_names::IsDots(name);
    at = next + 1;
  }
  if (end == 0) return path;
  const std::unique_ptr<char, Freed> reached(realpath(path.substr(0, end).c_str(), nullptr));
  if (!reached) return std::nullopt;
  return end == path.size() ? reached.get() : Join(reached.get(), path.substr(end + 1));
}

std::string FolderOf(const std::string& path) {
  const auto slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return path.substr(0, slash == 0 ? 1 : slash);
}

std::string CurrentFolder() {
  const std::unique_ptr<char, Freed> current(getcwd(nullptr, 0));
  return current ? current.get() : "";
}

std::string UserDataFolder() {
  const char* chosen = std::getenv("XDG_DATA_HOME");
  if (chosen && chosen[0] == '/') return chosen;
  const char* home = std::getenv("HOME");
  if (!home || !*home) {
    const struct passwd* user = getpwuid(getuid());
    home = user ? user->pw_dir : "/";
  }
  return Join(home, ".local/share");
}

bool MakeFolders(const std::string& path) {
  std::vector<std::string> missing = {path};  // the innermost first
  struct stat status;
  while (base::StatusAt(AT_FDCWD, missing.back().c_str(), status, 0) != 0) {
    const std::string& folder = missing.back();
    const auto end = folder.find_last_not_of('/');
    const auto slash = end == std::string::npos ? end : folder.rfind('/', end);
    if (slash == std::string::npos || slash == 0) {
      missing.emplace_back();  // what is above is always there
      break;
    }
    missing.push_back(folder.substr(0, slash));
  }
  if (!missing.back().empty() && !S_ISDIR(status.st_mode)) return false;
  missing.pop_back();
  return std::all_of(missing.rbegin(), missing.rend(), [](const std::string& folder) {
    return base::MakeDirectoryAt(AT_FDCWD, folder.c_str(), 0777) == 0 || errno == EEXIST;
  });
}

std::string ShortPath(const std::string& path) {
  constexpr std::size_t kShort = 512;  // the system goes through every name of a path, each time
  if (path.size() < kShort) return path;
  static OpenWay way;
  const auto slash = path.rfind('/');
  const int folder = way.To(std::string_view(path).substr(0, slash));
  return folder < 0 ? "" : "/proc/self/fd/" + std::to_string(folder) + path.substr(slash);
}

bool IsOneFileSystem(const std::string& path, const std::string& folder) {
  struct stat first;
  struct stat second;
  return lstat(ShortPath(path).c_str(), &first) == 0 &&
         stat(ShortPath(folder).c_str(), &second) == 0 && first.st_dev == second.st_dev;
}

FolderContents FilesOf(const std::string& folder) {
  FolderContents contents;
  Descriptor opened(
      base::OpenAt(AT_FDCWD, folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK));
  contents.readable = !opened.IsOpen() && errno == ENOENT;
  if (!opened.IsOpen()) return contents;
  DIR* const directory = base::Uninterrupted([&] { return fdopendir(opened.Get()); });
  if (!directory && errno == ENOMEM) throw std::bad_alloc();
  if (!directory) return contents;
  opened.Release();
  const auto next = [directory] {
    return base::Uninterrupted([directory] { return readdir(directory); });
  };
  while (const struct dirent* entry = next()) {
    bool isPlain = entry->d_type == DT_REG;
    if (entry->d_type == DT_UNKNOWN) {
      struct stat status;
      if (base::StatusAt(dirfd(directory), entry->d_name, status, AT_SYMLINK_NOFOLLOW) == 0) {
        isPlain = S_ISREG(status.st_mode);
      } else if (errno != ENOENT) {
        break;
      }
    }
    if (isPlain) contents.files.emplace_back(entry->d_name);
  }
  contents.readable = errno == 0;
  closedir(directory);
  return contents;
}

}  // namespace disk
