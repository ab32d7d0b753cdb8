#include "platform/linux/portal/CastPicture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <thread>
#include <vector>

namespace {

using platform::CastPicture;
using platform::CastPictureRef;
using platform::CastPictures;

TEST(CastPicture, MemoryIsUsedAgain) {
  CastPictures pictures;
  std::set<const std::uint8_t*> seen;
  CastPictureRef newest;
  for (int i = 0; i < 100; ++i) {
    newest = pictures.Take({64, 32});
    ASSERT_NE(nullptr, newest);
    EXPECT_EQ(64U * 32 * 4, newest->bytes);
    EXPECT_EQ((platform::Size{64, 32}), newest->size);
    seen.insert(newest->data);
  }
  EXPECT_EQ(2U, seen.size());
}

TEST(CastPicture, OneThatIsReadIsNotWritten) {
  CastPictures pictures;
  const std::shared_ptr<CastPicture> first = pictures.Take({8, 8});
  std::memset(first->data, 7, first->bytes);
  const CastPictureRef kept = first;
  for (int i = 0; i < 10; ++i) {
    const auto other = pictures.Take({8, 8});
    std::memset(other->data, i, other->bytes);
  }
  EXPECT_EQ(7, kept->data[0]);
  EXPECT_EQ(7, kept->data[kept->bytes - 1]);
}

TEST(CastPicture, OutlivesItsPoolAndAChangeOfSize) {
  std::vector<CastPictureRef> kept;
  {
    CastPictures pictures;
    for (int side = 1; side < 20; ++side) {
      const auto picture = pictures.Take({side, side});
      ASSERT_NE(nullptr, picture);
      std::memset(picture->data, side, picture->bytes);
      kept.push_back(picture);
    }
  }
  for (const CastPictureRef& picture : kept) {
    EXPECT_EQ(picture->size.width, picture->data[picture->bytes - 1]);
  }
}

TEST(CastPicture, ReadersMayBeOnAnotherThread) {
  CastPictures pictures;
  std::vector<std::thread> readers;
  for (int i = 0; i < 200; ++i) {
    const auto picture = pictures.Take({64, 64});
    std::memset(picture->data, i, picture->bytes);
    readers.emplace_back([shared = CastPictureRef(picture), i]() mutable {
      EXPECT_EQ(static_cast<std::uint8_t>(i), shared->data[shared->bytes - 1]);
      shared.reset();
    });
  }
  for (std::thread& reader : readers) {
    reader.join();
  }
}

}  // namespace
