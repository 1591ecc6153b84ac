#pragma once

#include <memory>
#include <string_view>

#include "host/notation/kel_parser.h"
#include "tavhost/base/result.h"
#include "tavhost/notation/element.h"

namespace kel {

// A parser over elements that somebody else holds for as long as it is used. Costs nothing to
// make.
class BorrowedParser final : public TavKelParser {
 public:
  explicit BorrowedParser(const Element* elements, unsigned count = 1)
      : TavKelParser(elements, count) {}
};

// What the host sees of a parser beyond its operations.
struct ParserAccess {
  // The current element; null when there is none.
  static const Element* Current(const TavKelParser& parser);
  static std::string_view ElementName(const TavKelParser& parser);
  // A parameter or modifier of the current element; null when it has none of that name.
  static const Attribute* Find(const TavKelParser& parser, std::string_view name);
  // The main value of the current element, of kind 0 when absent.
  static const Operand& Main(const TavKelParser& parser);
  static const Element* Elements(const TavKelParser& parser) { return parser.elements_; }
  static unsigned Count(const TavKelParser& parser) { return parser.count_; }
  // TavKelParser::Parse with the place and the reason when it fails.
  static base::Result<void> Parse(TavKelParser& parser);
  // The document of a parser over a text; null for borrowed elements.
  static const std::shared_ptr<const Document>& DocumentOf(const TavKelParser& parser) {
    return parser.document_;
  }
};

}  // namespace kel
