// Which part of an image falls on a canvas, one axis at a time.
#ifndef ORVANE_MEDIA_CLIP_H
#define ORVANE_MEDIA_CLIP_H

namespace media {

struct Span {
  int source;  // first pixel to copy, in the image
  int target;  // where it goes, on the canvas
  int length;  // pixels to copy; 0 or less: nothing of the image falls on the canvas
};

// An image of imageLength pixels placed at offset, which may be negative, on a canvas of
// canvasLength pixels.
Span ClipSpan(int canvasLength, int imageLength, int offset);

}  // namespace media

#endif
