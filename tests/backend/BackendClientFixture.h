// The client before a service of the test's own, and the notices that it raises.
#ifndef ORVANE_TESTS_BACKEND_BACKENDCLIENTFIXTURE_H
#define ORVANE_TESTS_BACKEND_BACKENDCLIENTFIXTURE_H

#include <gtest/gtest.h>

#include "backend/BackendClient.h"
#include "backend/TestAddress.h"
#include "support/Notices.h"
#include "support/ScriptedHttp.h"

using backend::Until;
using support::JsonReply;
using support::ScriptedHttp;
using support::ScriptedReply;

inline constexpr Until::Brief kBrief{60000, true};
inline const QString kNoNetwork = QStringLiteral("网络不通畅，请检查网络连接");

class BackendClientTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(server.Listening());
    SetTestAddress(server.Address());
  }
  QByteArray OnlyRequest() {
    return server.Requests().size() == 1 ? server.Requests().first() : QByteArray("<none or many>");
  }
  ScriptedHttp server;
  support::Notices notices;
  BackendClient* client = BackendClient::Instance();
};

inline QByteArray RequestLine(const QByteArray& request) {
  return request.left(request.indexOf("\r\n"));
}

#endif
