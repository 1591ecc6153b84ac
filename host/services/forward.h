#pragma once

class TavHTTPClient;
class TavInfoBox;
class TavPrinter;
class TavQueryBox;
class TavSystemFileManager;
class TavWarningBox;
