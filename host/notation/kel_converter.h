#pragma once

#include "host/export.h"
#include "host/notation/kel_parser.h"

// Turns KEL text into XML; parse first.
class TAV_HOST_API TavKelConverter : public TavKelParser {
 public:
  explicit TavKelConverter(const SV::String& kelText);
  ~TavKelConverter() override;

  // Well-formed XML 1.0 in UTF-8. `rootTag` wraps everything; empty wraps several elements in
  // `kel` and leaves one alone.
  SV::String ToXML(bool withHeader, const SV::String& rootTag);
};
