#include "tavhost/base/whole_file_posix.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <tl/expected.hpp>
#include <utility>
#include <vector>

#include "tavhost/base/file_contents_posix.h"
#include "tavhost/base/file_rights_posix.h"
#include "tavhost/base/new_file_posix.h"
#include "tavhost/base/uncut_work.h"
#include "tavhost/base/uninterrupted_posix.h"

namespace base {

namespace {

constexpr int kLongestChainOfLinks = 40;

// A name in a folder that stays the same, wherever the current directory goes meanwhile.
struct Target {
  Descriptor folder;
  std::string name;
  std::string path;  // for a person
};

tl::unexpected<Error> Failed(const Target& target, int error) {
  return Failure(std::strerror(error), target.path);
}

// Reserves room for what is to be written at a place of a file of this size. False with errno set
// when there is none; nothing has changed then.
bool Reserve(int file, off_t at, off_t length, off_t size) {
  if (length == 0) return true;
  const int reserved =
      Uninterrupted([&] { return fallocate(file, FALLOC_FL_KEEP_SIZE, at, length); });
  // Some file systems cannot reserve; they are written to all the same.
  if (reserved == 0 || (errno != ENOSPC && errno != EDQUOT && errno != EFBIG)) return true;
  const int error = errno;
  // Gives back what was reserved behind the end.
  if (at <= size && ftruncate(file, size) != 0) errno = error;
  errno = error;
  return false;
}

// Written in place. Nothing of the old text is touched before the file system has room for the
// part that takes its place; a stop is not looked at in between.
class InPlaceFile final : public WholeFile {
 public:
  InPlaceFile(Target target, Descriptor file, const struct stat& status, const Options& options)
      : target_(std::move(target)),
        file_(std::move(file)),
        oldSize_(status.st_size),
        synced_(options.synced),
        end_(options.keepsContents ? status.st_size : 0) {}

  Result<void> Write(std::string_view bytes) override {
    const UncutWork uncut(target_.path.c_str());
    if (!Reserve(file_.Get(), end_, static_cast<off_t>(bytes.size()), oldSize_))
      return Failed(target_, errno);
    if (lseek(file_.Get(), end_, SEEK_SET) < 0) return Failed(target_, errno);
    isTouched_ = true;
    const std::size_t written = WriteBytes(file_.Get(), bytes.data(), bytes.size(), nullptr);
    end_ += static_cast<off_t>(written);
    if (written != bytes.size()) return Failed(target_, errno);
    return {};
  }

  Result<void> Store() override {
    const UncutWork uncut(target_.path.c_str());
    isTouched_ |= end_ < oldSize_;
    const bool stored =
        (end_ >= oldSize_ || Uninterrupted([this] { return ftruncate(file_.Get(), end_); }) == 0) &&
        (!synced_ || Uninterrupted([this] { return fsync(file_.Get()); }) == 0);
    const int error = errno;
    if (!file_.Close()) return Failed(target_, errno);
    if (!stored) return Failed(target_, error);
    return {};
  }

  Left WhatIsLeft() const override { return isTouched_ ? Left::kAny : Left::kOld; }

 private:
  Target target_;
  Descriptor file_;
  bool isTouched_ = false;
  off_t oldSize_;
  bool synced_;
  off_t end_;  // of what is written
};

// Written beside the target, whose name it takes when it is stored.
class ReplacingFile final : public WholeFile {
 public:
  ReplacingFile(Target target, const Options& options)
      : target_(std::move(target)),
        options_(options),
        file_(target_.folder.Get(), target_.name.c_str()) {}

  // `old` is the file that it will replace, open for reading and writing; not open when there is
  // none. False with errno set when such a file cannot be made.
  bool Create(const Descriptor& old, const struct stat& status) {
    if (!old.IsOpen()) return file_.Create(options_.ownerOnly ? 0600 : 0666);
    // Never open to more than the old file, from the first moment on.
    if (!file_.Create(0600)) return false;
    isReplacing_ = true;
    return TakeRights(file_.Descriptor(), old.Get(), status);
  }

  bool CopyOld(const Descriptor& old, const struct stat& status) {
    LongWork work("Copying", target_.path);
    CopyWay way;
    if (options_.stoppable) way.work = &work;
    return CopyContents(old.Get(), file_.Descriptor(), static_cast<std::uint64_t>(status.st_size),
                        way);
  }

  Result<void> Write(std::string_view bytes) override {
    if (error_ != 0) return Failed(target_, error_);
    error_ = ECANCELED;  // what is left of a write that a stop ends
    LongWork work("Writing", target_.path);
    const std::size_t written = WriteBytes(file_.Descriptor(), bytes.data(), bytes.size(),
                                           options_.stoppable ? &work : nullptr);
    error_ = written == bytes.size() ? 0 : errno;
    if (error_ != 0) return Failed(target_, error_);
    return {};
  }

  Result<void> Store() override {
    if (error_ != 0) return Failed(target_, error_);
    const UncutWork uncut(target_.path.c_str());
    if (options_.synced && Uninterrupted([this] { return fsync(file_.Descriptor()); }) != 0) {
      return Failed(target_, errno);
    }
    if (!file_.Close()) return Failed(target_, errno);
    FolderSync folder;
    if (options_.synced && !folder.Open(target_.folder.Get(), ".")) return Failed(target_, errno);
    if (!file_.ReplaceName()) {
      // Something is mounted on that name, which a rename cannot take away.
      if (errno == EBUSY && isReplacing_) return WriteOver();
      return Failed(target_, errno);
    }
    left_ = Left::kNew;
    if (options_.synced && !folder.Sync()) return Failed(target_, errno);
    return {};
  }

  Left WhatIsLeft() const override { return left_; }

 private:
  Result<void> WriteOver() {
    const Descriptor from(
        OpenAt(target_.folder.Get(), file_.TemporaryName(), O_RDONLY | O_CLOEXEC));
    Descriptor to(OpenAt(target_.folder.Get(), target_.name.c_str(), O_RDWR | O_CLOEXEC));
    struct stat size;
    struct stat status;
    if (!from.IsOpen() || !to.IsOpen() || StatusOf(from.Get(), size) != 0 ||
        StatusOf(to.Get(), status) != 0) {
      return Failed(target_, errno);
    }
    if (!Reserve(to.Get(), 0, size.st_size, status.st_size)) return Failed(target_, errno);
    left_ = Left::kAny;
    if (!CopyContents(from.Get(), to.Get(), static_cast<std::uint64_t>(size.st_size), {}) ||
        Uninterrupted([&] { return ftruncate(to.Get(), size.st_size); }) != 0 ||
        (options_.synced && Uninterrupted([&] { return fsync(to.Get()); }) != 0) || !to.Close()) {
      return Failed(target_, errno);
    }
    return {};
  }

  Target target_;
  Options options_;
  NewFile file_;
  bool isReplacing_ = false;
  Left left_ = Left::kOld;
  int error_ = 0;  // why not all is there; it cannot be stored then
};

// What was open when the program began: its standard streams and what else it was given. All that
// it opens itself is closed in the programs that it starts.
std::vector<int> InheritedDescriptors() {
  constexpr int kMost = 1024;  // the usual limit of open files
  std::vector<int> inherited = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
  for (int file = STDERR_FILENO + 1; file < kMost; ++file) {
    const int flags = fcntl(file, F_GETFD);
    if (flags >= 0 && (flags & FD_CLOEXEC) == 0) inherited.push_back(file);
  }
  return inherited;
}

// Somebody gave this file to the program, open: whoever holds it would go on writing to a file
// without a name. True as well when that cannot be told.
bool IsInherited(const struct stat& file) {
  static const std::vector<int> inherited = InheritedDescriptors();
  for (const int stream : inherited) {
    struct stat status;
    if (StatusOf(stream, status) != 0) {
      if (errno != EBADF) return true;
    } else if (status.st_dev == file.st_dev && status.st_ino == file.st_ino) {
      return true;
    }
  }
  return false;
}

bool MustKeepItsPlace(const struct stat& status) {
  return status.st_nlink > 1 || IsInherited(status);
}

// What stands at the end of a path, links followed.
struct Found {
  Target target;
  Descriptor old;  // open for writing; not open when nothing stands there
  struct stat status = {};
  bool isLinked = false;
  // The path leads to a file in a way that no name tells, as those of open files do that the system
  // shows as links.
  bool isNameless = false;
};

// Opened for writing, so that a file without that right is refused although its folder would take
// another one in its place.
Descriptor OpenOld(int directory, const char* name, const WholeFile::Options& options, int flags) {
  return Descriptor(OpenAt(
      directory, name,
      (options.keepsContents ? O_RDWR : O_WRONLY) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | flags));
}

// Follows the links at the end of a path; false with errno set.
bool FindTarget(int directory, std::string_view path, const WholeFile::Options& options,
                Found& found) {
  std::string rest(path);
  found.target.path = path;
  Target& target = found.target;
  for (int links = 0; links < kLongestChainOfLinks; ++links) {
    const auto slash = rest.rfind('/');
    const std::string folder = slash == std::string::npos ? "."
                               : slash == 0               ? "/"
                                                          : rest.substr(0, slash);
    const int from = target.folder.IsOpen() ? target.folder.Get() : directory;
    Descriptor opened(OpenAt(from, folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!opened.IsOpen()) return false;
    target.folder = std::move(opened);
    target.name = slash == std::string::npos ? rest : rest.substr(slash + 1);
    if (target.name.empty()) {
      errno = EISDIR;
      return false;
    }
    found.old = OpenOld(target.folder.Get(), target.name.c_str(), options, O_NOFOLLOW);
    if (found.old.IsOpen()) return StatusOf(found.old.Get(), found.status) == 0;
    if (errno == ENOENT) return true;
    if (errno != ELOOP || !options.followsLink) return false;
    char text[PATH_MAX];
    const ssize_t length =
        ReadLinkAt(target.folder.Get(), target.name.c_str(), text, sizeof text - 1);
    if (length < 0) return false;
    rest.assign(text, static_cast<std::size_t>(length));
    found.isLinked = true;
  }
  errno = ELOOP;
  return false;
}

// A link's text may be no name at all, or another file's: then the file itself is what is meant.
bool FindNameless(int directory, const std::string& path, const WholeFile::Options& options,
                  Found& found) {
  struct stat reached;
  if (StatusAt(directory, path.c_str(), reached, 0) != 0) return errno == ENOENT;
  if (found.old.IsOpen() && reached.st_dev == found.status.st_dev &&
      reached.st_ino == found.status.st_ino) {
    return true;
  }
  found.isNameless = true;
  found.old = OpenOld(directory, path.c_str(), options, 0);
  return found.old.IsOpen() && StatusOf(found.old.Get(), found.status) == 0;
}

// Why a file cannot get other contents, as errno; 0: it can.
int WhyNot(const Found& found) {
  if (!found.old.IsOpen()) return 0;
  if (!S_ISREG(found.status.st_mode)) return EINVAL;
  // Permissions do not hold back every user; the read-only attribute does.
  return (found.status.st_mode & S_IWUSR) == 0 ? EACCES : 0;
}

}  // namespace

Result<std::unique_ptr<WholeFile>> OpenWholeFileAt(int directory, std::string_view path,
                                                   const WholeFile::Options& options) {
  const std::string whole(path);
  Found found;
  const auto find = [&] {
    found = Found();
    return FindTarget(directory, path, options, found) &&
           (!found.isLinked || FindNameless(directory, whole, options, found));
  };
  if (!find()) return Failure(std::strerror(errno), whole);
  if (const int error = WhyNot(found); error != 0) return Failure(std::strerror(error), whole);
  const bool isNew = !found.old.IsOpen();
  if (isNew || (!found.isNameless && !MustKeepItsPlace(found.status))) {
    auto file = std::make_unique<ReplacingFile>(std::move(found.target), options);
    if (file->Create(found.old, found.status)) {
      if (options.keepsContents && !isNew && !file->CopyOld(found.old, found.status)) {
        return Failure(std::strerror(errno), whole);
      }
      return file;
    }
    // A full disk says so here; what the folder or the owner does not allow may go in place.
    const bool isForbidden = errno == EACCES || errno == EPERM || errno == EROFS;
    const int error = errno;
    file.reset();
    if (isNew || !isForbidden || !find()) {
      return Failure(std::strerror(error), whole);
    }
  }
  return std::make_unique<InPlaceFile>(std::move(found.target), std::move(found.old), found.status,
                                       options);
}

Result<std::unique_ptr<WholeFile>> WholeFile::Open(const std::string& path,
                                                   const Options& options) {
  return OpenWholeFileAt(AT_FDCWD, path, options);
}

}  // namespace base
