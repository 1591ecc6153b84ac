#include "host/script/type_check.h"

#include <string>

#include "host/notation/kel_parser.h"
#include "host/script/script_result.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/notation/kind_word.h"
#include "tavhost/notation/parser_access.h"

namespace {

bool checking = true;  // the switch of Tav_EnableGlobalTypeChecking

const char* WordFor(unsigned kind) {
  const char* const word = kel::KindWord(kind);
  return word ? word : "a modifier";
}

bool Fits(unsigned kind, TavKelValueType type) {
  return kind == static_cast<unsigned>(type) || (type == TavKelReal && kind == TavKelInteger);
}

// `COMMAND: parameter "name" ...`, as the error of the result.
[[gnu::cold]] void Report(TavKelParser& parser, const SV::String& name, TavScriptResult& result,
                          const std::string& complaint) {
  std::string message(parser.GetCurElemName().View());
  message += ": ";
  if (name.Len() == 0) {
    message += "the main value";
  } else {
    message += "parameter \"";
    message += name.View();
    message += '"';
  }
  message += complaint;
  result.SetError(base::StringOf(message));
}

// Null when it is absent.
const kel::Operand* FindOperand(const TavKelParser& parser, const SV::String& name) {
  if (name.Len() == 0) {
    const kel::Operand& main = kel::ParserAccess::Main(parser);
    return main.IsNone() ? nullptr : &main;
  }
  const kel::Attribute* attribute = kel::ParserAccess::Find(parser, name.View());
  return attribute ? &attribute->operand : nullptr;
}

bool IsInvalid(TavKelParser& parser, const SV::String& name, TavKelValueType type,
               TavScriptResult& result, bool optional) {
  if (!checking) return false;
  const kel::Operand* operand = FindOperand(parser, name);
  if (!operand) {
    if (optional) return false;
    Report(parser, name, result, " is missing");
    return true;
  }
  if (Fits(operand->kind, type)) [[likely]]
    return false;
  Report(parser, name, result,
         std::string(" must be ") + WordFor(type) + ", not " + WordFor(operand->kind));
  return true;
}

}  // namespace

bool Tav_IsInvalidKelParamType(TavKelParser& parser, const SV::String& name, TavKelValueType type,
                               TavScriptResult& result, bool optional) {
  trace::Call call("Tav_IsInvalidKelParamType", name, type, optional);
  return call.Result(IsInvalid(parser, name, type, result, optional));
}

void Tav_EnableGlobalTypeChecking(bool on) {
  trace::Call call("Tav_EnableGlobalTypeChecking", on);
  call.Write();
  checking = on;
}
