#pragma once

class TavAppWorkWindow;
class TavEditBox;
class TavFileDialog;
class TavListBoxDialog;
class TavMessWin;
class TavModalDialog;
class TavMultiListBoxDialog;
class TavPercentageWindow;
class TavSimpleEditDialog;
class TavStartupBox;
class TavViewBox;
class TavWorkbench;
