#include "shell/CEvent.h"

#include <gtest/gtest.h>

#include <QThread>

namespace {

// Constructed before main too, in a file linked after the bus: what a static of another file sees.
CEvent* const g_seenBeforeMain = CEvent::instance();

TEST(CEvent, IsOneObjectThatStandsBeforeMain) {
  EXPECT_NE(CEvent::instance(), nullptr);
  EXPECT_EQ(CEvent::instance(), g_seenBeforeMain);
}

TEST(CEvent, SlotsRunInsideTheEmitAndSeeTheEmittersSize) {
  QObject receiver;
  QSize* seen = nullptr;
  QObject::connect(CEvent::instance(), &CEvent::renderSize, &receiver,
                   [&seen](QSize& size) { seen = &size; });
  QSize size(960, 540);
  emit CEvent::instance()->renderSize(size);
  EXPECT_EQ(seen, &size);
}

TEST(CEvent, LoginChangeReachesItsReceiver) {
  QObject receiver;
  int calls = 0;
  QObject::connect(CEvent::instance(), &CEvent::loginChange, &receiver, [&calls] { ++calls; });
  emit CEvent::instance()->loginChange();
  EXPECT_EQ(calls, 1);
}

}  // namespace
