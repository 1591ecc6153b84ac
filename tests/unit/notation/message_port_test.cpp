#include "host/notation/message_port.h"

#include <gtest/gtest.h>

#include "host/base/string.h"
#include "host/notation/extended_message_port.h"
#include "host/notation/message_port_manager.h"

namespace {

TEST(MessagePort, ScriptPortHasOnePointerForItsName) {
  EXPECT_STREQ(TavMessagePort::TavScript(), "TavScript");
  EXPECT_EQ(TavMessagePort::TavScript(), TavMessagePort::TavScript());
}

TEST(MessagePortManager, FindsByItsOwnPointerOnly) {
  TavMessagePortManager manager;
  TavMessagePort plain;
  TavExtendedMessagePort extended;
  static const char kPlain[] = "Plain";
  static const char kExtended[] = "Extended";
  static const char kSameText[] = "Plain";
  manager.m_ports[kPlain] = &plain;
  manager.m_ports[kExtended] = &extended;
  EXPECT_EQ(manager.m_ports.begin()->first, kExtended) << "in the order of the names";

  EXPECT_EQ(manager.GetMPNameStrAddress("Plain"), kPlain);
  EXPECT_EQ(manager.GetMPNameStrAddress("plain"), nullptr);
  EXPECT_EQ(manager.GetMPNameStrAddress(""), nullptr);
  EXPECT_EQ(manager.GetMPNameStrAddress(SV::String("Plain\0x", 7)), nullptr);

  EXPECT_EQ(manager.FindMessagePort(kPlain), &plain);
  EXPECT_EQ(manager.FindMessagePort(kSameText), nullptr) << "same text, other pointer";
  EXPECT_EQ(manager.FindMessagePort(nullptr), nullptr);
  EXPECT_EQ(dynamic_cast<TavExtendedMessagePort*>(manager.FindMessagePort(kPlain)), nullptr);
  EXPECT_EQ(dynamic_cast<TavExtendedMessagePort*>(manager.FindMessagePort(kExtended)), &extended);
}

TEST(MessagePortManager, ThereIsOne) {
  EXPECT_EQ(&TavMessagePortManager::Instance(), &TavMessagePortManager::Instance());
}

}  // namespace
