#pragma once

class TavGraphRepTool;
class TavImagePreviewControl;
class TavImagePreviewDialog;
class TavModelingShell;
