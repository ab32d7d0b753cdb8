// FFmpeg's own words for one of its error codes, for log lines that name the cause.
#ifndef ORVANE_PLATFORM_AVERRORTEXT_H
#define ORVANE_PLATFORM_AVERRORTEXT_H

#include <string>

namespace platform {

// error: a negative AVERROR. Never empty.
std::string AvErrorText(int error);

}  // namespace platform

#endif
