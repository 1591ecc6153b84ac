#include "host/script/message_port_command_handler_array.h"

#include "tavhost/base/trace.h"
#include "tavhost/script/ports/command_index.h"
#include "tavhost/script/ports/message.h"

namespace {

const script::CommandIndex& IndexOf(const void* index) {
  return *static_cast<const script::CommandIndex*>(index);
}

// Always inline, for the reason that ScriptPort::Handle gives.
[[gnu::always_inline]] inline bool Run(const void* index, const char* command, TavKelParser& params,
                                       TavScriptResult& result) {
  const TavMessagePortCommand* row = command ? IndexOf(index).Find(command) : nullptr;
  if (!row || !row->handler) return false;
  const trace::PluginScope handlerRuns;
  row->handler(command, params, result);
  return true;
}

}  // namespace

TavMessagePortCommandHandlerArray::TavMessagePortCommandHandlerArray(
    const TavMessagePortCommand* table)
    : table_(table), index_(nullptr) {
  trace::Call call("TavMessagePortCommandHandlerArray::TavMessagePortCommandHandlerArray");
  index_ = &script::CommandIndex::For(table);
  call.Created("TavMessagePortCommandHandlerArray", this);
}

TavMessagePortCommandHandlerArray::~TavMessagePortCommandHandlerArray() {
  trace::Call call(this, "~TavMessagePortCommandHandlerArray");
  call.Write();
  if (trace::IsOpen()) trace::Forget(this);
}

bool TavMessagePortCommandHandlerArray::Handle(const char* command, TavKelParser& params,
                                               TavMessage* message) {
  trace::Call call(this, "Handle", command);
  if (message) return call.Result(Run(index_, command, params, message->Result()));
  TavScriptResult unread;
  return call.Result(Run(index_, command, params, unread));
}

bool TavMessagePortCommandHandlerArray::Handle(const char* command, TavKelParser& params,
                                               TavScriptResult& result) {
  trace::Call call(this, "Handle", command);
  return call.Result(Run(index_, command, params, result));
}

bool TavMessagePortCommandHandlerArray::IsCommandExisting(const char* command, bool unused) {
  trace::Call call(this, "IsCommandExisting", command, unused);
  return call.Result(command && IndexOf(index_).Find(command) != nullptr);
}

SV::String TavMessagePortCommandHandlerArray::GetAllCommands(char separator) {
  trace::Call call(this, "GetAllCommands", static_cast<int>(separator));
  SV::String all;
  for (const TavMessagePortCommand* row = table_; row->name; ++row) {
    if (row != table_) all += separator;
    all += row->name;
  }
  return call.Result(all);
}
