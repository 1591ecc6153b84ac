#pragma once

namespace windows {

// What Tav_FindTypesOnly was told last.
bool AreTypesEnough();

}  // namespace windows
