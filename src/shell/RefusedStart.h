// What the operator is told of a broadcast of which the service would not hear: it runs all the
// same, but in the service's books it does not, so viewers may not find it.
//
// Pure.
#ifndef ORVANE_SHELL_REFUSEDSTART_H
#define ORVANE_SHELL_REFUSEDSTART_H

#include <QString>
#include <optional>

#include "shell/StreamHealth.h"

namespace shell {

// Amber with the service's message in place of green; trouble of the stream itself comes first and
// keeps its words. The details tell it in every case. Without a message of a refusal nothing
// changes; an empty one is a refusal without a word.
StreamHealth WithRefusal(StreamHealth health, const std::optional<QString>& message);

}  // namespace shell

#endif
