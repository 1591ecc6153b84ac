#pragma once

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/base/string.h"
#include "tavhost/base/dry_run.h"
#include "tavhost/base/result.h"
#include "tavhost/files/disk.h"

class PlannedOutput;

// The files as they would be after the steps of a dry run. What was told stands over what is there:
// a file told to be written is found and can be read, one told to be deleted is gone. Each step is
// told when it would be done, or why it would fail, by the rules of the functions that do it in
// earnest; nothing on the disk changes. It cannot foresee a disk that is full, a right that is
// missing, and that two names are one file's. What is reached through a link to a folder has one
// path here, that without the link.
class PlannedFiles {
 public:
  // kUnknown: the disk does not tell what stands there, or whether anything does.
  enum class Kind { kNone, kFile, kDirectory, kLink, kDirectoryLink, kOther, kUnknown };

  struct Entry {
    std::string name = {};
    Kind kind = Kind::kNone;
    bool isReadOnly = false;
  };

  // A search, standing on one of its entries.
  struct Search {
    std::string folder;  // whole
    std::vector<Entry> entries;
    std::size_t next = 0;
    // The path of the only entry when it goes by a name to which no path leads.
    std::string itself;
    std::string entryPath;  // of the entry returned last

    // The place at which it stands; empty for a name like `..` beside others.
    const std::string& Place() const { return itself.empty() ? entryPath : itself; }
  };

  PlannedFiles();
  PlannedFiles(const PlannedFiles&) = delete;
  PlannedFiles& operator=(const PlannedFiles&) = delete;
  ~PlannedFiles();

  Entry At(disk::Name name);  // links not followed; kNone for what is no path
  bool IsFile(disk::Name name);
  disk::ReadCode Read(disk::Name name, SV::String& contents);
  // What is in a directory, in the order of a search, without the dots; nothing when it cannot be
  // read.
  std::optional<std::vector<Entry>> EntriesOf(const std::string& folder);

  // Fails when the pattern finds nothing, or that cannot be told.
  base::Result<Search*> OpenSearch(const char* pattern);
  // Whether `target` lies in a directory that the pattern finds.
  bool GoesIntoItself(const char* pattern, const char* target);
  // The next entry; null behind the last.
  const Entry* Next(Search& search);
  bool IsOpen(const Search* search) const;
  // A tree was to go on where a link stands, which was told.
  bool IsWayClosed() const { return !closedWay_.empty(); }
  void Close(Search* search);

  // Where a directory is to be filled, it is no failure that there is one.
  bool MakeDirectory(disk::Name name, bool mayBeThere = false);
  bool RemoveFolder(disk::Name name);
  bool Delete(disk::Name name);
  struct CopyOptions {
    bool replace = false;
    bool keepAttributes = false;
    bool followLink = false;
  };
  bool Copy(disk::Name from, disk::Name to, CopyOptions options);
  bool Move(disk::Name from, disk::Name to);
  bool ChangeDirectory(disk::Name name);
  // When what is written to a file is there for others: as it is written; so once the file is to
  // stay open, else whole when it is closed; or always then, and nobody else may write it.
  enum class Appears { kAtOnce, kWhole, kAtClose };
  // A file open for writing. All are closed before this object goes.
  std::unique_ptr<disk::OutputFile> OpenForWriting(disk::Name name, bool append, Appears when);
  // The path of a file told to be new, in the folder for temporary files.
  std::string NewTemporaryFile(const std::string& prefix);
  // Lets a directory be there, and those above it, without telling.
  void EnsureFolder(const std::string& folder);

  // Says why a step would fail, and returns false.
  bool Refuse(disk::Name name, const std::string& reason);
  // The same of what is no directory as far as can be told.
  bool RefuseAttributes(disk::Name name);

 private:
  friend class PlannedOutput;

  // Reasons why nothing can be said, whatever was asked.
  static constexpr const char* kUntold = "it cannot be told what is there";
  static constexpr const char* kUnreadable = "what is in it cannot be read";

  struct ByName {
    bool operator()(const std::string& a, const std::string& b) const;
  };
  // What differs from the disk at one place.
  struct Node {
    Kind kind = Kind::kNone;
    bool isReadOnly = false;
    std::string real = {};  // where the contents lie on the disk; empty: nowhere
    SV::String bytes = {};  // of a file without such a place
    bool isKnown = true;
    bool isCopy = false;  // what lies there stands at another place, too
    std::map<std::string, Node*, ByName> entries = {};
  };
  // What stands at a place: a node, or else what the disk has at `real`.
  struct Found {
    Kind kind = Kind::kNone;
    bool isReadOnly = false;
    Node* node = nullptr;
    std::string real = {};
  };

  // A path asked for, and the nodes on its way, each with the length of the path up to it.
  struct Way {
    struct Stop {
      std::size_t end;
      Node* node;
    };
    std::string path = {};
    std::vector<Stop> stops = {};
  };

  // A folder behind links through which a tree command has gone, and what it was then.
  struct Passed {
    std::string folder;
    std::string final;
  };

  // What the disk has at a path.
  static std::pair<Kind, bool> OnDisk(const std::string& path);
  static bool IsLink(Kind kind);
  // The whole path that a name means; nothing when it can mean none, or none may be reached now.
  std::optional<std::string> Reach(disk::Name name);
  std::string ByWayPassed(const std::string& path);
  Way& WayTo(const std::string& path);
  Found Find(const std::string& path);
  // The same, but a link is a link wherever it leads.
  Found FindItself(const std::string& path);
  // The path of what a path leads to, links on its way followed, at its end only if `follow` says
  // so. Nothing when they lead in a circle.
  std::optional<std::string> Final(const std::string& path, bool follow);
  // Where it leads in the end; the path itself when that is nowhere.
  std::string Followed(const std::string& path);
  bool LeadsNowhere(const std::string& link);
  bool LeadsToFile(const std::string& link);
  // The node of the directory in which `path` ends, made when there is none.
  Node& NodeOfFolder(const std::string& path);
  // From now on this stands at the path.
  Node& Put(const std::string& path, Node node);
  Node* MakeNode(Node node);
  bool IsDirectory(const std::string& path);
  // The nearest directory of the disk in which the path ends, that of the path itself included.
  std::string RealFolderOf(std::string path);
  std::optional<std::vector<Entry>> EntriesOf(const std::string& path, const Found& folder);
  // Whether the file system refuses a name of this length there.
  bool IsNameTooLong(const std::string& path);
  // Whether the disk has one file at both places, under two names or through a link.
  static bool IsOneFile(const Found& first, const Found& second);
  static bool IsReadableFile(const Found& found);
  bool IsUnderWay(const std::string& path) const;
  bool IsInSearched(const std::string& folder) const;

  bool Fail(const std::string& path, const std::string& reason);

  std::vector<std::unique_ptr<Node>> nodes_;  // flat, so that no depth matters when they go
  Node* root_;
  std::array<Way, 4> ways_;
  std::size_t nextWay_ = 0;
  // Paths of folders without a link on their way, among those asked for last.
  std::array<std::string, 4> plainPaths_;
  std::size_t nextPlainPath_ = 0;
  std::vector<std::unique_ptr<Search>> searches_;
  std::vector<Passed> passed_;           // since the outermost of them was opened
  std::vector<PlannedOutput*> outputs_;  // open, owned by whoever opened them
  std::string closedWay_;                // a link stands where a tree was to go on
  unsigned temporaryFiles_ = 0;
};
