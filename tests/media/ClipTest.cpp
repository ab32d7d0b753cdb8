#include "media/Clip.h"

#include <gtest/gtest.h>

TEST(ClipSpan, GivesThePartOfTheImageOnTheCanvas) {
  struct Case {
    int canvas;
    int image;
    int offset;
    int source;
    int target;
    int length;
  };
  const Case cases[] = {
      {100, 30, 0, 0, 0, 30},       // at the edge
      {100, 30, 20, 0, 20, 30},     // inside
      {100, 30, 70, 0, 70, 30},     // touching the far edge
      {100, 30, 71, 0, 71, 29},     // over it
      {100, 30, 99, 0, 99, 1},      // one pixel
      {100, 30, 100, 0, 0, 0},      // beyond
      {100, 30, -1, 1, 0, 29},      // over the near edge
      {100, 30, -29, 29, 0, 1},     // one pixel
      {100, 30, -30, 0, 0, 0},      // before
      {100, 130, 0, 0, 0, 100},     // larger than the canvas
      {100, 130, -10, 10, 0, 100},  // larger on both sides
      {100, 130, -40, 40, 0, 90},   // its end inside
      {100, 100, 0, 0, 0, 100},     // the same
      {100, 0, 0, 0, 0, 0},         // no image
      {0, 30, 0, 0, 0, 0},          // no canvas
      {100, 30, 2147483647, 0, 0, 0},
      {100, 30, -2147483647 - 1, 0, 0, 0},
  };
  for (const Case& c : cases) {
    const media::Span span = media::ClipSpan(c.canvas, c.image, c.offset);
    EXPECT_EQ(span.length, c.length) << c.offset;
    if (c.length > 0) {
      EXPECT_EQ(span.source, c.source) << c.offset;
      EXPECT_EQ(span.target, c.target) << c.offset;
    }
  }
}
