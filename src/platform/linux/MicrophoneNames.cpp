#include "platform/linux/MicrophoneNames.h"

#include "platform/linux/Utf8.h"

namespace platform {

std::vector<std::string> MicrophoneNames::Names(const std::vector<SoundSource>& sources) {
  const Lock locked(m_lock);
  std::vector<std::string> names;
  names.reserve(sources.size());
  for (const SoundSource& source : sources) {
    names.push_back(NameOf(source));
  }
  return names;
}

std::string MicrophoneNames::Source(const std::string& name) const {
  const Lock locked(m_lock);
  const auto found = m_idByName.find(name);
  return found != m_idByName.end() ? found->second : "";
}

std::string MicrophoneNames::NameOf(const SoundSource& source) {
  // A name travels through the catalogue's Unicode strings and has to come back as it was.
  const std::string plain =
      WellFormedUtf8(source.description.empty() ? source.id : source.description, "\uFFFD");
  std::string name = plain;
  for (int number = 2;; ++number) {
    const auto [entry, isNew] = m_idByName.emplace(name, source.id);
    if (isNew || entry->second == source.id) {
      return name;
    }
    name = plain + " (" + std::to_string(number) + ")";
  }
}

}  // namespace platform
