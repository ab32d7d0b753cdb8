#include "service/Secrets.h"

#include <gtest/gtest.h>

#include <QRegularExpression>
#include <set>

namespace {

bool Matches(const std::string& text, const char* pattern) {
  return QRegularExpression(QRegularExpression::anchoredPattern(QLatin1String(pattern)))
      .match(QString::fromStdString(text))
      .hasMatch();
}

}  // namespace

class SecretsTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(service::InitSecrets()); }
};

TEST_F(SecretsTest, APasswordMatchesItsOwnHashOnly) {
  const std::string password("p\xe4ss' \"w\0rd", 12);
  const std::string hash = service::HashPassword(password);
  EXPECT_TRUE(service::PasswordMatches(hash, password));
  EXPECT_FALSE(service::PasswordMatches(hash, password.substr(0, 11)));
  EXPECT_FALSE(service::PasswordMatches(hash, ""));
  EXPECT_FALSE(service::PasswordMatches("", password));
  EXPECT_FALSE(service::PasswordMatches("", ""));
  EXPECT_FALSE(service::PasswordMatches("no hash at all", password));
}

TEST_F(SecretsTest, TheHashIsMemoryHardAndSalted) {
  const std::string hash = service::HashPassword("a");
  EXPECT_EQ(hash.rfind("$argon2id$v=19$m=19456,t=2,p=1$", 0), 0u) << hash;
  EXPECT_NE(hash, service::HashPassword("a"));
}

TEST_F(SecretsTest, TokensAreLongPlainAndNeverTheSame) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    const std::string token = service::NewToken();
    EXPECT_TRUE(Matches(token, "[A-Za-z0-9_-]{43}")) << token;
    EXPECT_TRUE(seen.insert(token).second);
  }
}

TEST_F(SecretsTest, AStoredTokenTellsNothingOfTheToken) {
  EXPECT_EQ(service::HashToken("t"), service::HashToken("t"));
  EXPECT_NE(service::HashToken("t"), service::HashToken("u"));
  EXPECT_TRUE(Matches(service::HashToken("t"), "[0-9a-f]{64}"));
}

TEST_F(SecretsTest, IdsAndReadablePasswordsHaveTheirForms) {
  EXPECT_TRUE(Matches(service::NewId(), "[0-9a-f]{16}"));
  EXPECT_TRUE(Matches(service::NewId(16), "[0-9a-f]{32}"));
  for (int i = 0; i < 100; ++i) {
    const std::string password = service::NewReadablePassword();
    EXPECT_TRUE(Matches(password, "[a-hj-kmnp-z2-9]{3}-[a-hj-kmnp-z2-9]{3}-[a-hj-kmnp-z2-9]{3}"))
        << password;
  }
}
