#pragma once

#include <memory>

#include "host/base/string.h"
#include "host/export.h"

namespace kel {
struct Element;
struct ParserAccess;
class Document;
}  // namespace kel

// The parsed form of a command, or of any KEL text: a sequence of elements of which one is
// current (the first, at the start). Names that an element lacks never fail, they read as absent.
//
// Absent or of another type: GetStrValue gives "" for absent and the text form of a number or
// word; GetIntValue gives 0, a real cut towards zero; the TryGet... operations return false and
// leave their target alone (TryGetRealValue also takes an integer).
class TAV_HOST_API TavKelParser {
 public:
  explicit TavKelParser(const SV::String& text);
  TavKelParser(const TavKelParser&) = delete;
  TavKelParser& operator=(const TavKelParser&) = delete;
  virtual ~TavKelParser();

  bool IsContained(const SV::String& name) const;  // as a parameter or as a modifier
  SV::String GetStrValue(const SV::String& name);
  SV::String GetStrValue();  // the main value
  long GetIntValue(const SV::String& name);
  long GetIntValue();
  bool TryGetStrValue(const SV::String& name, SV::String& out);
  bool TryGetIntValue(const SV::String& name, long& out);
  bool TryGetRealValue(const SV::String& name, double& out);
  // True for a bare modifier and `true yes on 1`, false for `false no off 0`, else the default.
  bool GetBoolValue(const SV::String& name, bool dflt);
  SV::String GetModifier(const SV::String& name);  // text of a word or string, "" otherwise
  // A parser over the elements of a body, at its first, owned by this parser; null when there is
  // no such body. The same body gives the same parser.
  TavKelParser* GetBodyParser(const SV::String& name);
  bool SetCurElemIndex(unsigned long index);  // from 0; false, and nothing changed, behind the last
  SV::String GetCurElemName();
  long Parse();  // 0 when the text parsed

  // The KEL literal of a text; reads back to the same bytes.
  static SV::String GetKelTextOfStrValue(const char* text);
  static SV::String GetKelTextOfStrValue(const SV::String& text);

 protected:
  friend struct kel::ParserAccess;
  TavKelParser(const kel::Element* elements, unsigned count);

  const kel::Element* elements_ = nullptr;
  unsigned count_ = 0;
  unsigned current_ = 0;
  SV::String text_;                                // what Parse parses
  std::shared_ptr<const kel::Document> document_;  // what it made of it
  TavKelParser* bodies_ = nullptr;                 // parsers handed out by GetBodyParser, a chain
  TavKelParser* nextBody_ = nullptr;
};
