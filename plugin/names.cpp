#include "plugin/names.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace names {

const SV::String& Kept(const char* name) {
  struct Place {
    const char* literal = nullptr;
    SV::String text;
  };
  constexpr std::size_t kPlaces = 256;
  static Place places[kPlaces];
  const auto address = reinterpret_cast<std::uintptr_t>(name);
  Place& place = places[(address ^ (address >> 8)) % kPlaces];
  // Another text may stand at the same address when the name is no literal.
  if (place.literal != name || std::strcmp(place.text.GetStr(), name) != 0) {
    place.literal = name;
    place.text = SV::String(name);
  }
  return place.text;
}

}  // namespace names
