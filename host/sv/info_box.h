#pragma once

#include "host/sv/mess_box.h"

namespace SV {

// A box that tells something and has one button.
class TAV_HOST_API InfoBox : public MessBox {
 public:
  InfoBox(Window* parent, const String& text);
  ~InfoBox() override;

 protected:
  enum Base { kBase };  // made as the base of a wrapper, which writes the trace itself
  InfoBox(Base, Window* parent, const String& text);
};

}  // namespace SV
