#pragma once

#include "host/base/forward.h"
#include "host/export.h"
#include "host/notation/forward.h"
#include "host/notation/kel_value_type.h"
#include "host/script/forward.h"

// True when the parameter cannot be used, the error then being in the result: it is present with
// another type, or absent though not optional. The empty name means the main value. An integer
// passes where a real is wanted. With the switch off the answer is always false.
TAV_HOST_API bool Tav_IsInvalidKelParamType(TavKelParser& parser, const SV::String& name,
                                            TavKelValueType type, TavScriptResult& result,
                                            bool optional);

// The switch for the whole process; on at the start.
TAV_HOST_API void Tav_EnableGlobalTypeChecking(bool on);
