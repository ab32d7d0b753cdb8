// What nodes tell each other in fields of a frame that FFmpeg leaves to its users.
#ifndef ORVANE_MEDIA_FFMPEG_FRAMEMARKS_H
#define ORVANE_MEDIA_FFMPEG_FRAMEMARKS_H

#include <cstdint>
#include <optional>

extern "C" {
#include <libavutil/avutil.h>
#include <libavutil/frame.h>
}

namespace ffmpeg {

// A source says with it that its picture has another size from this frame on, which the layer is to
// take. It holds for the very frame and its clones, whose data is the same.
inline void MarkNewSize(AVFrame* frame) {
  frame->opaque = frame->data[0];
}
inline bool SignalsNewSize(const AVFrame* frame) {
  return frame->opaque == frame->data[0];
}

// When what a canvas shows was captured, in milliseconds of SDL_GetTicks.
inline void SetCaptureMs(AVFrame* canvas, std::int64_t ms) {
  canvas->best_effort_timestamp = ms;
}
inline std::optional<std::int64_t> CaptureMs(const AVFrame* canvas) {
  return canvas->best_effort_timestamp != AV_NOPTS_VALUE
             ? std::optional<std::int64_t>(canvas->best_effort_timestamp)
             : std::nullopt;
}
inline void CopyCaptureMs(AVFrame* to, const AVFrame* from) {
  to->best_effort_timestamp = from->best_effort_timestamp;
}

}  // namespace ffmpeg

#endif
