#pragma once

class TavEditBox;
class TavFileDialog;
class TavListBoxDialog;
class TavMessWin;
class TavModalDialog;
class TavMultiListBoxDialog;
class TavSimpleEditDialog;
class TavStartupBox;
class TavViewBox;
