#include "tavhost/notation/kind_word.h"

#include "host/notation/kel_value_type.h"

namespace kel {

const char* KindWord(unsigned kind) {
  switch (kind) {
    case TavKelString:
      return "a string";
    case TavKelInteger:
      return "an integer";
    case TavKelReal:
      return "a real";
    case TavKelWord:
      return "a word";
    case TavKelBody:
      return "a body";
    case TavKelList:
      return "a list";
    case TavKelRecord:
      return "a record";
    default:
      return nullptr;
  }
}

}  // namespace kel
