#pragma once

#include "host/base/string.h"
#include "host/export.h"
#include "host/notation/forward.h"
#include "host/script/message_port_command.h"

// A view of a command table that finds commands by their exact names. Making and destroying one
// costs nothing that grows with the table; the table must outlive the program's use of it.
class TAV_HOST_API TavMessagePortCommandHandlerArray {
 public:
  explicit TavMessagePortCommandHandlerArray(const TavMessagePortCommand* table);
  TavMessagePortCommandHandlerArray(const TavMessagePortCommandHandlerArray&) = delete;
  TavMessagePortCommandHandlerArray& operator=(const TavMessagePortCommandHandlerArray&) = delete;
  ~TavMessagePortCommandHandlerArray();

  // Calls the command's handler; false when the table has no such command.
  bool Handle(const char* command, TavKelParser& params, TavMessage* message);
  bool Handle(const char* command, TavKelParser& params, TavScriptResult& result);
  bool IsCommandExisting(const char* command, bool unused);
  SV::String GetAllCommands(char separator);  // in the order of the table

 private:
  const TavMessagePortCommand* table_;
  const void* index_;  // the host's, kept for each table
};
