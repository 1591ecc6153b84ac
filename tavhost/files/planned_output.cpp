#include "tavhost/files/planned_output.h"

#include <algorithm>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/base/ascii.h"

using dry_run::Act;

namespace {

// What scripts hold in their variables as well; longer files are told, but not kept.
constexpr long kKeptBytes = 64L << 20;

}  // namespace

PlannedOutput::PlannedOutput(PlannedFiles& files, std::string path, PlannedFiles::Kind before,
                             bool append, PlannedFiles::Appears when)
    : files_(files),
      path_(std::move(path)),
      when_(when),
      existed_(before != PlannedFiles::Kind::kNone),
      isDevice_(before == PlannedFiles::Kind::kOther),
      isAppending_(append && existed_) {
  if (isAppending_ && !isDevice_) {
    isKnown_ = files_.Read({path_.c_str(), false}, bytes_) == disk::kRead;
  }
  if (when == PlannedFiles::Appears::kAtOnce) Appear();
  files_.outputs_.push_back(this);
}

PlannedOutput::~PlannedOutput() {
  auto& outputs = files_.outputs_;
  outputs.erase(std::find(outputs.begin(), outputs.end(), this));
}

// A name of the area is one whatever its case.
bool PlannedOutput::IsAt(const std::string& path) const {
  return when_ == PlannedFiles::Appears::kAtClose ? ascii::EqualIgnoringCase(path, path_)
                                                  : path == path_;
}

long PlannedOutput::Write(const char* data, long length) {
  count_ += length;
  isKnown_ = isKnown_ && bytes_.Len() + length <= kKeptBytes;
  if (isKnown_) bytes_.Append(data, length);
  if (node_) Keep();
  if (isGrowing_) dry_run::Tell({Act::kAppend, path_, {}, length});
  return length;
}

base::Result<void> PlannedOutput::StayOpen() {
  if (when_ == PlannedFiles::Appears::kAtClose) return {};
  if (!node_) Appear();
  isGrowing_ = true;
  dry_run::Tell({Act::kOpen, path_, {}, -1, IsReplacing()});
  return {};
}

base::Result<bool> PlannedOutput::Close() {
  if (isGrowing_) return true;
  if (!node_) Appear();
  const Act act = isAppending_ ? Act::kAppend : Act::kWrite;
  dry_run::Tell({act, path_, {}, count_, IsReplacing()});
  return true;
}

void PlannedOutput::Appear() {
  if (isDevice_) return;
  node_ = &files_.Put(path_, {PlannedFiles::Kind::kFile});
  Keep();
}

void PlannedOutput::Keep() {
  node_->bytes = isKnown_ ? bytes_ : SV::String();
  node_->isKnown = isKnown_;
}
