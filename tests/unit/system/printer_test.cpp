#include "host/system/printer.h"

#include <gtest/gtest.h>

#include "tavhost/ui/printer_info.h"
#include "tests/support/fake_toolkit.h"

namespace {

class Printer : public testing::Test {
 protected:
  void TearDown() override { Tav_ReplacePrinter(nullptr); }

  FakeToolkit toolkit_;
};

TEST_F(Printer, IsMadeOnlyWhenAskedTo) {
  toolkit_.printer = ui::PrinterInfo{"Laser", "dev", "usb:1", "ps"};
  EXPECT_EQ(Tav_GetPrinter(false), nullptr);
  TavPrinter* made = Tav_GetPrinter(true);
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->name, "Laser");
  EXPECT_EQ(made->device, "dev");
  EXPECT_EQ(made->port, "usb:1");
  EXPECT_EQ(made->driver, "ps");
  EXPECT_EQ(Tav_GetPrinter(false), made);
  EXPECT_EQ(Tav_GetPrinter(true), made);
}

TEST_F(Printer, IsNoneWhenTheSystemHasNone) { EXPECT_EQ(Tav_GetPrinter(true), nullptr); }

TEST_F(Printer, IsReplacedAndOwned) {
  auto* printer = new TavPrinter("Other");
  Tav_ReplacePrinter(printer);
  EXPECT_EQ(Tav_GetPrinter(false), printer);
  Tav_ReplacePrinter(printer);
  EXPECT_EQ(Tav_GetPrinter(false)->name, "Other");
  Tav_ReplacePrinter(new TavPrinter("Third"));
  EXPECT_EQ(Tav_GetPrinter(false)->name, "Third");
}

}  // namespace
