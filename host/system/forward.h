#pragma once

class TavPrinter;

namespace SV {
class Clipboard;
class Sound;
class System;
class Sysdepen;
}  // namespace SV
