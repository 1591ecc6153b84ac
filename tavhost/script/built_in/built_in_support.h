#pragma once

#include <cstdint>

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

// For work on so many bytes; 64 of them take about as long as one round of a small loop.
inline void ChargeBytes(Engine& engine, std::size_t bytes) { engine.Charge(bytes / 64); }

}  // namespace script
