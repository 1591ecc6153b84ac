// What a script asks for and cannot have is an error of that script and of nothing else. Each
// command and each built-in function runs again and again, in the whole host with the real plug-in:
// the first time its first request for memory is refused, then its second, and so on until a run
// makes fewer requests. Whatever that leads to, the program lives, the next script works, and
// nothing is lost.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <tl/expected.hpp>
#include <vector>

#include "failing_malloc.h"
#include "tavhost/base/buffer_memory.h"
#include "tavhost/base/memory_reserve.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/string_of.h"
#include "tavhost/dialog/work_window.h"
#include "tavhost/files/database_area.h"
#include "tavhost/headless/headless_toolkit.h"
#include "tavhost/loader/plugins.h"
#include "tavhost/reference/reference.h"
#include "tavhost/script/built_in/built_in.h"
#include "tavhost/script/ports/ports.h"
#include "tavhost/script/runner.h"
#include "tavhost/sv/main_frames.h"
#include "tavhost/ui/current_toolkit.h"
#include "tavhost/ui/models/modal_model.h"

namespace {

// Windows end by their usual button.
class UsualAnswers final : public ui::AnswerSource {
 public:
  bool AnswersWindows() const override { return true; }
  void Answer(ui::ModalModel& window) override { window.End(window.DefaultButton()); }
  void Record(const ui::ModalModel&) override {}
};

// How many requests in a row are refused; the long form takes several.
long RefusedInARow() {
  const char* const wanted = std::getenv("TAVHOST_SWEEP");
  return wanted ? std::max(1L, std::atol(wanted)) : 1;
}

class AllocationSweep : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    memory_reserve::Keep();
    // In memory, where there is such a folder: thousands of files are written down to the disk.
    const std::filesystem::path memory = "/dev/shm";
    const std::filesystem::path above =
        access(memory.c_str(), W_OK) == 0 ? memory : std::filesystem::temp_directory_path();
    std::string name = (above / "tavhost-sweep-XXXXXX").string();
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
    std::filesystem::current_path(folder_);
    ui::HeadlessOptions options;
    options.quiet = true;
    options.answers = std::make_shared<UsualAnswers>();
    ui::SetToolkit(ui::CreateHeadlessToolkit(options));
    database_area::SetFolder((folder_ / "db").string());
    main_frames::Create();
    work_window::Create();
    script::RegisterHostPorts();
    plugins_ = std::make_unique<loader::Plugins>();
    const base::Result<void> loaded = plugins_->Load(TAVHOST_TEST_PLUGIN);
    ASSERT_TRUE(loaded) << loaded.error().message;
  }

  static void TearDownTestSuite() {
    plugins_.reset();
    work_window::Destroy();
    main_frames::Destroy();
    ui::SetToolkit(nullptr);
    std::filesystem::current_path("/");
    std::filesystem::remove_all(folder_);
  }

  // `errors` is what texts that it executed said.
  static script::Outcome Run(const SV::String& text, std::string& printed,
                             std::string* errors = nullptr) {
    printed.clear();
    script::RunOptions options;
    options.name = "sweep.tav";
    options.sinks.print = [&printed](std::string_view part) { printed += part; };
    options.sinks.error = [errors](std::string_view part) {
      if (errors) *errors += part;
    };
    options.sinks.readLine = [](std::string& line) {
      line = "a line";
      return true;
    };
    return script::RunText(text, options);
  }

  static void EmptyFolder() {
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
      if (entry.path().filename() != "large") std::filesystem::remove_all(entry.path());
    }
  }

  static bool SaysNoMemory(const std::string& text) {
    return text.find("out of memory") != std::string::npos;
  }

  // What the script prints when nothing is refused. Empty when that differs from run to run.
  static std::string Usual(const SV::String& text) {
    std::string first;
    for (const bool isFirst : {true, false}) {
      EmptyFolder();
      std::filesystem::current_path(folder_);
      std::string printed;
      Run(text, printed);
      stop::Clear();
      if (isFirst) first = printed;
      if (printed != first) return {};
    }
    return first;
  }

  // One run with its `at`-th request refused. False when it made fewer. It may end in the error
  // that the script has of its own, or in the one that there is no memory; else all is as usual: no
  // outcome of a command stands for want of memory.
  static bool RunRefused(const std::string& name, const SV::String& text, long at,
                         const std::string& ownError, const std::string& usual) {
    EmptyFolder();
    std::filesystem::current_path(folder_);
    std::string printed;
    printed.reserve(1 << 21);  // the test's own words are not what is looked at
    std::string errors;
    errors.reserve(1 << 12);
    script::Outcome outcome;
    failing_malloc::FailAt(at, RefusedInARow());
    try {
      outcome = Run(text, printed, &errors);
    } catch (const std::exception& thrown) {
      failing_malloc::Disarm();
      ADD_FAILURE() << name << ", request " << at << ": " << thrown.what()
                    << " came out of the run";
    }
    const bool wasRefused = failing_malloc::Disarm();
    stop::Clear();
    const bool isError = !outcome.parsed || outcome.exitType == TavScriptExitError;
    if (wasRefused && isError && outcome.error.message != ownError &&
        outcome.error.message.find("out of memory") == std::string::npos) {
      ADD_FAILURE() << name << ", request " << at << ": " << outcome.error.text;
    }
    if (wasRefused && !isError && !usual.empty() && printed != usual && !SaysNoMemory(printed) &&
        !SaysNoMemory(errors)) {
      ADD_FAILURE() << name << ", request " << at << ": it printed " << printed.substr(0, 500)
                    << ", not " << usual.substr(0, 500);
    }
    const script::Outcome next = Run(kNext, printed);
    EXPECT_EQ(printed, "a1 0 2\n") << name << ", behind request " << at << ": " << next.error.text;
    return wasRefused;
  }

  static void RunAll(const std::string& name, const SV::String& text, const std::string& ownError,
                     const std::string& usual) {
    const int before = Findings();
    for (long at = 1; Findings() == before && RunRefused(name, text, at, ownError, usual); ++at) {
      ASSERT_LT(at, 3000) << name << ": it asks for more each time";
    }
  }

  static int Findings() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
  }

  // Blocks in use, those left out that wait to be used again.
  static long Blocks() {
    long waiting = 0;
    for (const auto& list : buffer_memory::detail::freeLists) waiting += list.count;
    return failing_malloc::LiveBlocks() - waiting;
  }

  static void Sweep(const std::string& name, const std::string& script,
                    const std::string& ownError = {}) {
    SCOPED_TRACE(name);
    const SV::String text = base::StringOf(script);
    const int before = Findings();
    const std::string usual = Usual(text);
    RunAll(name, text, ownError, usual);
    // What is kept for good may come at any time, but not time and again: a loss does.
    for (long at = 1; Findings() == before; ++at) {
      long blocks = Blocks();
      for (int rounds = 0;; ++rounds) {
        if (!RunRefused(name, text, at, ownError, usual)) return;
        if (Blocks() <= blocks) break;
        blocks = Blocks();
        ASSERT_LT(rounds, 4) << name << ", request " << at << ": blocks of memory are lost";
      }
    }
  }

  static const SV::String kNext;
  static std::filesystem::path folder_;
  static std::unique_ptr<loader::Plugins> plugins_;
};

// A command, a function, and what they need.
const SV::String AllocationSweep::kNext(
    "x = \"a\" + 1\nFILE_EXISTS file:\"no such file\" -> r\nl = (1, 2)\nprint x, r.exists, len(l)");
std::filesystem::path AllocationSweep::folder_;
std::unique_ptr<loader::Plugins> AllocationSweep::plugins_;

// In the place of examples that need what is not here, or do not ask whether it went well.
const std::map<std::string, std::string> kOwnExamples = {
    {"HTTP_REQUEST", "HTTP_REQUEST \"http://127.0.0.1:1/\" -> r\nprint r.ecode"},
    {"GET_PROXY_SETTINGS", "GET_PROXY_SETTINGS -> r\nprint r.ecode"},
    {"DB_FILE_LIST",
     "FWRITE file:\"db:\\note.txt\" text:\"x\"\nDB_FILE_LIST\n"
     "if ecode == 0 { print files }"},
    // A browser keeps its tables, one more each time, unless it is told otherwise.
    {"DOCKABLE_BROWSER",
     "DOCKABLE_BROWSER title:\"T\" content:\"a;b\\n1;2\" winid:\"sweep\" "
     "clear-content\nprint ecode"},
    {"CLOSE_DOCKABLE_WINDOW",
     "DOCKABLE_BROWSER title:\"T\" content:\"a;b\\n1;2\" winid:\"sweep\" "
     "clear-content\nCLOSE_DOCKABLE_WINDOW winid:\"sweep\"\nprint ecode"},
    {"SLEEP", "SLEEP ms:1"},
    {"BEEP", "BEEP freq:440 ms:1"},
    {"SERVICE", "SERVICE start port:0 -> r\nSERVICE stop -> s\nprint r.ecode, s.ecode"},
};

TEST_F(AllocationSweep, EveryCommand) {
  for (const reference::Family& family : reference::Catalogue::Get().Families()) {
    for (const reference::Command& command : family.commands) {
      if (command.crashes) continue;  // what it is for
      const auto own = kOwnExamples.find(command.name);
      ASSERT_TRUE(command.example.needs.empty() || own != kOwnExamples.end()) << command.name;
      Sweep(command.name, own != kOwnExamples.end() ? own->second : command.example.script);
    }
  }
}

// One call of each, which works.
const std::map<std::string, std::string> kCalls = {
    {"abs", "print abs(-1)"},
    {"ceil", "print ceil(1.5)"},
    {"contains", "print contains(((1, \"a\"), (2, \"b\")), (2, \"b\")), contains(\"abc\", \"c\")"},
    {"ends", "print ends(\"abc\", \"c\")"},
    {"env", "print len(keys(env())), env(\"HOME\")"},
    {"find", "print find(\"äbc\", \"c\")"},
    {"floor", "print floor(1.5)"},
    {"format", "print format(\"{} {:>20} {:.2} {1}\", (1, 2), \"x\", 1.5)"},
    {"has", "print has((a: 1), \"a\")"},
    {"int", "print int(\" 12 \")\ntry { int(\"x\") } catch e { print e.message }"},
    {"join", "print join((\"a\", 2, (3, 4)), \", a long separator of texts \")"},
    {"kel_parse", "print kel_parse(\"A 1 b:2 c:{ D (1, 2, (x: w)) }; E \\\"t\\\\n\\\"\")"},
    {"kel_text", "print kel_text((1, \"a\\n\", (x: 2.5, y: ())))"},
    {"keys", "print keys((a: 1, b: 2))"},
    {"len", "print len(\"äöü\"), len((1, 2)), len((a: 1))"},
    {"lower", "print lower(\"ÄB\")"},
    {"max", "print max((1, 3, 2)), max(\"a\", \"b\")"},
    {"min", "print min(1, 2)"},
    {"now", "print now() > 0"},
    {"push", "l = (1,)\npush(l, \"a\")\nr = (l: ())\npush(r.l, (2,))\nprint l, r"},
    {"range", "print range(1, 50)"},
    {"re_all", "print re_all(\"a1 b22\", \"([a-z])([0-9]+)\")"},
    {"re_match", "print re_match(\"on 2026-11-21\", \"([0-9]{4})-\", \"i\")"},
    {"re_replace", "print re_replace(\"a-b\", \"[a-z]\", \"<$&>\")"},
    {"re_split", "print re_split(\"a, b\", \", *\")"},
    {"read_line", "print read_line()"},
    {"read_lines", "print read_line(\"none\")"},  // the lines of this test never end
    {"real", "print real(\"1.5\")"},
    {"replace", "print replace(\"a.b.c\", \".\", \", \")"},
    {"round", "print round(1.5)"},
    {"slice", "print slice(\"äöü\", 1, 2), slice((1, 2, 3), 1)"},
    {"split", "print split(\"a.b.c\", \".\"), split(\"äö\", \"\")"},
    {"starts", "print starts(\"abc\", \"a\")"},
    {"str", "print str((1, \"a\")) + str(2.5)"},
    {"time_make", "print time_make((year: 2026, month: 11))"},
    {"time_parse", "print time_parse(\"2026-11-21\", \"%Y-%m-%d\")"},
    {"time_parts", "print time_parts(0)"},
    {"time_text", "print time_text(0, \"%Y-%m-%d\")"},
    {"trim", "print trim(\"  a text that is trimmed at both its ends  \")"},
    {"type", "print type((1, 2))"},
    {"upper", "print upper(\"äb\")"},
};

TEST_F(AllocationSweep, EveryBuiltInFunction) {
  for (std::uint32_t i = 0; i < script::kBuiltInCount; ++i) {
    const std::string name = script::kBuiltIns[i].name;
    const auto call = kCalls.find(name);
    ASSERT_NE(call, kCalls.end()) << "no call of " << name << " stands here";
    Sweep(name, call->second);
  }
}

struct Script {
  std::string text;
  std::string ownError = {};
};

const std::map<std::string, Script> kScripts = {
    {"an error that is caught",
     {"func f(a) { throw (message: \"no \" + a, b: (1, 2)) }\n"
      "try { f(\"x\") } catch e { global g; g = e }\nprint g.message, g.line"}},
    {"an error that is not caught",
     {"func f() { return nothing }\nx = f()", "the variable \"nothing\" has no value"}},
    {"a script that does not parse",
     {"x = (1, 2", "expected \",\" or \")\", found the end of the text"}},
    {"variables",
     {"a = \"x\"\nb = (a, a)\nb[0] = \"y\"\nc = (k: b)\nc.k[1] = 2\nc[\"new field\"] = c\n"
      "s = \"\"\nfor i from 1 to 100 { s = s + i + \", \" }\nprint a, b, c, len(s)"}},
    {"updates",
     {"func f() { return \"x\" }\nr = (:)\nr.l = (1, 2)\nr.l += r.l\nr.l[0] += f()\n"
      "r.s = \"a\"\nr.s += f()\nm = r.l + (3,)\nm += m\n"
      "try { r.none += 1 } catch e { print e.message }\nprint r, m"}},
    {"loops",
     {"for k in (a: 1, b: 2) { for c in \"äö\" { print k + c } }\n"
      "n = 0\nwhile n < 3 { n = n + 1 }\nfor x from 0 to 1 step 0.5 { print x }"}},
    {"calls",
     {"func f(n) { if n == 0 { return (n,) }\nreturn (f(n - 1), \"level \" + n) }\nprint f(30)"}},
    {"texts that are executed",
     {"x = 1\nEXECUTE \"y = x + 1; global z; z = (y, y); func g() { return z }\"\n"
      "EXECUTE \"EXECUTE \\\"print 3\\\"; throw 4\"\ntry { print z, g() } catch e { }"}},
    {"another port",
     {"send \"TavScript\" FILE_EXISTS file:\"a\"\ntry { send \"None\" A } catch e { }"}},
    {"what is not there",
     {"try { NO_SUCH_COMMAND } catch e { print e.message }\n"
      "try { no_such_function() } catch e { print e.message }"}},
    {"bodies",
     {"LISTBOX entries:\"a b\" extra:{ CHECKBOX \"Sub-folders\" checked:1 result-var:\"sub\" }"
      " -> choice\nprint choice.endbutton"}},
};

TEST_F(AllocationSweep, TheLanguage) {
  for (const auto& [name, script] : kScripts) Sweep(name, script.text, script.ownError);
}

// What is large takes memory from elsewhere than what is small, and by other ways.
const std::map<std::string, Script> kLargeTexts = {
    {"reading", {"FREAD file:\"large\" -> r\nprint r.ecode, len(r.text)"}},
    {"reading as base64", {"FREAD file:\"large\" base64 -> r\nprint r.ecode, len(r.text)"}},
    {"encoding a file", {"ENCODE file:\"large\" -> r\nprint r.ecode, len(r.text)"}},
    {"encoding a text",
     {"FREAD file:\"large\" -> t\nENCODE (t.text) -> r\nprint r.ecode, len(r.text)"}},
    {"decoding a file", {"DECODE file:\"large\" -> r\nprint r.ecode, len(r.text)"}},
    {"decoding a text",
     {"FREAD file:\"large\" -> t\nDECODE (t.text) -> r\nprint r.ecode, len(r.text)"}},
    {"writing",
     {"FREAD file:\"large\" -> t\nFWRITE file:\"copy\" text:(t.text) -> r\n"
      "print r.ecode, r.written"}},
    {"writing from base64",
     {"FREAD file:\"large\" -> t\nFWRITE file:\"copy\" text:(t.text) base64 -> r\n"
      "print r.ecode, r.written"}},
    {"writing to XML",
     {"FREAD file:\"large\" -> t\nKEL_TO_XML (\"A text:\\\"\" + t.text + \"\\\"\") -> r\n"
      "print r.ecode, len(r.xml)"}},
};

TEST_F(AllocationSweep, LargeTexts) {
  std::ofstream(folder_ / "large") << std::string(700'000, 'A');
  for (const auto& [name, script] : kLargeTexts) Sweep(name, script.text, script.ownError);
  std::filesystem::remove(folder_ / "large");
}

// An outcome of 0 says that the command did what it is for.
TEST_F(AllocationSweep, NoOutcomeOfWhatDidNotHappen) {
  const SV::String text(
      "text = \"\"\necode = 0\ntry { ENCODE \"a text that is encoded\" } catch e { text = \"none\" "
      "}\n"
      "try { print ecode, text } catch e { print \"no outcome\" }");
  for (long at = 1;; ++at) {
    std::string printed;
    printed.reserve(1 << 10);
    failing_malloc::FailAt(at, 1);
    const script::Outcome outcome = Run(text, printed);
    const bool wasRefused = failing_malloc::Disarm();
    const bool isDone = printed == "0 YSB0ZXh0IHRoYXQgaXMgZW5jb2RlZA==\n";
    EXPECT_TRUE(isDone || printed == "no outcome\n" || printed.empty())
        << "request " << at << ": " << printed;
    if (wasRefused) continue;
    EXPECT_TRUE(isDone) << printed << outcome.error.text;
    return;
  }
}

}  // namespace
