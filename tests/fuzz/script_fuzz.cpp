// The script language: any text is parsed, checked and compiled, and what compiles is run for a
// while.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "tavhost/analysis/check.h"
#include "tavhost/base/coarse_clock.h"
#include "tavhost/script/code/code.h"
#include "tavhost/script/ports/ports.h"
#include "tavhost/script/runner.h"

// Stands for the host's clock, so that an input takes the same way each time: by the real one it
// would depend on the machine's speed around which command the engine handles events.
std::uint32_t base::CoarseMilliseconds() noexcept {
  static std::uint32_t asked = 0;
  return ++asked;
}

namespace {

// Every command exists and does nothing.
class Commands : public script::CommandProvider {
 public:
  bool Handle(const char*, TavKelParser&, TavScriptResult&) override { return true; }
  bool Handle(const char*, TavKelParser&, TavMessage&) override { return true; }
  SV::String AllCommands(char) override { return "ANY"; }
};

// What repeats or grows could run for hours; it is only compiled.
bool MayRunLong(std::string_view text) {
  for (const char* word : {"while", "for", "range", "func", "format"}) {
    if (text.find(word) != std::string_view::npos) return true;
  }
  return false;
}

// Whether the text compiles; what keeps it from that has to be told with its place.
bool Compiles(const SV::String& text) {
  try {
    script::Compile(text, "fuzz.tav");
    return true;
  } catch (const script::SyntaxError& mistake) {
    const script::Diagnostic told = script::Describe(mistake, text, "fuzz.tav");
    if (told.line == 0 || told.column == 0 || told.text.empty()) __builtin_trap();
    return false;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Commands commands;
  static const bool registered = [] {
    script::RegisterHostPorts();
    script::ScriptPort::TavScript().AddProvider(commands);
    return true;
  }();
  (void)registered;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const SV::String text(bytes.data(), static_cast<long>(bytes.size()));
  const bool isScript = Compiles(text);
  for (const auto& finding : check::CheckScript(text, "fuzz.tav")) {
    if (finding.line == 0 || finding.length == 0 || finding.text.empty()) __builtin_trap();
  }
  if (!isScript || MayRunLong(bytes)) return 0;
  script::RunOptions options;
  options.name = "fuzz.tav";
  options.args = {"one", "two"};
  options.sinks.print = [](std::string_view) {};
  options.sinks.error = [](std::string_view) {};
  script::RunText(text, options);
  return 0;
}
