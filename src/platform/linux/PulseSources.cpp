#include "platform/linux/PulseSources.h"

#include <pulse/introspect.h>

#include <algorithm>
#include <chrono>

#include "platform/linux/PulseConnection.h"

namespace platform {

namespace {

struct Answer {
  std::string defaultSource;
  std::vector<SoundSource> sources;
  int outstanding = 0;
};

void OnServer(pa_context* /*context*/, const pa_server_info* info, void* data) {
  auto* answer = static_cast<Answer*>(data);
  --answer->outstanding;
  if (info != nullptr && info->default_source_name != nullptr) {
    answer->defaultSource = info->default_source_name;
  }
}

void OnSource(pa_context* /*context*/, const pa_source_info* info, int end, void* data) {
  auto* answer = static_cast<Answer*>(data);
  if (end != 0) {
    --answer->outstanding;
  } else if (info->monitor_of_sink == PA_INVALID_INDEX) {
    answer->sources.push_back({info->name, info->description != nullptr ? info->description : ""});
  }
}

void Ask(pa_context* context, Answer* answer) {
  for (pa_operation* operation : {pa_context_get_server_info(context, OnServer, answer),
                                  pa_context_get_source_info_list(context, OnSource, answer)}) {
    if (operation != nullptr) {
      ++answer->outstanding;
      pa_operation_unref(operation);
    }
  }
}

}  // namespace

bool QueryPulseSources(int timeoutMs, std::vector<SoundSource>* sources, std::string* cause) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::milliseconds(timeoutMs);
  // Outlives the connection, which holds on to it for requests still under way.
  Answer answer;
  PulseConnection connection;
  connection.Connect();
  bool asked = false;
  while (!asked || answer.outstanding > 0) {
    if (connection.Failed()) {
      *cause = connection.Error();
      return false;
    }
    if (!asked && connection.Ready()) {
      Ask(connection.Context(), &answer);
      asked = true;
      continue;
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    if (left.count() <= 0) {
      *cause = "the sound server does not answer";
      return false;
    }
    connection.Turn(static_cast<int>(left.count()));
  }
  std::stable_partition(
      answer.sources.begin(), answer.sources.end(),
      [&](const SoundSource& source) { return source.id == answer.defaultSource; });
  *sources = std::move(answer.sources);
  return true;
}

}  // namespace platform
