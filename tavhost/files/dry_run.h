#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/string.h"
#include "host/script/forward.h"
#include "tavhost/script/ports/command_provider.h"

// Stands before the plug-ins and takes COPY_FILES, MOVE_FILES and DELETE_FILES: tells what each
// would do, step by step, and does none of it. What earlier ones would have done counts for later
// ones. Everything else is carried out. Works on the same functions of the system as the commands
// do, so its answers hold on every platform. It cannot foresee a disk that is full, a right that is
// missing, a file that FWRITE holds open, a pipe or device, and that two paths reach the same entry
// through a link.
class DryRun : public script::CommandProvider {
 public:
  // `report` takes lines, each with its line feed.
  explicit DryRun(std::function<void(std::string_view)> report) : report_(std::move(report)) {}

  bool Handle(const char* command, TavKelParser& params, TavScriptResult& result) override;
  bool Handle(const char* command, TavKelParser& params, TavMessage& message) override;
  SV::String AllCommands(char) override { return {}; }

 private:
  enum class Kind { kNone, kFile, kDirectory, kLink, kDirectoryLink };

  struct Entry {
    std::string name;
    Kind kind = Kind::kNone;
    bool isReadOnly = false;
    bool isElsewhere = false;  // its name, put behind the pattern's folder, does not lead to it
  };
  struct CopyFlags {
    bool keepFiles = false;
    bool fillFolders = false;
  };

  bool Delete(const std::string& pattern);
  bool Copy(const std::string& pattern, const std::string& target, CopyFlags flags);
  bool Move(const std::string& pattern, const std::string& target);
  bool CopyEntry(const std::string& from, const std::string& to, const Entry& entry,
                 CopyFlags flags);
  bool MoveEntry(const std::string& from, const std::string& to, const Entry& entry);

  // What a pattern names, in the order in which a search finds it; `matches` is false when the
  // search itself finds nothing, not even `.`.
  std::vector<Entry> List(const std::string& pattern, bool& matches) const;
  Entry EntryAt(const std::string& path) const;
  // Whether a path leads to it, without which a command could neither copy nor delete it.
  static bool IsReachable(const Entry& entry);
  // From now on this stands at the path; kNone: nothing does.
  void Put(const std::string& path, Entry entry);

  void Say(const char* what, const std::string& path);
  void Say(const char* what, const std::string& from, const std::string& to);
  // Says where the command would stop, and returns false.
  bool Fail(const std::string& what, const char* reason);

  std::function<void(std::string_view)> report_;
  // By folder and name: what would stand at a path by now, where that differs from what is there.
  std::map<std::string, std::map<std::string, Entry>> changed_;
};
