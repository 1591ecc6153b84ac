#pragma once

class TavFileManager;
class TavSystemFileManager;

namespace SV {
class DirEntry;
}
