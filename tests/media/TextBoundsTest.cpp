#include "media/TextBounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

using media::FontSizeForWidth;
using media::LargestFontSize;
using media::SampleText;
using media::TextSample;
using media::VisiblePart;
using media::WholeWidth;

namespace {

std::string Repeat(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

// The characters from U+4E00 on, three bytes each.
std::string Different(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    const int code = 0x4E00 + i;
    text += static_cast<char>(0xE0 | code >> 12);
    text += static_cast<char>(0x80 | (code >> 6 & 0x3F));
    text += static_cast<char>(0x80 | (code & 0x3F));
  }
  return text;
}

}  // namespace

TEST(TextBoundsFontSizeForWidth, ScalesTheMeasurementTruncating) {
  EXPECT_EQ(FontSizeForWidth(100, 547, 547), 100);
  EXPECT_EQ(FontSizeForWidth(100, 1094, 547), 200);
  EXPECT_EQ(FontSizeForWidth(100, 546, 547), 99);
  EXPECT_EQ(FontSizeForWidth(100, 0, 547), 0);
  EXPECT_EQ(FontSizeForWidth(100, 50000000, 10000000), 500);
}

TEST(TextBoundsFontSizeForWidth, NoSizeFitsATextWithoutWidth) {
  EXPECT_EQ(FontSizeForWidth(100, 300, 0), -1);
  EXPECT_EQ(FontSizeForWidth(0, 0, 0), -1);
  EXPECT_EQ(FontSizeForWidth(100, 300, -5), -1);
  EXPECT_EQ(FontSizeForWidth(100, -300, 5), -1);
}

TEST(TextBoundsFontSizeForWidth, LargeNumbersDoNotOverflow) {
  EXPECT_EQ(FontSizeForWidth(100, INT_MAX, 1), INT_MAX);
}

TEST(TextBoundsLargestFontSize, BoundsTheBitmapsOfAllDifferentCharacters) {
  for (const int count : {1, 20, 500, 20000}) {
    const double size = LargestFontSize(Different(count));
    EXPECT_LE(size * size * count, 64.0 * 1024 * 1024) << count;
    EXPECT_GE((size + 1) * (size + 1) * count, 64.0 * 1024 * 1024) << count;
  }
}

TEST(TextBoundsLargestFontSize, CountsACharacterOnce) {
  EXPECT_EQ(LargestFontSize(Repeat("ab", 1000)), LargestFontSize("ab"));
  EXPECT_GT(LargestFontSize("a"), LargestFontSize("ab"));
}

TEST(TextBoundsLargestFontSize, AnyBytesHaveOne) {
  EXPECT_GE(LargestFontSize(""), 1);
  EXPECT_GE(LargestFontSize("\xff\xfe\x80\x80\x80\x80\x80\xc3"), 1);
  EXPECT_GE(LargestFontSize(std::string(100000, '\x80')), 1);
}

TEST(TextBoundsVisiblePart, ATextOfOrdinaryLengthStaysWhole) {
  const std::string text = "Hello\r\n世界\xff\n" + Repeat("界", 4000);
  EXPECT_EQ(VisiblePart(text, 100, 1920, 1080), text);
  EXPECT_EQ(VisiblePart("", 100, 1920, 1080), "");
}

TEST(TextBoundsVisiblePart, TheEndOfALineFarBeyondTheCanvasGoes) {
  EXPECT_EQ(VisiblePart(Repeat("界", 100000), 100, 1920, 1080), Repeat("界", 4096));
}

TEST(TextBoundsVisiblePart, ATextMovedFarToTheLeftKeepsWhatMayShow) {
  EXPECT_EQ(VisiblePart(std::string(100000, 'i'), 100, 1920 + 500000, 1080).size(), 80307U);
}

TEST(TextBoundsVisiblePart, EachLineIsCutByItself) {
  const std::string line(5000, 'a');
  EXPECT_EQ(VisiblePart(line + "\n" + line, 100, 1920, 1080),
            line.substr(0, 4096) + "\n" + line.substr(0, 4096));
}

TEST(TextBoundsVisiblePart, LinesFarBelowTheCanvasGo) {
  const std::string kept = VisiblePart(Repeat("line\n", 20000), 100, 1920, 1080);
  EXPECT_LE(kept.size(), 5U * 50);
  EXPECT_GE(kept.size(), 5U * 11);
}

TEST(TextBoundsVisiblePart, ATextBesideTheCanvasAndASizeOfZeroDoNoHarm) {
  EXPECT_EQ(VisiblePart("text", 0, -5000, -5000), "text");
  EXPECT_EQ(VisiblePart("text", 0, 4000000000L, 4000000000L), "text");
}

// A size that the glyphs can't have shows less of a text than the one that they get.
TEST(TextBoundsBoundText, HoldsWhatShowsAtTheSizeThatItIsDrawnIn) {
  std::string lines;
  for (int i = 0; i < 1000; ++i) {
    lines += Different(i + 1).substr(Different(i).size()) + "\n";
  }
  for (const int wanted : {20, 1000, 100000}) {
    const media::DrawnText drawn = media::BoundText(lines, wanted, 1920, 31080);
    EXPECT_LE(drawn.fontSize, std::min(wanted, LargestFontSize(drawn.text))) << wanted;
    EXPECT_EQ(drawn.text, VisiblePart(lines, drawn.fontSize, 1920, 31080)) << wanted;
    // What doesn't show takes nothing from what does.
    EXPECT_GE(drawn.fontSize, std::min(wanted, 2 * LargestFontSize(lines))) << wanted;
  }
  const media::DrawnText few = media::BoundText("a\nb\n", 50, 1920, 1080);
  EXPECT_EQ(50, few.fontSize);
  EXPECT_EQ("a\nb\n", few.text);
}

TEST(TextBoundsSampleText, ATextOfUpTo1000CharactersIsOnePiece) {
  for (const std::string& text : {std::string(), std::string("i"), Different(1000)}) {
    const TextSample sample = SampleText(text);
    ASSERT_EQ(sample.pieces.size(), 1U);
    EXPECT_EQ(sample.pieces[0], text);
    EXPECT_EQ(WholeWidth(sample, 4711), text.empty() ? 0 : 4711);
  }
}

TEST(TextBoundsSampleText, OfALongerOneTenPiecesFromBeginToEnd) {
  const std::string text = Different(10000);
  const TextSample sample = SampleText(text);
  ASSERT_EQ(sample.pieces.size(), 10U);
  EXPECT_EQ(sample.sampled, 1000U);
  EXPECT_EQ(sample.characters, 10000U);
  EXPECT_EQ(sample.pieces.front(), text.substr(0, 300));
  EXPECT_EQ(sample.pieces.back(), text.substr(text.size() - 300));
  std::size_t behind = 0;
  for (const std::string& piece : sample.pieces) {
    EXPECT_EQ(piece.size(), 300U);
    const std::size_t found = text.find(piece, behind);
    ASSERT_NE(found, std::string::npos);
    behind = found + piece.size();
  }
  EXPECT_EQ(WholeWidth(sample, 100000), 1000000);
}

TEST(TextBoundsSampleText, PiecesOfATextJustOverTheLimitDoNotOverlap) {
  const std::string text = Different(1001);
  std::size_t characters = 0;
  std::string joined;
  for (const std::string& piece : SampleText(text).pieces) {
    characters += piece.size() / 3;
    joined += piece;
  }
  EXPECT_EQ(characters, 1000U);
  EXPECT_EQ(joined.substr(0, 300), text.substr(0, 300));
  EXPECT_EQ(joined.substr(joined.size() - 300), text.substr(text.size() - 300));
}

TEST(TextBoundsSampleText, EndsAtTheFirstZeroByte) {
  EXPECT_EQ(SampleText(std::string("ab\0cd", 5)).pieces[0], "ab");
}

TEST(TextBoundsSampleText, AnyBytesHaveABoundedSample) {
  const TextSample sample = SampleText(std::string(100000, '\x80'));
  EXPECT_EQ(sample.characters, 25000U);
  std::size_t bytes = 0;
  for (const std::string& piece : sample.pieces) {
    bytes += piece.size();
  }
  EXPECT_LE(bytes, 4000U);
}

TEST(TextBoundsSampleText, TheWidthOfABookDoesNotOverflow) {
  EXPECT_EQ(WholeWidth(SampleText(std::string(100000000, 'a')), 100000), INT_MAX);
}
