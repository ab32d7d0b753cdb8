// Passwords, tokens and keys: what must not be guessed and what must not be read from the database.
//
// Passwords are hashed with Argon2id at 19 MiB and 2 passes (the first choice of OWASP's Password
// Storage Cheat Sheet), which takes some tens of milliseconds of one core: never on a thread that
// serves requests. Tokens carry 256 random bits, so a plain hash of one is enough to store.
//
// Threads: any, once InitSecrets has returned true.
#ifndef ORVANE_SERVICE_SECRETS_H
#define ORVANE_SERVICE_SECRETS_H

#include <string>

namespace service {

// False when the system has no source of randomness; nothing else here may then be called.
bool InitSecrets();

// The text to store, empty when memory is short. password: the bytes as the client sends them.
std::string HashPassword(const std::string& password);
// An empty hash matches nothing, and takes as long: the time tells nobody whether an account
// exists.
bool PasswordMatches(const std::string& hash, const std::string& password);

// 43 characters of [A-Za-z0-9_-].
std::string NewToken();
// What is stored of a token: 64 hexadecimal digits.
std::string HashToken(const std::string& token);
// Hexadecimal digits, twice as many as bytes.
std::string NewId(int bytes = 8);
// Eleven characters that are read aloud and typed without doubt.
std::string NewReadablePassword();

}  // namespace service

#endif
