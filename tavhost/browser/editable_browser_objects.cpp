#include "host/browser/editable_browser_objects.h"

#include "host/base/string.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/table/table_model.h"

TavEditableBrowserObjects::TavEditableBrowserObjects(int withHandleColumn)
    : TavBrowserObjects(withHandleColumn != 0) {
  trace::Call call("TavEditableBrowserObjects::TavEditableBrowserObjects", withHandleColumn);
  call.Created("TavEditableBrowserObjects", this);
}

TavEditableBrowserObjects::~TavEditableBrowserObjects() = default;

SV::String TavEditableBrowserObjects::WriteToText(char fieldSeparator) {
  trace::Call call(this, "WriteToText", fieldSeparator);
  const std::string text = Table().Write(fieldSeparator);
  return call.Result(base::StringOf(text));
}
