// What microphones are called: their descriptions in UTF-8, told apart where two are equal.
//
// A name is given once and keeps its meaning for as long as the object lives: when the first of two
// equal microphones is unplugged, the second does not inherit its name.
//
// Any thread: one lock.
#ifndef ORVANE_PLATFORM_LINUX_MICROPHONENAMES_H
#define ORVANE_PLATFORM_LINUX_MICROPHONENAMES_H

#include <map>
#include <string>
#include <vector>

#include "platform/Lock.h"

namespace platform {

struct SoundSource {
  std::string id;           // the server's own name, unique, the same when plugged in again
  std::string description;  // for people; any bytes
};

class MicrophoneNames {
 public:
  // reserved: a name that means something else and is never given.
  explicit MicrophoneNames(const std::string& reserved) { m_idByName[reserved] = ""; }

  // One name for each source, in their order.
  std::vector<std::string> Names(const std::vector<SoundSource>& sources);
  // The source of a name that was given, or "".
  std::string Source(const std::string& name) const;

 private:
  std::string NameOf(const SoundSource& source) ORVANE_REQUIRES(m_lock);

  mutable Mutex m_lock;
  std::map<std::string, std::string> m_idByName ORVANE_GUARDED_BY(m_lock);
};

}  // namespace platform

#endif
