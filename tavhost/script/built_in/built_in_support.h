#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "tavhost/script/engine.h"
#include "tavhost/script/script_error.h"

// What built-in functions share: reading their arguments.
namespace script {

// `NAME: argument N must be WANTED, not an integer`; arguments count from 1.
[[noreturn]] void FailArgument(const char* function, std::uint32_t number, const char* wanted,
                               const kel::Value& given);

// `place` counts from 0.
const SV::String& TextArgument(const char* function, const kel::Value* arguments,
                               std::uint32_t place);
std::int32_t IntegerArgument(const char* function, const kel::Value* arguments,
                             std::uint32_t place);
// An integer or a real.
double NumberArgument(const char* function, const kel::Value* arguments, std::uint32_t place);

inline kel::Value Truth(bool truth) { return kel::Value(std::int32_t{truth}); }

// Where `part` first stands in a text; npos when it does not. However often the text almost holds
// it, a stop comes in time.
std::size_t FindPart(std::string_view text, std::string_view part, base::WorkMeter& meter);

// A text without the blanks at its ends.
std::string_view Trimmed(std::string_view text, base::WorkMeter& meter);

}  // namespace script
