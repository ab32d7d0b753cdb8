#include "shell/RefusedStart.h"

#include <gtest/gtest.h>

namespace {

using shell::StreamHealth;
using shell::StreamLight;

const StreamHealth kWell{StreamLight::kGreen, QStringLiteral("well"), QStringLiteral("all"),
                         QStringLiteral("well")};

TEST(RefusedStart, WithoutOneNothingChanges) {
  const StreamHealth health = shell::WithRefusal(kWell, std::nullopt);
  EXPECT_EQ(health.light, StreamLight::kGreen);
  EXPECT_EQ(health.words, "well");
  EXPECT_EQ(health.state, "well");
  EXPECT_EQ(health.details, "all");
}

TEST(RefusedStart, TurnsGreenIntoAmberInTheServicesWords) {
  const StreamHealth health =
      shell::WithRefusal(kWell, QStringLiteral(" 登录已失效，\n请重新登录 "));
  EXPECT_EQ(health.light, StreamLight::kAmber);
  EXPECT_EQ(health.words, "服务器：登录已失效， 请重新登录");
  EXPECT_EQ(health.state, health.words);
  EXPECT_EQ(health.details, "all\n服务器：登录已失效， 请重新登录");
}

TEST(RefusedStart, WithoutAWordItIsToldAllTheSame) {
  for (const QString& nothing : {QString(), QStringLiteral("  ")}) {
    const StreamHealth health = shell::WithRefusal(kWell, nothing);
    EXPECT_EQ(health.light, StreamLight::kAmber);
    EXPECT_EQ(health.words, "服务器没有接受这场直播");
  }
}

TEST(RefusedStart, TroubleOfTheStreamKeepsItsWordsAndColour) {
  for (const StreamLight light : {StreamLight::kAmber, StreamLight::kRed}) {
    const StreamHealth health = shell::WithRefusal(
        {light, QStringLiteral("trouble"), QStringLiteral("all"), QStringLiteral("state")},
        QStringLiteral("no"));
    EXPECT_EQ(health.light, light);
    EXPECT_EQ(health.words, "trouble");
    EXPECT_EQ(health.state, "state");
    EXPECT_EQ(health.details, "all\n服务器：no");
  }
}

}  // namespace
