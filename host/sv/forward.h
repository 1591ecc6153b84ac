#pragma once

namespace SV {
class Application;
class Button;
class Clipboard;
class Dialog;
class DirEntry;
class Edit;
class Font;
class Image;
class Link;
class MapMode;
class MessBox;
class ModalDialog;
class MultiLineEdit;
class OutputDevice;
class Point;
class Selection;
class Size;
class Sound;
class String;
class SysWin;
class System;
class Sysdepen;
class WString;
class Window;
}  // namespace SV
