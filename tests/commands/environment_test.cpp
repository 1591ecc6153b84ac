// The environment commands, handler by handler, on a toolkit that writes down what it is asked.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "commands/handlers.h"
#include "host/base/string.h"
#include "host/notation/extended_message_port.h"
#include "host/notation/kel_parser.h"
#include "host/notation/message_port_manager.h"
#include "host/script/message_port_command.h"
#include "host/script/script_result.h"
#include "host/script/type_check.h"
#include "host/system/printer.h"
#include "tavhost/script/ports/ports.h"
#include "tavhost/tools/modeling_shell.h"
#include "tavhost/ui/printer_info.h"
#include "tests/support/fake_toolkit.h"
#include "tests/support/traced.h"

namespace {

using Lines = std::vector<std::string>;

class Environment : public testing::Test {
 protected:
  void SetUp() override { Tav_EnableGlobalTypeChecking(true); }
  void TearDown() override {
    Tav_EnableGlobalTypeChecking(true);
    Tav_ReplacePrinter(nullptr);
    modeling_shell::SetModelWindow(false);
  }

  // What a command leaves in a result of text.
  std::string Run(TavCommandHandler handler, const SV::String& command) {
    TavKelParser parser(command);
    EXPECT_EQ(parser.Parse(), 0) << command.View();
    TavScriptResult result;
    const trace::PluginScope plugin;
    handler("NAME", parser, result);
    return std::string(result.GetText().View());
  }
  bool Fails(TavCommandHandler handler, const SV::String& command) {
    return Run(handler, command).starts_with(" error:");
  }

  FakeToolkit toolkit_;
};

TEST_F(Environment, GetDisplaySizeGivesWidthAndHeightAlone) {
  toolkit_.screen = SV::Size(1234, 567);
  EXPECT_EQ(Run(commands::Command_GET_DISPLAY_SIZE, "X"), " w:1234 h:567");
}

TEST_F(Environment, CopyToClipboardClearsFirst) {
  EXPECT_EQ(Run(commands::Command_COPY_TO_CLIPBOARD, "X \"new\""), " ecode:0");
  EXPECT_EQ(toolkit_.asked, (Lines{"clear", "copy"}));
  EXPECT_EQ(toolkit_.clipboard, "new");
}

TEST_F(Environment, CopyToClipboardClearsAlsoWhenTheCopyFails) {
  toolkit_.takesText = false;
  EXPECT_EQ(Run(commands::Command_COPY_TO_CLIPBOARD, "X \"new\""), " ecode:1");
  EXPECT_EQ(toolkit_.asked, (Lines{"clear", "copy"}));
  EXPECT_EQ(toolkit_.clipboard, "");
}

TEST_F(Environment, CopyToClipboardTakesAnythingUnchecked) {
  EXPECT_EQ(Run(commands::Command_COPY_TO_CLIPBOARD, "X"), " ecode:0");
  EXPECT_EQ(toolkit_.clipboard, "");
  EXPECT_EQ(Run(commands::Command_COPY_TO_CLIPBOARD, "X 42"), " ecode:0");
  EXPECT_EQ(toolkit_.clipboard, "42");
}

TEST_F(Environment, BeepPassesUnsignedNumbers) {
  EXPECT_EQ(Run(commands::Command_BEEP, "X freq:440 ms:-1"), "");
  EXPECT_EQ(Run(commands::Command_BEEP, "X freq:-2147483648 ms:0"), "");
  EXPECT_EQ(toolkit_.asked, (Lines{"beep 440 4294967295", "beep 2147483648 0"}));
}

TEST_F(Environment, BeepChecksTheFrequencyFirst) {
  const Traced traced;
  EXPECT_TRUE(Fails(commands::Command_BEEP, "X freq:\"a\" ms:\"b\""));
  EXPECT_EQ(traced.Lines(), (Lines{"Tav_IsInvalidKelParamType(\"freq\", 2, false) -> true"}));
  EXPECT_TRUE(Fails(commands::Command_BEEP, "X freq:1"));
  EXPECT_TRUE(Fails(commands::Command_BEEP, "X ms:1"));
  EXPECT_TRUE(toolkit_.asked.empty());
}

TEST_F(Environment, SetPrinterSucceedsWithAnyName) {
  EXPECT_EQ(Run(commands::Command_SET_PRINTER, "X name:\"Nobody's\""), " ecode:0");
  EXPECT_EQ(Run(commands::Command_GET_PRINTER_INFO, "X"),
            " name:\"Nobody's\" device:\"\" port:\"\" driver:\"\" valid:1 ecode:0");
  EXPECT_TRUE(Fails(commands::Command_SET_PRINTER, "X"));
  EXPECT_TRUE(Fails(commands::Command_SET_PRINTER, "X name:1"));
}

TEST_F(Environment, APrinterWithoutANameIsNotValid) {
  EXPECT_EQ(Run(commands::Command_SET_PRINTER, "X name:\"\""), " ecode:0");
  EXPECT_EQ(Run(commands::Command_GET_PRINTER_INFO, "X"),
            " name:\"\" device:\"\" port:\"\" driver:\"\" valid:0 ecode:0");
}

TEST_F(Environment, GetPrinterInfoCreatesThePrinterUnlessToldNot) {
  toolkit_.printer = ui::PrinterInfo{"Laser", "dev", "usb:1", "ps"};
  EXPECT_EQ(Run(commands::Command_GET_PRINTER_INFO, "X noautocreate"), " ecode:1");
  EXPECT_EQ(Run(commands::Command_GET_PRINTER_INFO, "X noautocreate:0"),
            " name:\"Laser\" device:\"dev\" port:\"usb:1\" driver:\"ps\" valid:1 ecode:0");
  EXPECT_EQ(Run(commands::Command_GET_PRINTER_INFO, "X noautocreate:1"),
            " name:\"Laser\" device:\"dev\" port:\"usb:1\" driver:\"ps\" valid:1 ecode:0");
}

TEST_F(Environment, GetPrinterInfoWithoutAnyPrinterSetsEcodeAlone) {
  const Traced traced;
  EXPECT_EQ(Run(commands::Command_GET_PRINTER_INFO, "X"), " ecode:1");
  EXPECT_EQ(traced.Lines(), (Lines{"Tav_GetPrinter(true) -> null"}));
}

TEST_F(Environment, SetPrinterTakesWhatTheSystemKnows) {
  toolkit_.printer = ui::PrinterInfo{"Laser", "dev", "usb:1", "ps"};
  Run(commands::Command_SET_PRINTER, "X name:\"Laser\"");
  EXPECT_EQ(Run(commands::Command_GET_PRINTER_INFO, "X noautocreate"),
            " name:\"Laser\" device:\"dev\" port:\"usb:1\" driver:\"ps\" valid:1 ecode:0");
}

TEST_F(Environment, TypeCheckingFollowsThePresenceOfTheModifiers) {
  const auto isOn = [&] { return Fails(commands::Command_SET_PRINTER, "X name:1"); };
  const auto set = [&](const char* command) {
    EXPECT_EQ(Run(commands::Command_SET_MP_TYPE_CHECKING, command), "");
  };
  set("X off");
  EXPECT_FALSE(isOn());
  set("X");
  EXPECT_FALSE(isOn());
  set("X on:false");
  EXPECT_TRUE(isOn());
  set("X");
  EXPECT_TRUE(isOn());
  set("X off:0");
  EXPECT_FALSE(isOn());
  set("X off on");
  EXPECT_TRUE(isOn());
}

class MessagePorts : public Environment {
 protected:
  void SetUp() override {
    Environment::SetUp();
    before_.swap(Ports());
  }
  void TearDown() override {
    before_.swap(Ports());
    Environment::TearDown();
  }
  std::map<const char*, TavMessagePort*, TavMessagePortManager::Less>& Ports() {
    return TavMessagePortManager::Instance().m_ports;
  }

  class Listing : public TavExtendedMessagePort {
   public:
    SV::String GetAllCommands(char separator) override {
      SV::String text("A");
      text += separator;
      text += "B";
      return text;
    }
  };

  Listing listing_;
  TavMessagePort plain_;
  std::map<const char*, TavMessagePort*, TavMessagePortManager::Less> before_;
};

TEST_F(MessagePorts, AreListedInTheOrderOfTheMap) {
  Ports() = {{"b", &plain_}, {"C", &plain_}, {"a", &listing_}};
  EXPECT_EQ(Run(commands::Command_GET_MESSAGE_PORTS, "X"), " msgports:\"C a b\" ecode:0");
  EXPECT_EQ(Run(commands::Command_GET_MESSAGE_PORTS, "X toksep:\",;\""),
            " msgports:\"C,a,b\" ecode:0");
  EXPECT_EQ(Run(commands::Command_GET_MESSAGE_PORTS, "X toksep:\"\""),
            " msgports:\"C\\0a\\0b\" ecode:0");
  EXPECT_TRUE(Fails(commands::Command_GET_MESSAGE_PORTS, "X toksep:1"));
}

TEST_F(MessagePorts, AreAnEmptyTextWhenThereAreNone) {
  EXPECT_EQ(Run(commands::Command_GET_MESSAGE_PORTS, "X"), " msgports:\"\" ecode:0");
}

TEST_F(MessagePorts, GetASeparatorOnlyBehindSomething) {
  Ports() = {{"", &plain_}, {"x", &plain_}, {"y", &plain_}};
  EXPECT_EQ(Run(commands::Command_GET_MESSAGE_PORTS, "X toksep:\",\""),
            " msgports:\"x,y\" ecode:0");
}

TEST_F(MessagePorts, ListTheirCommands) {
  Ports() = {{"plain", &plain_}, {"listing", &listing_}};
  EXPECT_EQ(Run(commands::Command_GET_MP_COMMANDS, "X \"listing\""), " commands:\"A B\" ecode:0");
  EXPECT_EQ(Run(commands::Command_GET_MP_COMMANDS, "X \"listing\" toksep:\"*+\""),
            " commands:\"A*B\" ecode:0");
  EXPECT_EQ(Run(commands::Command_GET_MP_COMMANDS, "X \"listing\" toksep:\"\""),
            " commands:\"A\\0B\" ecode:0");
}

TEST_F(MessagePorts, AreUnknownWithoutAWord) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(Run(commands::Command_GET_MP_COMMANDS, "X \"nowhere\""), " ecode:1");
  EXPECT_EQ(Run(commands::Command_GET_MP_COMMANDS, "X"), " ecode:1");
  EXPECT_EQ(Run(commands::Command_GET_MP_COMMANDS, "X 5"), " ecode:1");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(MessagePorts, AreAnInternalErrorWhenTheyCannotList) {
  Ports() = {{"plain", &plain_}};
  testing::internal::CaptureStderr();
  EXPECT_EQ(Run(commands::Command_GET_MP_COMMANDS, "X \"plain\""), " ecode:1");
  const std::string message = testing::internal::GetCapturedStderr();
  EXPECT_TRUE(message.starts_with("internal error at commands/environment.cpp:")) << message;
}

TEST_F(MessagePorts, AreFoundByTheManagersOwnPointer) {
  static const char name[] = "listing";
  Ports() = {{name, &listing_}};
  EXPECT_EQ(TavMessagePortManager::Instance().GetMPNameStrAddress("listing"), name);
  EXPECT_EQ(TavMessagePortManager::Instance().FindMessagePort(std::string("listing").c_str()),
            nullptr);
  EXPECT_EQ(Run(commands::Command_GET_MP_COMMANDS, "X \"listing\""), " commands:\"A B\" ecode:0");
}

TEST_F(Environment, KelToXmlSetsEcodeBeforeTheText) {
  EXPECT_TRUE(Run(commands::Command_KEL_TO_XML, "X \"ITEM \\\"v\\\" a:1\"")
                  .starts_with(" ecode:0 xml:\"<ITEM "));
  EXPECT_EQ(Run(commands::Command_KEL_TO_XML, "X \"ITEM (\""),
            " ecode:1 errtext:\"KEL parse error\"");
  EXPECT_TRUE(Fails(commands::Command_KEL_TO_XML, "X"));
  EXPECT_TRUE(Fails(commands::Command_KEL_TO_XML, "X 1"));
}

TEST_F(Environment, KelToXmlReadsItsSwitchesWithoutChecks) {
  const auto xml = [&](const char* more) {
    return Run(commands::Command_KEL_TO_XML, SV::String((std::string("X \"A\" ") + more).c_str()));
  };
  EXPECT_EQ(xml("").find("<?xml"), std::string::npos);
  EXPECT_NE(xml("with-header").find("<?xml"), std::string::npos);
  EXPECT_EQ(xml("with-header:0").find("<?xml"), std::string::npos);
  EXPECT_NE(xml("roottag:\"r\"").find("<r>"), std::string::npos);
  EXPECT_TRUE(xml("roottag:5").starts_with(" ecode:0"));
}

}  // namespace
