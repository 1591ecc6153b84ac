#include "host/system/printer.h"

#include <memory>
#include <string>

#include "tavhost/base/dry_run.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/printer_info.h"
#include "tavhost/ui/toolkit.h"

namespace {

// The printer that scripts have chosen, else the default one once it was asked for.
std::unique_ptr<TavPrinter> current;

void Fill(TavPrinter& printer, const ui::PrinterInfo& info) {
  printer.device = base::StringOf(info.device);
  printer.port = base::StringOf(info.port);
  printer.driver = base::StringOf(info.driver);
}

}  // namespace

// A name that the system does not know makes a printer of that name without device, port and
// driver.
TavPrinter::TavPrinter(const SV::String& printerName) : name(printerName) {
  trace::Call call("TavPrinter::TavPrinter", printerName);
  if (const auto known = ui::CurrentToolkit().FindPrinter(printerName.View())) Fill(*this, *known);
  call.Created("TavPrinter", this);
}

TavPrinter* Tav_GetPrinter(bool create) {
  trace::Call call("Tav_GetPrinter", create);
  if (!current && create) {
    if (const auto info = ui::CurrentToolkit().DefaultPrinter()) {
      current = std::make_unique<TavPrinter>(base::StringOf(info->name));
      Fill(*current, *info);
      trace::Name("TavPrinter", current.get());
    }
  }
  return call.ResultObject(current.get());
}

// The host owns the printer from now on; the one before is freed.
void Tav_ReplacePrinter(TavPrinter* printer) {
  trace::Call call("Tav_ReplacePrinter", trace::Object{printer});
  call.Write();
  if (dry_run::IsOn()) {
    // The choice ends with the program; later commands are to see it.
    dry_run::Tell({dry_run::Act::kSetPrinter, printer ? std::string(printer->name.View()) : ""});
  }
  if (printer == current.get()) return;
  trace::Forget(current.get());
  current.reset(printer);
}
