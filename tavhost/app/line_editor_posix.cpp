#include <dlfcn.h>
#include <editline/readline.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/app/line_editor.h"
#include "tavhost/base/descriptor_posix.h"
#include "tavhost/base/file_text.h"
#include "tavhost/base/report.h"
#include "tavhost/base/whole_file.h"
#include "tavhost/headless/terminal_input_posix.h"

namespace app {

namespace {

constexpr int kHistoryLength = 2000;
constexpr std::size_t kMostHistory = std::size_t{1} << 20;   // bytes of it that are read
constexpr std::string_view kHistoryMark = "_HiStOrY_V2_\n";  // begins a history of libedit's
// What ends a word for completion: all that cannot stand in a name.
constexpr char kWordBreaks[] = " \t\n\"\\'`@$><=;|&{}(),:+*/%[]!#.?";

// libedit, loaded when a prompt starts, so that no other start of the program takes the time.
struct Library {
  decltype(&::readline) readLine = nullptr;
  decltype(&::add_history) addHistory = nullptr;
  decltype(&::read_history) readHistory = nullptr;
  decltype(&::write_history) writeHistory = nullptr;
  decltype(&::stifle_history) stifleHistory = nullptr;
  decltype(&::rl_completion_matches) completionMatches = nullptr;
  decltype(&::rl_initialize) initialize = nullptr;
  rl_completion_func_t** attemptedCompletion = nullptr;
  int* attemptedCompletionOver = nullptr;
  int* appendCharacter = nullptr;
  int* catchSignals = nullptr;
  int (**readCharacter)(FILE*) = nullptr;
  const char** wordBreaks = nullptr;
  const char** programName = nullptr;
  char** lineBuffer = nullptr;

  bool Load() {
    void* handle = nullptr;
    for (const char* name : {"libedit.so.2", "libedit.so.0", "libedit.so"}) {
      handle = dlopen(name, RTLD_NOW | RTLD_LOCAL);
      if (handle) break;
    }
    return handle && Find(handle, "readline", readLine) &&
           Find(handle, "add_history", addHistory) && Find(handle, "read_history", readHistory) &&
           Find(handle, "write_history", writeHistory) &&
           Find(handle, "stifle_history", stifleHistory) &&
           Find(handle, "rl_completion_matches", completionMatches) &&
           Find(handle, "rl_initialize", initialize) &&
           Find(handle, "rl_attempted_completion_function", attemptedCompletion) &&
           Find(handle, "rl_attempted_completion_over", attemptedCompletionOver) &&
           Find(handle, "rl_completion_append_character", appendCharacter) &&
           Find(handle, "rl_catch_signals", catchSignals) &&
           Find(handle, "rl_getc_function", readCharacter) &&
           Find(handle, "rl_basic_word_break_characters", wordBreaks) &&
           Find(handle, "rl_readline_name", programName) &&
           Find(handle, "rl_line_buffer", lineBuffer);
  }

 private:
  template <typename T>
  static bool Find(void* handle, const char* name, T& target) {
    target = reinterpret_cast<T>(dlsym(handle, name));
    return target != nullptr;
  }
};

// Global, since libedit calls back without any argument of ours. There is one prompt at a time.
Library library;
LineEditor::Completer completer;
std::vector<std::string> candidates;

char* NextCandidate(const char*, int state) {
  static std::size_t next = 0;
  if (state == 0) next = 0;
  return next < candidates.size() ? strdup(candidates[next++].c_str()) : nullptr;
}

char** CompleteWord(const char* word, int, int end) {
  *library.attemptedCompletionOver = 1;  // no file names where there are no candidates
  candidates = completer(std::string_view(*library.lineBuffer, static_cast<std::size_t>(end)));
  if (candidates.empty()) return nullptr;
  *library.appendCharacter = ' ';
  // Behind a parameter's colon its value follows at once.
  if (candidates[0].ends_with(':')) *library.appendCharacter = '\0';
  return library.completionMatches(word, NextCandidate);
}

// The next character typed, or -1. libedit's own reading would miss a Ctrl-C that comes between two
// of its reads: it looks at no stop request, and nothing would end its wait.
int ReadCharacter(FILE*) {
  std::mbstate_t state{};
  for (;;) {
    char byte;
    if (ui::WaitForTerminalInput() != ui::LineOutcome::kLine) return -1;
    if (read(STDIN_FILENO, &byte, 1) != 1) return -1;
    wchar_t character = 0;
    switch (std::mbrtowc(&character, &byte, 1, &state)) {
      case static_cast<std::size_t>(-2):
        break;  // the character's next byte
      case static_cast<std::size_t>(-1):
        state = {};
        break;  // no character of this locale
      default:
        return static_cast<int>(character);
    }
  }
}

// The history's file, its folder made; empty when there is no place for it.
std::string HistoryFile() {
  std::string folder;
  if (const char* state = std::getenv("XDG_STATE_HOME"); state && *state == '/') {
    folder = state;
  } else if (const char* home = std::getenv("HOME"); home && *home == '/') {
    folder = std::string(home) + "/.local/state";
  } else {
    return {};
  }
  folder += "/tavhost/";
  // Nobody else has to know what is typed; what is there already stays as it is.
  for (auto slash = folder.find('/', 1); slash != std::string::npos;
       slash = folder.find('/', slash + 1)) {
    mkdir(folder.substr(0, slash).c_str(), 0700);
  }
  return folder + "history";
}

// A file in memory, by whose name libedit reads and writes its history.
class MemoryFile {
 public:
  bool IsOpen() const { return file_.IsOpen(); }
  std::string Name() const { return "/proc/self/fd/" + std::to_string(file_.Get()); }

 private:
  base::Descriptor file_{memfd_create("history", MFD_CLOEXEC)};
};

class TerminalEditor final : public LineEditor {
 public:
  TerminalEditor() : historyFile_(HistoryFile()) {
    std::setlocale(LC_CTYPE, "");  // how wide characters are
    *library.programName = "tavhost";
    *library.readCharacter = ReadCharacter;  // before the start, which takes it over
    library.initialize();
    *library.catchSignals = 0;  // the program's own handlers
    *library.wordBreaks = kWordBreaks;
    *library.attemptedCompletion = CompleteWord;
    library.stifleHistory(kHistoryLength);
    if (!historyFile_.empty()) ReadHistory();
  }

  std::optional<std::string> Read(const std::string& prompt) override {
    char* const line = library.readLine(prompt.c_str());
    if (!line) return std::nullopt;
    std::string text(line);
    std::free(line);
    return text;
  }

  void Remember(const std::string& entry) override {
    if (entry == last_) return;
    last_ = entry;
    library.addHistory(entry.c_str());
    // At once, so that a crash does not take it along.
    if (historyFile_.empty()) return;
    const base::Result<void> kept = WriteHistory();
    if (!kept && !std::exchange(isTold_, true)) {
      report::Line("tavhost: what is typed is not kept: " + kept.error().message);
    }
  }

 private:
  // Where it cannot be read it stays as it is.
  void ReadHistory() {
    base::Result<std::string> text = base::ReadKeptText(historyFile_, kMostHistory);
    const MemoryFile file;
    if (!text || !file.IsOpen()) {
      const std::string reason = text ? std::strerror(errno) : text.error().message;
      report::Line("tavhost: the history " + historyFile_ + " is neither read nor kept: " + reason);
      historyFile_.clear();
      return;
    }
    if (text->size() == kMostHistory) {  // of a longer one whole lines are taken
      text->replace(0, std::min(text->find('\n'), text->size() - 1) + 1, kHistoryMark);
    }
    std::FILE* const stream = base::OpenForWriting(file.Name());
    if (!stream) return;
    std::fwrite(text->data(), 1, text->size(), stream);
    std::fclose(stream);
    library.readHistory(file.Name().c_str());
  }

  // All of it or none.
  base::Result<void> WriteHistory() {
    const MemoryFile file;
    if (!file.IsOpen()) return base::Failure(std::strerror(errno));
    if (const int error = library.writeHistory(file.Name().c_str()); error != 0) {
      return base::Failure(std::strerror(error));
    }
    const base::Result<std::string> text = base::ReadFileText(file.Name());
    if (!text) return tl::unexpected<base::Error>(text.error());
    // libedit does not tell where it could not write.
    if (!text->starts_with(kHistoryMark) || !text->ends_with('\n')) {
      return base::Failure("it cannot be written whole");
    }
    base::WholeFile::Options options;
    options.ownerOnly = true;
    return base::WriteWholeFile(historyFile_, *text, options);
  }

  std::string historyFile_;
  std::string last_;
  bool isTold_ = false;  // that the history cannot be written
};

}  // namespace

std::unique_ptr<LineEditor> CreateTerminalEditor(LineEditor::Completer wordCompleter) {
  if (!library.Load()) return nullptr;
  completer = std::move(wordCompleter);
  return std::make_unique<TerminalEditor>();
}

}  // namespace app
