#include "commands/support/names.h"

#include <cstddef>
#include <cstdint>

namespace names {

// Two literals can have the same place; the one asked for last keeps it. The commands use fewer
// literals than there are places.
const SV::String& Kept(Literal name) {
  struct Place {
    const char* literal = nullptr;
    SV::String text;
  };
  constexpr std::size_t kPlaces = 1024;
  static Place places[kPlaces];
  const auto address = reinterpret_cast<std::uintptr_t>(name.Text());
  Place& place = places[(address ^ (address >> 8)) % kPlaces];
  if (place.literal != name.Text()) {
    place.text = SV::String(name.Text());
    place.literal = name.Text();  // not before there is a text
  }
  return place.text;
}

}  // namespace names
