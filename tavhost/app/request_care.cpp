#include "tavhost/app/request_care.h"

#include <exception>
#include <string>
#include <tl/expected.hpp>

#include "host/notation/kel_parser.h"
#include "host/script/script_result.h"
#include "tavhost/app/interrupts.h"
#include "tavhost/files/open_output_files.h"
#include "tavhost/notation/parser_access.h"
#include "tavhost/script/ports/ports.h"
#include "tavhost/service/script_service.h"

namespace app {

namespace {

TavFileHandle newestBefore = 0;  // of the files that were opened before the request

// The plug-in forgets its file only when it is told to close it.
std::string CloseWriteFile() {
  TavKelParser parser("FWRITE close");
  if (parser.Parse() != 0) return {};
  TavScriptResult unread;
  try {
    script::ScriptPort::TavScript().Handle("FWRITE", parser, unread);
  } catch (const std::exception& failure) {
    return failure.what();
  }
  return unread.HasError() ? std::string(unread.GetError().View()) : std::string();
}

std::string Release(bool cutShort) {
  if (!open_output_files::HasSince(newestBefore)) return {};
  if (cutShort) open_output_files::DropSince(newestBefore);
  std::string mistake = CloseWriteFile();
  const base::Result<void> areStored = open_output_files::CloseSince(newestBefore);
  return mistake.empty() && !areStored ? areStored.error().message : mistake;
}

}  // namespace

void CareForRequests(const Options& options) {
  script::service::HostOptions service;
  service.quiet = options.quiet;
  service.prepare = [] { newestBefore = open_output_files::Newest(); };
  service.release = Release;
  service.interruption = Interruption;
  script::service::SetHostOptions(service);
}

}  // namespace app
