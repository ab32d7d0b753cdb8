// "./login.ini" with anything in it: it reads as some account, and an account written over it reads
// as itself.
#include <unistd.h>

#include <QString>
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "fuzz/Require.h"
#include "fuzz/TempDirectory.h"
#include "widgets/LoginSettings.h"

namespace {

// The fuzzer doesn't see what Qt does with a file; how long the texts are that come out tells it
// which inputs are worth going on from.
constexpr int kLengths = 64;
__attribute__((section("__libfuzzer_extra_counters"))) std::uint8_t g_seen[2 * kLengths];

void Tell(const widgets::SavedAccount& account) {
  g_seen[std::min(account.usr.size(), kLengths - 1)] = 1;
  g_seen[kLengths + std::min(account.psw.size(), kLengths - 1)] = 1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::TempDirectory directory;
  static const int entered = chdir(directory.Path().c_str());
  fuzz::Require(entered == 0);
  // Qt takes a file of the same size and time for the one that it knows.
  directory.Write("login.ini", data, 0);
  const widgets::SavedAccount none = widgets::ReadLoginSettings();
  fuzz::Require(none.usr.isEmpty() && none.psw.isEmpty());
  directory.Write("login.ini", data, size);
  const widgets::SavedAccount read = widgets::ReadLoginSettings();
  Tell(read);
  // Writing a file takes a hundred times as long as reading one.
  if (size % 64 == 0) {
    widgets::WriteLoginSettings(read);
    const widgets::SavedAccount again = widgets::ReadLoginSettings();
    fuzz::Require(again.usr == read.usr && again.psw == read.psw);
  }
  return 0;
}
