#pragma once

#include <cstdint>
#include <string_view>

#include "host/base/string.h"
#include "tavhost/base/work_meter.h"

// Where in a text which code point stands. Bytes at the start of a text that continue no character
// (such a text is no UTF-8) count as one code point together.
namespace script {

// How many code points a text has. The work is told to the meter, here and below.
std::int32_t CodePoints(const SV::String& text, base::WorkMeter& meter);
std::int32_t CountCodePoints(std::string_view text, base::WorkMeter& meter);

// At which byte the code point of that number, from 0, begins; the text's end when it has no such
// one. Going through a text so, in whatever order, takes the same short time for each: of the few
// texts that were used last a table of places is kept.
std::size_t ByteOf(const SV::String& text, std::int32_t codePoint, base::WorkMeter& meter);

// How many bytes the code point that begins at `at` takes.
std::size_t CodePointLength(std::string_view text, std::size_t at);

// Lets go of the texts that are kept.
void ForgetTexts();

}  // namespace script
