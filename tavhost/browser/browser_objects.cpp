#include "host/browser/browser_objects.h"

#include <string>

#include "host/base/string.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/table/reference_format.h"
#include "tavhost/ui/table/table_model.h"

namespace {

std::string Bytes(const SV::String& text) { return std::string(text.View()); }

}  // namespace

TavBrowserObjects::TavBrowserObjects(bool withHandleColumn)
    : table_(std::make_unique<ui::TableModel>(withHandleColumn)) {
  // This host has no models or objects to show: a link that the user follows is only traced.
  table_->linkActivated = [this](const ui::Reference& reference) {
    trace::Report(this, "LinkActivated", reference.isModel ? "model" : "object", reference.name,
                  reference.type, reference.version);
  };
}

TavBrowserObjects::~TavBrowserObjects() {
  trace::Call call(this, "~TavBrowserObjects");
  call.Write();
  trace::Forget(this);
}

void TavBrowserObjects::Init(int mode) {
  trace::Call call(this, "Init", mode);
  call.Write();
}

void TavBrowserObjects::SetShowLinks(bool show) {
  trace::Call call(this, "SetShowLinks", show);
  call.Write();
  table_->showsLinks = show;
}

void TavBrowserObjects::SetSubtitle(const SV::String& text) {
  trace::Call call(this, "SetSubtitle", text);
  call.Write();
  table_->subtitle = Bytes(text);
}

void TavBrowserObjects::SetModelRefFormat(const SV::String& pattern) {
  trace::Call call(this, "SetModelRefFormat", pattern);
  call.Write();
  table_->modelFormat = Bytes(pattern);
}

void TavBrowserObjects::SetObjectRefFormat(const SV::String& pattern) {
  trace::Call call(this, "SetObjectRefFormat", pattern);
  call.Write();
  table_->objectFormat = Bytes(pattern);
}

void TavBrowserObjects::SetHeader(const SV::String& text) {
  trace::Call call(this, "SetHeader", text);
  call.Write();
  table_->header = Bytes(text);
}

void TavBrowserObjects::SetPrintHeader(const SV::String& text) {
  trace::Call call(this, "SetPrintHeader", text);
  call.Write();
  table_->printHeader = Bytes(text);
}

// The table points into the text and keeps it alive by sharing it with the caller's string: a table
// of a million rows is not copied.
bool TavBrowserObjects::ReadFromText(const SV::String& content, char fieldSeparator,
                                     char rowSeparator) {
  trace::Call call(this, "ReadFromText", content, fieldSeparator, rowSeparator);
  const auto owner = std::make_shared<const SV::String>(content);
  return call.Result(table_->Read(owner->View(), owner, fieldSeparator, rowSeparator));
}

unsigned long TavBrowserObjects::GetColumnCount() const {
  trace::Call call(this, "GetColumnCount");
  return call.Result(static_cast<unsigned long>(table_->Columns()));
}

bool TavBrowserObjects::HasHandleColumn() const {
  trace::Call call(this, "HasHandleColumn");
  return call.Result(table_->HasHandles());
}

void TavBrowserObjects::setColumnWidth(unsigned long column, long width, bool first, bool second) {
  trace::Call call(this, "setColumnWidth", column, width, first, second);
  call.Write();
  if (const auto index = table_->ColumnOfNumber(column)) table_->SetWidth(*index, width);
}

void TavBrowserObjects::setColumnAlignment(unsigned long column, TavBrowserAlignment alignment,
                                           bool last) {
  trace::Call call(this, "setColumnAlignment", column, alignment, last);
  call.Write();
  const auto index = table_->ColumnOfNumber(column);
  if (index) table_->SetAlignment(*index, static_cast<ui::TableAlignment>(alignment));
}
