#pragma once

#include <memory>
#include <string_view>

#include "host/notation/kel_parser.h"
#include "tavhost/base/result.h"
#include "tavhost/base/work_meter.h"
#include "tavhost/notation/element.h"

namespace kel {

// A parser over elements that somebody else keeps for as long as it is used: how commands of a
// compiled script reach their handlers. Making one allocates nothing.
class BorrowedParser final : public TavKelParser {
 public:
  explicit BorrowedParser(const Element* elements, unsigned count = 1)
      : TavKelParser(elements, count) {}
};

// What the host sees of a parser beyond its operations.
struct ParserAccess {
  // The name of the current element; empty when there is none.
  static std::string_view ElementName(const TavKelParser& parser);
  // A parameter or modifier of the current element; null when it has none of that name.
  static const Attribute* Find(const TavKelParser& parser, std::string_view name);
  // The main value of the current element, of kind 0 when absent.
  static const Operand& Main(const TavKelParser& parser);
  // How many elements it stands over.
  static unsigned Count(const TavKelParser& parser) { return parser.count_; }
  // TavKelParser::Parse with the place and the reason when it fails.
  static base::Result<void> Parse(TavKelParser& parser, base::WorkMeter* meter = nullptr);

 private:
  // The current element; null when there is none.
  static const Element* Current(const TavKelParser& parser);
};

}  // namespace kel
