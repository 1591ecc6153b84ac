#pragma once

#include <string>

namespace ui {

// A printer, as the system names it and what it is connected to.
struct PrinterInfo {
  std::string name;
  std::string device;
  std::string port;
  std::string driver;
};

}  // namespace ui
