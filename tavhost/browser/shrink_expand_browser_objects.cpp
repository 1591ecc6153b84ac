#include "host/browser/shrink_expand_browser_objects.h"

#include "tavhost/base/trace.h"

TavShrinkExpandBrowserObjects::TavShrinkExpandBrowserObjects(int withHandleColumn, int mode)
    : TavBrowserObjects(withHandleColumn != 0) {
  trace::Call call("TavShrinkExpandBrowserObjects::TavShrinkExpandBrowserObjects", withHandleColumn,
                   mode);
  call.Created("TavShrinkExpandBrowserObjects", this);
}

TavShrinkExpandBrowserObjects::~TavShrinkExpandBrowserObjects() = default;
