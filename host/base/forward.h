#pragma once

namespace SV {
class Point;
class Size;
class String;
class WString;
}  // namespace SV
