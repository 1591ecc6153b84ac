#include "tavhost/analysis/kinds.h"

namespace check {

Kind KindOf(const kel::Value& value) {
  switch (value.Kind()) {
    case TavKelString:
      return Kind::kString;
    case TavKelInteger:
      return Kind::kInteger;
    case TavKelReal:
      return Kind::kReal;
    case TavKelWord:
      return Kind::kWord;
    case TavKelBody:
      return Kind::kBody;
    case TavKelList:
      return Kind::kList;
    case TavKelRecord:
      return Kind::kRecord;
    default:
      return Kind::kUnknown;
  }
}

Kind KindOf(reference::Type type) {
  switch (type) {
    case reference::Type::kString:
      return Kind::kString;
    case reference::Type::kInteger:
      return Kind::kInteger;
    case reference::Type::kReal:
      return Kind::kReal;
    case reference::Type::kBody:
      return Kind::kBody;
    case reference::Type::kList:
      return Kind::kList;
    default:
      return Kind::kUnknown;
  }
}

const char* WordFor(Kind kind) {
  switch (kind) {
    case Kind::kString:
      return "a string";
    case Kind::kInteger:
      return "an integer";
    case Kind::kReal:
      return "a real";
    case Kind::kWord:
      return "a word";
    case Kind::kModifier:
      return "a modifier";
    case Kind::kBody:
      return "a body";
    case Kind::kList:
      return "a list";
    case Kind::kRecord:
      return "a record";
    case Kind::kUnknown:
      break;
  }
  return "a value";
}

}  // namespace check
