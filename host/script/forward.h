#pragma once

class TavBasicFileLogger;
class TavMessage;
class TavMessagePortCommandHandlerArray;
class TavScript;
class TavScriptResult;
class TavScriptRuntime;
class TavScriptService;
struct TavMessagePortCommand;
