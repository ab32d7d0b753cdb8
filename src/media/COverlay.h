// Puts one layer onto the canvas: a picture by a clipped copy of its rows (Blit), or a text by
// running the canvas through a private filter graph with drawtext in it (DrawText). Every layer of
// the renderer owns one; IsEnabled says which of the two ways is its own.
//
// Flow: the canvas is packed RGB24, a row exactly width x 3 bytes, and so is every picture given to
// Blit: rows are addressed by width and linesize is ignored. DrawText hands the canvas's buffer to
// the graph and takes it back with the text on it. The canvas has to be the only reference to its
// buffer, as a fresh one is: then drawtext writes in place. A shared one is copied first, since its
// other readers must not see the text. One of another size than that of the last build comes back
// at that size: only a setter has the graph built anew.
//
// Measuring: SDL_ttf measures a text once, when it is set. The font size follows from the width
// that the text is to have on the canvas, so a text layer keeps its aspect when it is resized.
//
// Ownership: the class owns its graph; canvas and image stay the caller's.
//
// Threads: MeasureText and the setters belong to the user interface thread, DrawText and Blit to
// the compose thread, and the graph is touched by the compose thread alone. GetMeasuredSize,
// SetEnabled and IsEnabled may be called from any. A setter acts at the next DrawText, which then
// builds the graph anew.
//
// Locks: m_lock guards what the setters and the measurement write. It is held for a copy of these
// fields only: never while text is measured or drawn, and DrawText takes it only after a change.
//
// Failure: Blit gives -1 when nothing of the image falls on the canvas. A text that can't be
// measured (no font, a broken one, nothing in it that has a width) leaves its layer empty, and the
// log says why once; one whose graph can't be built makes DrawText give -1 once, and 0 with nothing
// drawn until the next setter. When the graph fails on a frame, DrawText gives -1 and the canvas
// may have lost its picture (data[0] null, size 0): it is then not to be shown.
#ifndef ORVANE_MEDIA_COVERLAY_H
#define ORVANE_MEDIA_COVERLAY_H

#include <atomic>
#include <cstdint>
#include <string>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavutil/frame.h>
}

#include "media/Contract.h"
#include "media/QtLock.h"

class COverlay {
 public:
  // What texts are measured with and drawn in, in the working directory.
  static constexpr char kFontFile[] = "wryh.ttf";

  COverlay();
  virtual ~COverlay();

  COverlay(const COverlay&) = delete;
  COverlay& operator=(const COverlay&) = delete;

  // The size in pixels of text (UTF-8, on one line) in that font at that size, into *width and
  // *height and kept for GetMeasuredSize; 0 x 0 when it can't be had. The width of a text of more
  // than 1000 characters is reckoned from as many of them, so that no text holds the window up.
  void MeasureText(std::string fontPath, int fontSize, std::string text, int* width, int* height);
  void GetMeasuredSize(int* width, int* height);

  // This layer is a text layer.
  void SetEnabled(bool enabled);
  bool IsEnabled() const;

  // width: of the text on the canvas, in pixels. height: kept, read by nothing; the height of the
  // text follows from its width.
  void SetTextSize(int width, int height);
  // The left and top edge of the text on the canvas.
  void SetTextPosition(int x, int y);
  // color: 0xRRGGBBAA. text: any bytes, drawn as UTF-8 up to the first zero byte.
  void SetTextContent(unsigned color, std::string text);

  // Copies image onto canvas with its top left corner at x, y, cut to the canvas. -1 when nothing
  // of it falls on the canvas.
  int Blit(AVFrame* canvas, AVFrame* image, int x, int y);
  // Draws the text onto canvas. 0 or -1.
  int DrawText(AVFrame* canvas);

 private:
  // What a build of the graph needs, copied under the lock.
  struct Text {
    int width;
    int x;
    int y;
    int measureFontSize;
    int measuredWidth;
    std::uint32_t color;
    std::string content;
  };

  Text CopyText();
  int Rebuild(const AVFrame* canvas);
  const char* BuildGraph(const AVFrame* canvas, const Text& text, int fontSize, int* error);
  int CreateTextFilter(const Text& text, int fontSize, AVFilterContext** filter);
  void FreeGraph();

  int m_frameWidth;   // canvas size at the last build; compose thread
  int m_frameHeight;  // the same
  int m_textWidth ORVANE_GUARDED_BY(m_lock);
  int m_textHeight ORVANE_GUARDED_BY(m_lock);
  int m_x ORVANE_GUARDED_BY(m_lock);
  int m_y ORVANE_GUARDED_BY(m_lock);
  int m_measureFontSize ORVANE_GUARDED_BY(m_lock);
  int m_measuredWidth ORVANE_GUARDED_BY(m_lock);
  int m_measuredHeight ORVANE_GUARDED_BY(m_lock);
  std::uint32_t m_color ORVANE_GUARDED_BY(m_lock);
  std::string m_text ORVANE_GUARDED_BY(m_lock);
  // Set by a setter after its store, cleared by the build before its read: a change made during a
  // build causes one more build and is never lost.
  std::atomic<bool> m_dirty;
  media::ThreadClaim m_composer;
  AVFilterContext* m_source;       // compose thread, as all of the graph
  AVFilterContext* m_extraFilter;  // a further filter of the graph; none is set now
  AVFilterContext* m_sink;
  AVFilterGraph* m_graph;
  std::atomic<bool> m_enabled;
  media::Mutex m_lock;
};

#endif
