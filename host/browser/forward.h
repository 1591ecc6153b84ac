#pragma once

class TavBrowserObjects;
class TavDockableBrowserTool;
class TavEditableBrowserObjects;
class TavEditableSimpleBrowserWindow;
class TavResultTool;
class TavShrinkExpandBrowserObjects;
class TavSimpleBrowserWindow;
class TavSmallBrowserWindow;
