#pragma once

#include <cstdint>

#include "tavhost/notation/value.h"

// Built-in functions on what surrounds a script: environment, standard input, clock, and regular
// expressions.
namespace script {

class Engine;

// built_in_system.cpp
kel::Value Environment(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value ReadLine(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value ReadLines(Engine& engine, kel::Value* arguments, std::uint32_t count);

// built_in_time.cpp
kel::Value TimeMake(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value TimeParse(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value TimeParts(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value TimeText(Engine& engine, kel::Value* arguments, std::uint32_t count);

// built_in_regex.cpp
kel::Value RegexAll(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value RegexMatch(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value RegexReplace(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value RegexSplit(Engine& engine, kel::Value* arguments, std::uint32_t count);

}  // namespace script
