// FFmpeg's own words for one of its error codes, for log lines that name the cause.
#ifndef ORVANE_MEDIA_FFMPEG_ERRORTEXT_H
#define ORVANE_MEDIA_FFMPEG_ERRORTEXT_H

#include <string>

namespace ffmpeg {

// error: a negative AVERROR. Never empty.
std::string ErrorText(int error);

}  // namespace ffmpeg

#endif
