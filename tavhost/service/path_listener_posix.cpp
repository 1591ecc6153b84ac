#include <utility>
// After <utility>, which Asio needs and does not include itself.
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/stream_protocol.hpp>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <system_error>
#include <thread>
#include <tl/expected.hpp>

#include "tavhost/base/leftover_file.h"
#include "tavhost/service/listener.h"

namespace script::service {

namespace {

using local = boost::asio::local::stream_protocol;
using boost::asio::ip::tcp;

constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
constexpr char kLocalClient[] = "local";  // in the log

tl::unexpected<base::Error> SystemFailure() {
  return base::Failure(std::generic_category().message(errno));
}

// While one lives, no other service looks at the sockets of a folder: one that has its name already
// and does not listen yet would be taken for what a killed one has left. Somebody else who holds
// the folder is not waited for long; where it cannot be held at all, its owner looks after that.
class FolderLock {
 public:
  explicit FolderLock(const std::string& path)
      : folder_(open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    constexpr int kTries = 200;
    for (int i = 0; i < kTries && folder_ >= 0 && flock(folder_, LOCK_EX | LOCK_NB) != 0; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;
  ~FolderLock() {
    if (folder_ >= 0) close(folder_);
  }

 private:
  static std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == path.npos ? "." : path.substr(0, slash + 1);
  }

  const int folder_;
};

// The file of a socket goes with it.
class PathListener final : public Listener {
 public:
  PathListener(std::shared_ptr<Listener> listener, const std::string& path)
      : listener_(std::move(listener)), file_(path) {}
  PathListener(const PathListener&) = delete;
  PathListener& operator=(const PathListener&) = delete;
  ~PathListener() override { file_.Remove(); }

  void Accept() override { listener_->Accept(); }
  void Resume() override { listener_->Resume(); }
  void Close() override { listener_->Close(); }

 private:
  const std::shared_ptr<Listener> listener_;
  LeftoverFile file_;
};

// A socket that a service which was killed has left behind. One that somebody listens on is not
// touched, and neither is anything else.
bool IsLeftBehind(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) return false;
  boost::asio::io_context context;
  local::socket socket(context);
  boost::system::error_code error;
  socket.connect(local::endpoint(path), error);
  return error == boost::system::errc::connection_refused;
}

}  // namespace

base::Result<std::shared_ptr<Listener>> ListenOnPath(ServerState& state, const std::string& path) {
  const FolderLock lock(path);
  if (IsLeftBehind(path)) unlink(path.c_str());
  try {
    local::acceptor acceptor(state.context);
    acceptor.open();
    KeepFromChildren(static_cast<std::uintptr_t>(acceptor.native_handle()));
    // Before the file is there: nobody else may use it for a moment either.
    if (fchmod(acceptor.native_handle(), kOwnerOnly) != 0) return SystemFailure();
    acceptor.bind(local::endpoint(path));
    if (chmod(path.c_str(), kOwnerOnly) != 0) return SystemFailure();
    acceptor.listen();
    auto listener = std::make_shared<ListenerOf<local>>(state, std::move(acceptor), kLocalClient);
    return std::make_shared<PathListener>(std::move(listener), path);
  } catch (const boost::system::system_error& failure) {
    return base::Failure(failure.code().message());
  }
}

base::Result<std::shared_ptr<Listener>> ListenOnInherited(ServerState& state, int descriptor) {
  const std::string name = "descriptor " + std::to_string(descriptor);
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  int listens = 0;
  socklen_t size = sizeof listens;
  if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) != 0 ||
      getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) != 0 || !listens) {
    return base::Failure(name + " is no socket that listens");
  }
  KeepFromChildren(static_cast<std::uintptr_t>(descriptor));
  switch (address.ss_family) {
    case AF_UNIX:
      return std::make_shared<ListenerOf<local>>(
          state, local::acceptor(state.context, local(), descriptor), kLocalClient);
    case AF_INET:
    case AF_INET6:
      return std::make_shared<ListenerOf<tcp>>(
          state,
          tcp::acceptor(state.context, address.ss_family == AF_INET ? tcp::v4() : tcp::v6(),
                        descriptor),
          std::string());
    default:
      return base::Failure(name + " is no socket of a kind that the service knows");
  }
}

}  // namespace script::service
