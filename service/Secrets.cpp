#include "service/Secrets.h"

#include <sodium.h>

#include <array>
#include <vector>

namespace service {

namespace {

constexpr unsigned long long kPasses = 2;
constexpr std::size_t kMemory = 19ULL * 1024 * 1024;

std::string Hex(const unsigned char* bytes, std::size_t count) {
  std::string text(count * 2 + 1, '\0');
  sodium_bin2hex(text.data(), text.size(), bytes, count);
  text.pop_back();
  return text;
}

}  // namespace

bool InitSecrets() {
  return sodium_init() >= 0;
}

std::string HashPassword(const std::string& password) {
  std::array<char, crypto_pwhash_STRBYTES> hash{};
  if (crypto_pwhash_str(hash.data(), password.data(), password.size(), kPasses, kMemory) != 0) {
    return std::string();
  }
  return hash.data();
}

bool PasswordMatches(const std::string& hash, const std::string& password) {
  // Made once: the hash of a password that nobody knows.
  static const std::string nobody = HashPassword(NewToken());
  const std::string& against = hash.empty() ? nobody : hash;
  const bool matches =
      crypto_pwhash_str_verify(against.c_str(), password.data(), password.size()) == 0;
  return matches && !hash.empty();
}

std::string NewToken() {
  std::array<unsigned char, 32> bytes{};
  randombytes_buf(bytes.data(), bytes.size());
  constexpr int kVariant = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
  std::vector<char> text(sodium_base64_encoded_len(bytes.size(), kVariant));
  sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(), kVariant);
  return text.data();
}

std::string HashToken(const std::string& token) {
  std::array<unsigned char, 32> hash{};
  crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>(token.data()),
                     token.size(), nullptr, 0);
  return Hex(hash.data(), hash.size());
}

std::string NewId(int bytes) {
  std::vector<unsigned char> random(static_cast<std::size_t>(bytes));
  randombytes_buf(random.data(), random.size());
  return Hex(random.data(), random.size());
}

std::string NewReadablePassword() {
  static constexpr char kLetters[] = "abcdefghjkmnpqrstuvwxyz23456789";
  std::string password;
  for (int i = 0; i < 11; ++i) {
    if (i == 3 || i == 7) {
      password += '-';
    } else {
      password += kLetters[randombytes_uniform(sizeof kLetters - 1)];
    }
  }
  return password;
}

}  // namespace service
