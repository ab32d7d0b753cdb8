// Which layer is which, over slots that are given out again.
#include "shell/LayerBook.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using shell::kNoLayer;
using shell::LayerBook;
using shell::LayerKind;
using shell::LayerRecord;
using shell::ShowsTheSame;

using Ints = std::vector<int>;

LayerRecord Layer(LayerKind kind, const QString& name = QString(),
                  const QString& source = QString()) {
  LayerRecord layer;
  layer.kind = kind;
  layer.name = name;
  layer.source = source;
  return layer;
}

TEST(LayerBook, ALayerIsFoundByItsSlotAndByItsId) {
  LayerBook book;
  const int first = book.Add(4, Layer(LayerKind::kDesk, "desk"));
  const int second = book.Add(0, Layer(LayerKind::kText, "text"));
  EXPECT_NE(first, kNoLayer);
  EXPECT_NE(first, second);
  EXPECT_EQ(book.IdAt(4), first);
  EXPECT_EQ(book.SlotOf(second), 0);
  ASSERT_NE(book.Find(0), nullptr);
  EXPECT_EQ(book.Find(0)->name, QString("text"));
  book.Find(0)->name = "another";
  EXPECT_EQ(static_cast<const LayerBook&>(book).Find(0)->name, QString("another"));
}

TEST(LayerBook, WhereNoLayerIsThereIsNone) {
  LayerBook book;
  for (const int slot : {-1, 0, 3}) {
    EXPECT_EQ(book.Find(slot), nullptr);
    EXPECT_EQ(book.IdAt(slot), kNoLayer);
    book.Remove(slot);
  }
  EXPECT_EQ(book.SlotOf(1), -1);
  EXPECT_EQ(book.SlotOf(kNoLayer), -1);
}

TEST(LayerBook, AnIdIsNeverGivenTwiceAndComesBackWithItsLayer) {
  LayerBook book;
  const int gone = book.Add(0, Layer(LayerKind::kText, "A"));
  book.Remove(0);
  EXPECT_EQ(book.SlotOf(gone), -1);
  const int next = book.Add(0, Layer(LayerKind::kText, "B"));
  EXPECT_NE(next, gone);
  EXPECT_EQ(book.Add(1, Layer(LayerKind::kText, "A"), gone), gone);
  EXPECT_EQ(book.SlotOf(gone), 1);
  EXPECT_EQ(book.SlotOf(next), 0);
  book.Clear();
  EXPECT_EQ(book.SlotOf(next), -1);
  EXPECT_GT(book.Add(0, Layer(LayerKind::kText, "C")), next);
}

TEST(LayerBook, TheFirstLayersAreThoseOfTheMomentWhenTheyWereMarked) {
  LayerBook book;
  const int desk = book.Add(0, Layer(LayerKind::kDesk));
  const int camera = book.Add(1, Layer(LayerKind::kCamera, "", "c"));
  book.MarkFirst();
  book.Add(2, Layer(LayerKind::kText, "mine"));
  EXPECT_EQ(book.FirstIds(), Ints({desk, camera}));
  book.Remove(0);
  book.Add(0, Layer(LayerKind::kDesk));
  EXPECT_EQ(book.FirstIds(), Ints({camera}));
}

TEST(LayerBook, ShowTheSameWhatIsMadeFromTheSame) {
  LayerRecord red = Layer(LayerKind::kText, "t");
  red.color = 0xFF0000FF;
  LayerRecord elsewhere = Layer(LayerKind::kPicture, "图片", "/p.png");
  elsewhere.place = {1, 2, 3, 4};
  elsewhere.shown = false;
  const struct {
    LayerRecord a;
    LayerRecord b;
    bool same;
  } pairs[] = {
      {Layer(LayerKind::kDesk, "全屏桌面"), Layer(LayerKind::kDesk, "named otherwise"), true},
      {Layer(LayerKind::kDesk), Layer(LayerKind::kWindow), false},
      {Layer(LayerKind::kCamera, "", "a"), Layer(LayerKind::kCamera, "", "a"), true},
      {Layer(LayerKind::kCamera, "", "a"), Layer(LayerKind::kCamera, "", "b"), false},
      {Layer(LayerKind::kWindow, "a"), Layer(LayerKind::kWindow, "a"), true},
      {Layer(LayerKind::kWindow, "a"), Layer(LayerKind::kWindow, "b"), false},
      {Layer(LayerKind::kText, "t"), Layer(LayerKind::kText, "t"), true},
      {Layer(LayerKind::kText, "t"), Layer(LayerKind::kText, "u"), false},
      {Layer(LayerKind::kText, "t"), red, false},
      {Layer(LayerKind::kPicture, "图片", "/p.png"), elsewhere, true},
      {Layer(LayerKind::kPicture, "", "/f"), Layer(LayerKind::kFilm, "", "/f"), false},
  };
  for (const auto& pair : pairs) {
    EXPECT_EQ(ShowsTheSame(pair.a, pair.b), pair.same)
        << pair.a.name.toStdString() << " " << pair.b.name.toStdString();
  }
}

TEST(LayerBook, EachLayerOfASceneMatchesOneOfItsOwn) {
  LayerBook book;
  const int desk = book.Add(0, Layer(LayerKind::kDesk));
  book.Add(1, Layer(LayerKind::kCamera, "", "c"));
  const int one = book.Add(2, Layer(LayerKind::kText, "twice"));
  const int two = book.Add(3, Layer(LayerKind::kText, "twice"));
  const shell::Scene scene = {Layer(LayerKind::kText, "twice"), Layer(LayerKind::kDesk),
                              Layer(LayerKind::kDesk), Layer(LayerKind::kText, "twice"),
                              Layer(LayerKind::kText, "twice")};
  EXPECT_EQ(book.Match(scene), Ints({one, desk, kNoLayer, two, kNoLayer}));
  EXPECT_EQ(book.Match({}), Ints());
}

}  // namespace
