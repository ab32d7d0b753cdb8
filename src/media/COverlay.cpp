#include "media/COverlay.h"

#include <SDL_ttf.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <utility>

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/opt.h>
}

#include "media/Clip.h"
#include "media/TextBounds.h"
#include "media/ffmpeg/ErrorText.h"
#include "media/ffmpeg/PackedRows.h"
#include "media/ffmpeg/Scoped.h"

namespace {

constexpr std::size_t kBytesPerPixel = 3;
// The longest description of filter or source, its numbers at their longest, takes half of it.
constexpr std::size_t kArgumentBytes = 512;

struct TextSize {
  int width = 0;
  int height = 0;
};

// The program initialises SDL_ttf when it starts; without it a text is no reason to fail.
bool FontsUsable() {
  return TTF_WasInit() != 0 || TTF_Init() == 0;
}

// The sum of the widths of the sample's pieces and the greatest of their heights; SDL_ttf's result.
int MeasurePieces(TTF_Font* font, const media::TextSample& sample, TextSize* size) {
  long width = 0;
  for (const std::string& piece : sample.pieces) {
    TextSize each;
    const int result = TTF_SizeUTF8(font, piece.c_str(), &each.width, &each.height);
    if (result != 0) {
      return result;
    }
    width += each.width;
    size->height = std::max(size->height, each.height);
  }
  size->width = media::WholeWidth(sample, width);
  return 0;
}

// The size that a rendered surface of the text would have, without rendering it: the surface of a
// long text would take hundreds of megabytes. Of a very long one the width is an estimate.
TextSize Measure(const std::string& fontPath, int fontSize, const std::string& text) {
  TTF_Font* font = FontsUsable() ? TTF_OpenFont(fontPath.c_str(), fontSize) : nullptr;
  if (font == nullptr) {
    av_log(nullptr, AV_LOG_ERROR, "Text layer stays empty: font %s: %s\n", fontPath.c_str(),
           TTF_GetError());
    return {};
  }
  TextSize size;
  const int result = MeasurePieces(font, media::SampleText(text), &size);
  TTF_CloseFont(font);
  if (result != 0 || size.width <= 0) {
    av_log(nullptr, AV_LOG_ERROR, "Text layer stays empty: %s\n",
           result != 0 ? TTF_GetError() : "the text has no width");
    return {};
  }
  return size;
}

// Gives a shared canvas a buffer of its own, with packed rows: drawtext would make one itself, but
// with rows padded to its alignment.
int MakeExclusive(AVFrame* canvas) {
  if (av_frame_is_writable(canvas) != 0) {
    return 0;
  }
  ffmpeg::ScopedFrame copy(av_frame_alloc());
  if (!copy) {
    return AVERROR(ENOMEM);
  }
  copy->width = canvas->width;
  copy->height = canvas->height;
  copy->format = canvas->format;
  int result = av_frame_get_buffer(copy.Get(), 1);
  if (result >= 0) {
    result = av_frame_copy(copy.Get(), canvas);
  }
  if (result >= 0) {
    result = av_frame_copy_props(copy.Get(), canvas);
  }
  if (result >= 0) {
    av_frame_unref(canvas);
    av_frame_move_ref(canvas, copy.Get());
  }
  return result;
}

}  // namespace

COverlay::COverlay()
    : m_frameWidth(0),
      m_frameHeight(0),
      m_textWidth(0),
      m_textHeight(0),
      m_x(0),
      m_y(0),
      m_measureFontSize(0),
      m_measuredWidth(0),
      m_measuredHeight(0),
      m_color(0),
      m_dirty(false),
      m_source(nullptr),
      m_extraFilter(nullptr),
      m_sink(nullptr),
      m_graph(nullptr),
      m_enabled(false) {}

COverlay::~COverlay() {
  FreeGraph();
}

void COverlay::MeasureText(std::string fontPath, int fontSize, std::string text, int* width,
                           int* height) {
  const TextSize size = Measure(fontPath, fontSize, text);
  *width = size.width;
  *height = size.height;
  media::MutexLocker lock(&m_lock);
  m_measuredWidth = size.width;
  m_measuredHeight = size.height;
  m_measureFontSize = fontSize;
}

void COverlay::GetMeasuredSize(int* width, int* height) {
  media::MutexLocker lock(&m_lock);
  *width = m_measuredWidth;
  *height = m_measuredHeight;
}

void COverlay::SetEnabled(bool enabled) {
  m_enabled = enabled;
}

bool COverlay::IsEnabled() const {
  return m_enabled;
}

void COverlay::SetTextSize(int width, int height) {
  media::MutexLocker lock(&m_lock);
  m_textWidth = width;
  m_textHeight = height;
  m_dirty = true;
}

void COverlay::SetTextPosition(int x, int y) {
  media::MutexLocker lock(&m_lock);
  m_x = x;
  m_y = y;
  m_dirty = true;
}

void COverlay::SetTextContent(unsigned color, std::string text) {
  media::MutexLocker lock(&m_lock);
  m_color = color;
  m_text = std::move(text);
  m_dirty = true;
}

int COverlay::Blit(AVFrame* canvas, AVFrame* image, int x, int y) {
  const media::Span columns = media::ClipSpan(canvas->width, image->width, x);
  const media::Span rows = media::ClipSpan(canvas->height, image->height, y);
  if (columns.length <= 0 || rows.length <= 0) {
    return -1;
  }
  ORVANE_CONTRACT(ffmpeg::HasPackedRows(canvas) && ffmpeg::HasPackedRows(image),
                  "Blit takes packed rows");
  const auto at = [](const AVFrame* frame, int row, int column) {
    const auto pixels = static_cast<std::size_t>(row) * static_cast<std::size_t>(frame->width) +
                        static_cast<std::size_t>(column);
    return frame->data[0] + pixels * kBytesPerPixel;
  };
  const std::uint8_t* source = at(image, rows.source, columns.source);
  std::uint8_t* target = at(canvas, rows.target, columns.target);
  const auto rowBytes = static_cast<std::size_t>(columns.length) * kBytesPerPixel;
  const auto rowCount = static_cast<std::size_t>(rows.length);
  if (columns.length == canvas->width && columns.length == image->width) {
    std::memcpy(target, source, rowBytes * rowCount);
    return 0;
  }
  const auto sourceStep = static_cast<std::size_t>(image->width) * kBytesPerPixel;
  const auto targetStep = static_cast<std::size_t>(canvas->width) * kBytesPerPixel;
  for (std::size_t row = 0; row < rowCount; ++row) {
    std::memcpy(target + row * targetStep, source + row * sourceStep, rowBytes);
  }
  return 0;
}

int COverlay::DrawText(AVFrame* canvas) {
  ORVANE_CONTRACT(m_composer.Holds(), "one thread draws a text");
  if (canvas == nullptr || canvas->width == 0 || canvas->height == 0) {
    return -1;
  }
  if (m_dirty && Rebuild(canvas) < 0) {
    return -1;
  }
  if (m_graph == nullptr) {
    return 0;
  }
  if (const int error = MakeExclusive(canvas); error < 0) {
    std::printf("no copy of the canvas, ret = %d", error);
    return -1;
  }
  // The source was declared with another pixel format on purpose, and the graph takes the canvas as
  // it comes; the check would only write two lines of warning to the log for every frame.
  if (av_buffersrc_add_frame_flags(m_source, canvas, AV_BUFFERSRC_FLAG_NO_CHECK_FORMAT) < 0) {
    std::printf("av_buffersrc_add_frame_flags  pBack  failed");
    return -1;
  }
  ffmpeg::ScopedFrame drawn(av_frame_alloc());
  const int result = drawn ? av_buffersink_get_frame(m_sink, drawn.Get()) : AVERROR(ENOMEM);
  if (result < 0) {
    std::printf("av_buffersink_get_frame failed, ret = %d", result);
    return -1;
  }
  av_frame_move_ref(canvas, drawn.Get());
  return 0;
}

COverlay::Text COverlay::CopyText() {
  media::MutexLocker lock(&m_lock);
  return {m_textWidth, m_x, m_y, m_measureFontSize, m_measuredWidth, m_color, m_text};
}

int COverlay::Rebuild(const AVFrame* canvas) {
  m_dirty = false;
  FreeGraph();
  m_frameWidth = canvas->width;
  m_frameHeight = canvas->height;
  Text text = CopyText();
  const int wanted = media::FontSizeForWidth(text.measureFontSize, text.width, text.measuredWidth);
  if (wanted < 0) {
    return 0;
  }
  const media::DrawnText drawn = media::BoundText(
      text.content, wanted, long{canvas->width} - text.x, long{canvas->height} - text.y);
  text.content = drawn.text;
  int error = 0;
  if (const char* step = BuildGraph(canvas, text, drawn.fontSize, &error)) {
    av_log(nullptr, AV_LOG_ERROR, "Text layer stays empty: %s, font %s at size %d: %s\n", step,
           kFontFile, drawn.fontSize, ffmpeg::ErrorText(error).c_str());
    FreeGraph();
    return -1;
  }
  m_enabled = true;
  return 0;
}

// The failing step by name, or null. The sink is made before the text filter: format negotiation
// begins with the filter made first, and so gives the text filter the sink's RGB24.
const char* COverlay::BuildGraph(const AVFrame* canvas, const Text& text, int fontSize,
                                 int* error) {
  m_graph = avfilter_graph_alloc();
  if (m_graph == nullptr) {
    *error = AVERROR(ENOMEM);
    return "graph";
  }
  // One filter at a time works in it: a pool of threads for each text layer would only sit there.
  m_graph->nb_threads = 1;
  char arguments[kArgumentBytes];
  std::snprintf(arguments, sizeof arguments, "video_size=%dx%d:pix_fmt=%d:time_base=1/1000",
                canvas->width, canvas->height, 0);
  *error = avfilter_graph_create_filter(&m_source, avfilter_get_by_name("buffer"), "in", arguments,
                                        nullptr, m_graph);
  if (*error < 0) {
    return "source";
  }
  *error = avfilter_graph_create_filter(&m_sink, avfilter_get_by_name("buffersink"), "out", nullptr,
                                        nullptr, m_graph);
  if (*error < 0) {
    return "sink";
  }
  const AVPixelFormat formats[] = {AV_PIX_FMT_RGB24, AV_PIX_FMT_NONE};
  *error =
      av_opt_set_int_list(m_sink, "pix_fmts", formats, AV_PIX_FMT_NONE, AV_OPT_SEARCH_CHILDREN);
  if (*error < 0) {
    return "pixel format";
  }
  AVFilterContext* drawtext = nullptr;
  *error = CreateTextFilter(text, fontSize, &drawtext);
  if (*error < 0) {
    return "drawtext";
  }
  if ((*error = avfilter_link(m_source, 0, drawtext, 0)) < 0 ||
      (*error = avfilter_link(drawtext, 0, m_sink, 0)) < 0) {
    return "links";
  }
  *error = avfilter_graph_config(m_graph, nullptr);
  return *error < 0 ? "configuration" : nullptr;
}

// The text is set by name and not inside the description, where a colon or a bracket would end it
// and 512 bytes would bound it.
int COverlay::CreateTextFilter(const Text& text, int fontSize, AVFilterContext** filter) {
  // drawtext would take any font of the system instead, which the text was not measured with.
  if (!std::ifstream(kFontFile)) {
    return AVERROR(ENOENT);
  }
  *filter = avfilter_graph_alloc_filter(m_graph, avfilter_get_by_name("drawtext"), "drawtext");
  if (*filter == nullptr) {
    return AVERROR(ENOMEM);
  }
  int result = av_opt_set(*filter, "text", text.content.c_str(), AV_OPT_SEARCH_CHILDREN);
  if (result >= 0) {
    result = av_opt_set(*filter, "expansion", "none", AV_OPT_SEARCH_CHILDREN);
  }
  if (result < 0) {
    return result;
  }
  char description[kArgumentBytes];
  std::snprintf(description, sizeof description,
                "fontfile=%s:fontsize=%d:fontcolor=0x%08x:x=%d:y=%d", kFontFile, fontSize,
                text.color, text.x, text.y);
  return avfilter_init_str(*filter, description);
}

void COverlay::FreeGraph() {
  for (AVFilterContext** filter : {&m_source, &m_extraFilter, &m_sink}) {
    if (*filter != nullptr) {
      avfilter_free(*filter);
      *filter = nullptr;
    }
  }
  avfilter_graph_free(&m_graph);
}
