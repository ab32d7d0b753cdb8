// What the portal's answers say, and what they may hold instead.
#include "platform/linux/portal/PortalAnswers.h"

#include <gtest/gtest.h>

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QStringList>

namespace {

using platform::FirstNode;
using platform::NumberOf;
using platform::RestoreTokenOf;
using platform::SessionPath;

QVariant Stream(const QVariant& node) {
  return QVariantList{node, QVariantMap{{"source_type", 1U}}};
}

TEST(PortalAnswers, TheNodeOfTheFirstStream) {
  EXPECT_EQ(42U, FirstNode(QVariantList{Stream(42U)}));
  EXPECT_EQ(1U, FirstNode(QVariantList{Stream(1U), Stream(2U)}));
}

TEST(PortalAnswers, WhatNamesNoNode) {
  const QVariant answers[] = {
      QVariant(),
      QVariant("42"),
      QVariant(42U),
      QVariantMap{{"streams", 1U}},
      QVariantList{},
      QVariantList{42U},
      QVariantList{QVariantList{}},
      QVariantList{Stream("42")},
      QVariantList{Stream(QVariantMap())},
      QVariantList{Stream(0xffffffffU)},
      QStringList{"42"},
  };
  for (const QVariant& answer : answers) {
    EXPECT_FALSE(FirstNode(answer)) << answer.typeName();
  }
}

TEST(PortalAnswers, OnlyWhatCameOverTheBusIsUnpacked) {
  EXPECT_FALSE(platform::Unpacked(QVariant()).isValid());
  EXPECT_FALSE(platform::Unpacked(QVariant(7U)).isValid());
  EXPECT_FALSE(platform::Unpacked(QVariant(QVariantList{Stream(1U)})).isValid());
}

TEST(PortalAnswers, TheSession) {
  const QString path = "/org/freedesktop/portal/desktop/session/1_42/orvane1";
  EXPECT_EQ(path, SessionPath({{"session_handle", path}}));
  EXPECT_EQ(path, SessionPath({{"session_handle", QVariant::fromValue(QDBusObjectPath(path))}}));
}

TEST(PortalAnswers, WhatIsNoSession) {
  EXPECT_EQ("", SessionPath({}));
  const QVariant handles[] = {
      QVariant(7U),
      QVariant(""),
      QVariant("/"),
      QVariant("session"),
      QVariant("/a//b"),
      QVariant("/a/"),
      QVariant("/a b"),
      QVariant("/a.b"),
      QVariant(QString("/") + QChar(0xe4)),
      QVariant(QString("/").repeated(3)),
      QVariant("/" + QString("a").repeated(5000)),
      QVariant(QVariantList{"/a"}),
  };
  for (const QVariant& handle : handles) {
    EXPECT_EQ("", SessionPath({{"session_handle", handle}})) << handle.toString().toStdString();
  }
}

TEST(PortalAnswers, TheTokenForTheNextStart) {
  EXPECT_EQ("a-b-c", RestoreTokenOf({{"restore_token", "a-b-c"}}));
  EXPECT_EQ("", RestoreTokenOf({}));
  EXPECT_EQ("", RestoreTokenOf({{"restore_token", 7U}}));
  EXPECT_EQ("", RestoreTokenOf({{"restore_token", QVariantMap()}}));
}

TEST(PortalAnswers, ANumberOfAProperty) {
  EXPECT_EQ(3U, NumberOf(QVariant(3U)));
  EXPECT_EQ(3U, NumberOf(QVariant::fromValue(QDBusVariant(3U))));
  EXPECT_FALSE(NumberOf(QVariant()));
  EXPECT_FALSE(NumberOf(QVariant("3")));
  EXPECT_FALSE(NumberOf(QVariant(3)));
  EXPECT_FALSE(NumberOf(QVariant::fromValue(QDBusVariant("3"))));
}

TEST(PortalAnswers, AMessageOfOtherTypesIsNoResponse) {
  QDBusMessage message =
      QDBusMessage::createSignal("/a", "org.freedesktop.portal.Request", "Response");
  EXPECT_FALSE(platform::ReadResponse(message));
  message << 0U;
  EXPECT_FALSE(platform::ReadResponse(message));
  message << QString("all is well");
  EXPECT_FALSE(platform::ReadResponse(message));
}

}  // namespace
