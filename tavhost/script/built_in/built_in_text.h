#pragma once

#include <cstdint>

#include "tavhost/notation/value.h"

// Built-in functions on text and on the text forms of values; docs/language.md says what each does.
namespace script {

class Engine;

kel::Value Ends(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value Find(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value Format(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value Join(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value KelParse(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value KelText(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value Lower(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value Replace(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value Split(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value Starts(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value ToInteger(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value ToReal(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value ToText(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value Trim(Engine& engine, kel::Value* arguments, std::uint32_t count);
kel::Value Upper(Engine& engine, kel::Value* arguments, std::uint32_t count);

}  // namespace script
