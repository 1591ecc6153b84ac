#pragma once

namespace SV {
class Application;
class Button;
class Dialog;
class Edit;
class Font;
class Image;
class Link;
class MapMode;
class MessBox;
class ModalDialog;
class MultiLineEdit;
class OutputDevice;
class Selection;
class SysWin;
class Window;
}  // namespace SV
