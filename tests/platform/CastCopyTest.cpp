// The copy of a shared picture, and what becomes of it when the memory is made shorter meanwhile.
#include "platform/linux/portal/CastCopy.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace {

using platform::CastCopy;
using platform::CastLayout;
using platform::CastPicture;
using platform::CastPictures;
using platform::CastPixels;
using platform::CastView;

constexpr std::int64_t kHead = 4096;  // of the file, before what is mapped

std::uint8_t ByteAt(std::int64_t place) {
  return static_cast<std::uint8_t>(place * 31 + place / 251);
}

// A file as sources share one: mapped, and filled as far as it goes.
class SharedFile {
 public:
  SharedFile(std::int64_t mapped, std::int64_t filled, bool isSealed)
      : m_file(memfd_create("cast", MFD_CLOEXEC | MFD_ALLOW_SEALING)),
        m_bytes(static_cast<std::size_t>(mapped)),
        m_data(mmap(nullptr, m_bytes, PROT_READ, MAP_SHARED, m_file, kHead)) {
    EXPECT_NE(m_data, MAP_FAILED);
    std::vector<std::uint8_t> content(static_cast<std::size_t>(kHead + filled));
    for (std::int64_t i = 0; i < filled; ++i) {
      content[static_cast<std::size_t>(kHead + i)] = ByteAt(i);
    }
    EXPECT_EQ(write(m_file, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    if (isSealed) {
      EXPECT_EQ(fcntl(m_file, F_ADD_SEALS, F_SEAL_SHRINK), 0);
    }
  }
  ~SharedFile() {
    munmap(m_data, m_bytes);
    close(m_file);
  }
  SharedFile(const SharedFile&) = delete;
  SharedFile& operator=(const SharedFile&) = delete;

  void Shorten(std::int64_t left) { EXPECT_EQ(ftruncate(m_file, kHead + left), 0); }
  CastView View(const CastLayout& layout) const {
    return {{static_cast<const std::uint8_t*>(m_data), m_file, kHead}, layout};
  }

 private:
  int m_file;
  std::size_t m_bytes;
  void* m_data;
};

struct Case {
  const char* what;
  CastLayout layout;
  CastPixels pixels;
};

const Case kCases[] = {
    {"packed rows", {0, 80, {20, 10}}, CastPixels::BlueFirst},
    {"packed rows, red first", {0, 80, {20, 10}}, CastPixels::RedFirst},
    {"padded rows", {0, 96, {20, 10}}, CastPixels::BlueFirst},
    {"an offset", {64, 80, {20, 10}}, CastPixels::BlueFirst},
    {"a part of it", {172, 80, {10, 5}}, CastPixels::BlueFirst},
    {"a part of it, red first", {172, 80, {10, 5}}, CastPixels::RedFirst},
    {"more than a strip", {40, 4096, {1000, 100}}, CastPixels::BlueFirst},
    {"more than a strip, red first", {0, 4000, {1000, 100}}, CastPixels::RedFirst},
    {"a row in each strip", {8, 200'000, {10, 3}}, CastPixels::BlueFirst},
    {"one pixel", {4, 4, {1, 1}}, CastPixels::RedFirst},
};

std::int64_t EndOf(const CastLayout& layout) {
  return layout.offset + layout.stride * (layout.size.height - 1) + layout.size.width * 4;
}

std::shared_ptr<CastPicture> Copied(const CastView& view, CastPixels pixels) {
  CastPictures pictures;
  CastCopy copy;
  std::shared_ptr<CastPicture> picture = pictures.Take(view.layout.size);
  return copy.Copy(view, pixels, picture.get()) ? picture : nullptr;
}

void ExpectCopied(const CastView& view, CastPixels pixels) {
  const auto picture = Copied(view, pixels);
  ASSERT_NE(picture, nullptr);
  const std::uint8_t* byte = picture->data;
  for (int y = 0; y < view.layout.size.height; ++y) {
    for (int x = 0; x < view.layout.size.width; ++x) {
      const std::int64_t pixel = view.layout.offset + y * view.layout.stride + x * 4;
      for (const int channel : {0, 1, 2, 3}) {
        const bool swaps = pixels == CastPixels::RedFirst && channel % 2 == 0;
        ASSERT_EQ(*byte++, ByteAt(pixel + (swaps ? 2 - channel : channel))) << x << ", " << y;
      }
    }
  }
}

TEST(CastCopy, CopiesWhateverTheMemoryIs) {
  for (const Case& row : kCases) {
    SCOPED_TRACE(row.what);
    const std::int64_t bytes = EndOf(row.layout);
    const SharedFile sealed(bytes, bytes, true);
    const SharedFile file(bytes, bytes, false);
    CastView ownedByPipeWire = sealed.View(row.layout);
    ownedByPipeWire.memory.file = -1;
    ExpectCopied(sealed.View(row.layout), row.pixels);
    ExpectCopied(file.View(row.layout), row.pixels);
    ExpectCopied(ownedByPipeWire, row.pixels);
  }
}

// A touch of its mapping would end this test.
TEST(CastCopy, AFileThatWasMadeShorterHoldsNoPicture) {
  for (const Case& row : kCases) {
    SCOPED_TRACE(row.what);
    const std::int64_t bytes = EndOf(row.layout);
    for (const std::int64_t left : {bytes - 1, bytes / 2, std::int64_t{0}}) {
      SharedFile file(bytes, bytes, false);
      file.Shorten(left);
      EXPECT_EQ(Copied(file.View(row.layout), row.pixels), nullptr) << left;
    }
  }
}

TEST(CastCopy, AFileThatWasTooShortFromTheStartHoldsNoPicture) {
  for (const Case& row : kCases) {
    SCOPED_TRACE(row.what);
    const SharedFile file(EndOf(row.layout), EndOf(row.layout) - 1, true);
    EXPECT_EQ(Copied(file.View(row.layout), row.pixels), nullptr);
  }
}

// The system's reading would cost a copy by strips where rows are padded.
TEST(CastCopy, AFileThatStaysAsLongIsReadWhereItIsMapped) {
  const CastLayout layout{0, 80, {20, 10}};
  const SharedFile file(800, 800, true);
  const std::vector<std::uint8_t> elsewhere(800, 7);
  CastView view = file.View(layout);
  view.memory.mapped = elsewhere.data();
  const auto picture = Copied(view, CastPixels::BlueFirst);
  ASSERT_NE(picture, nullptr);
  EXPECT_EQ(std::vector<std::uint8_t>(picture->data, picture->data + picture->bytes), elsewhere);
}

TEST(CastCopy, AFileThatHasNoPlacesHoldsNoPicture) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const std::vector<std::uint8_t> memory(800);
  const CastView view{{memory.data(), ends[0], 0}, {0, 80, {20, 10}}};
  EXPECT_EQ(Copied(view, CastPixels::BlueFirst), nullptr);
  EXPECT_EQ(Copied(view, CastPixels::RedFirst), nullptr);
  close(ends[0]);
  close(ends[1]);
}

}  // namespace
