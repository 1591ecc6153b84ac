#pragma once

class TavAppWorkWindow;
class TavEditBox;
class TavFileDialog;
class TavInfoBox;
class TavListBoxDialog;
class TavMessWin;
class TavModalDialog;
class TavMultiListBoxDialog;
class TavPercentageWindow;
class TavQueryBox;
class TavSimpleEditDialog;
class TavStartupBox;
class TavViewBox;
class TavWarningBox;
class TavWorkbench;
