#pragma once

namespace kel {

// What a value of this kind is called in messages, with its article: "a string", "an integer", …;
// null for what is no value.
const char* KindWord(unsigned kind);

}  // namespace kel
