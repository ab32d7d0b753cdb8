// The copy of a shared picture: turned where it lies, and what becomes of it when its memory is
// made shorter meanwhile.
#include "platform/linux/portal/CastCopy.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <numeric>
#include <vector>

namespace {

using platform::CastCopy;
using platform::CastLayout;
using platform::CastPicture;
using platform::CastPictures;
using platform::CastPixels;
using platform::CastTurn;
using platform::CastView;
using platform::Size;
using platform::Upright;

constexpr std::int64_t kHead = 4096;  // of the file, before what is mapped

using Bytes = std::vector<std::uint8_t>;

std::uint8_t ByteAt(std::int64_t place) {
  return static_cast<std::uint8_t>(place * 31 + place / 251);
}

Bytes AnyBytes(std::int64_t count) {
  Bytes bytes;
  for (std::int64_t i = 0; i < count; ++i) {
    bytes.push_back(ByteAt(i));
  }
  return bytes;
}

// A file as sources share one: mapped, and as long as its content.
class SharedFile {
 public:
  SharedFile(std::size_t mapped, const Bytes& content, bool isSealed)
      : m_file(memfd_create("cast", MFD_CLOEXEC | MFD_ALLOW_SEALING)),
        m_bytes(mapped),
        m_data(mmap(nullptr, m_bytes, PROT_READ, MAP_SHARED, m_file, kHead)) {
    EXPECT_NE(m_data, MAP_FAILED);
    EXPECT_EQ(pwrite(m_file, content.data(), content.size(), kHead),
              static_cast<ssize_t>(content.size()));
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

  void Shorten(std::size_t left) const {
    EXPECT_EQ(ftruncate(m_file, kHead + static_cast<off_t>(left)), 0);
  }
  CastView View(const CastLayout& layout) const {
    return {{static_cast<const std::uint8_t*>(m_data), m_file, kHead}, layout, CastTurn::None};
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
  std::shared_ptr<CastPicture> picture = pictures.Take(Upright(view.layout.size, view.turn));
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
    const Bytes bytes = AnyBytes(EndOf(row.layout));
    const SharedFile sealed(bytes.size(), bytes, true);
    const SharedFile file(bytes.size(), bytes, false);
    CastView ownedByPipeWire = sealed.View(row.layout);
    ownedByPipeWire.memory.file = -1;
    ExpectCopied(sealed.View(row.layout), row.pixels);
    ExpectCopied(file.View(row.layout), row.pixels);
    ExpectCopied(ownedByPipeWire, row.pixels);
  }
}

// A picture of numbers, to be mirrored and turned a step at a time.
struct Grid {
  Size size;
  std::vector<int> cells;

  int At(int x, int y) const { return cells[static_cast<std::size_t>(y * size.width + x)]; }
};

Grid Numbered(const Size& size) {
  Grid grid{size, std::vector<int>(static_cast<std::size_t>(size.width * size.height))};
  std::iota(grid.cells.begin(), grid.cells.end(), 0);
  return grid;
}

Grid Mirrored(const Grid& grid) {
  Grid mirrored{grid.size, {}};
  for (int y = 0; y < grid.size.height; ++y) {
    for (int x = grid.size.width - 1; x >= 0; --x) {
      mirrored.cells.push_back(grid.At(x, y));
    }
  }
  return mirrored;
}

// By a quarter against the clock: its right column becomes the top row.
Grid TurnedLeft(const Grid& grid) {
  Grid turned{{grid.size.height, grid.size.width}, {}};
  for (int x = grid.size.width - 1; x >= 0; --x) {
    for (int y = 0; y < grid.size.height; ++y) {
      turned.cells.push_back(grid.At(x, y));
    }
  }
  return turned;
}

// As a compositor would give it.
Grid Lying(const Size& upright, CastTurn turn) {
  const int number = static_cast<int>(turn);
  Grid grid = Numbered(upright);
  if (number >= static_cast<int>(CastTurn::Flipped)) {
    grid = Mirrored(grid);
  }
  for (int quarter = 0; quarter < number % 4; ++quarter) {
    grid = TurnedLeft(grid);
  }
  return grid;
}

Bytes PixelsOf(const Grid& grid, CastPixels pixels, std::int64_t stride) {
  Bytes bytes(static_cast<std::size_t>(stride * grid.size.height));
  for (int y = 0; y < grid.size.height; ++y) {
    for (int x = 0; x < grid.size.width; ++x) {
      const auto low = static_cast<std::uint8_t>(grid.At(x, y) % 256);
      const auto high = static_cast<std::uint8_t>(grid.At(x, y) / 256 % 256);
      std::uint8_t* pixel = bytes.data() + y * stride + x * 4;
      pixel[0] = pixels == CastPixels::BlueFirst ? low : 0x5a;
      pixel[1] = high;
      pixel[2] = pixels == CastPixels::BlueFirst ? 0x5a : low;
      pixel[3] = 0xff;
    }
  }
  return bytes;
}

// Of sizes below, at and beyond what is copied at a time.
TEST(CastCopy, APictureThatLiesTurnedStands) {
  for (const Size& size : {Size{3, 2}, Size{1, 5}, Size{32, 16}, Size{33, 47}, Size{400, 300}}) {
    const Bytes expected = PixelsOf(Numbered(size), CastPixels::BlueFirst, size.width * 4);
    for (int number = 0; number < 8; ++number) {
      const auto turn = static_cast<CastTurn>(number);
      const Grid lying = Lying(size, turn);
      const CastLayout layout{0, lying.size.width * 4 + 64, lying.size};
      for (const CastPixels pixels : {CastPixels::BlueFirst, CastPixels::RedFirst}) {
        const Bytes bytes = PixelsOf(lying, pixels, layout.stride);
        for (const bool isSealed : {true, false}) {
          const SharedFile file(bytes.size(), bytes, isSealed);
          CastView view = file.View(layout);
          view.turn = turn;
          const auto picture = Copied(view, pixels);
          ASSERT_NE(picture, nullptr);
          EXPECT_EQ(picture->size, size);
          EXPECT_TRUE(Bytes(picture->data, picture->data + picture->bytes) == expected)
              << number << " of " << size.width << " x " << size.height;
        }
      }
    }
  }
}

// A touch of its mapping would end this test.
TEST(CastCopy, AFileThatWasMadeShorterHoldsNoPicture) {
  for (const Case& row : kCases) {
    SCOPED_TRACE(row.what);
    const Bytes bytes = AnyBytes(EndOf(row.layout));
    for (const std::size_t left : {bytes.size() - 1, bytes.size() / 2, std::size_t{0}}) {
      const SharedFile file(bytes.size(), bytes, false);
      file.Shorten(left);
      EXPECT_EQ(Copied(file.View(row.layout), row.pixels), nullptr) << left;
    }
  }
}

TEST(CastCopy, AFileThatWasTooShortFromTheStartHoldsNoPicture) {
  for (const Case& row : kCases) {
    SCOPED_TRACE(row.what);
    const Bytes bytes = AnyBytes(EndOf(row.layout) - 1);
    const SharedFile file(bytes.size() + 1, bytes, true);
    EXPECT_EQ(Copied(file.View(row.layout), row.pixels), nullptr);
  }
}

// The system's reading would cost a copy by strips where rows are padded.
TEST(CastCopy, AFileThatStaysAsLongIsReadWhereItIsMapped) {
  const CastLayout layout{0, 80, {20, 10}};
  const SharedFile file(800, AnyBytes(800), true);
  const Bytes elsewhere(800, 7);
  CastView view = file.View(layout);
  view.memory.mapped = elsewhere.data();
  const auto picture = Copied(view, CastPixels::BlueFirst);
  ASSERT_NE(picture, nullptr);
  EXPECT_EQ(Bytes(picture->data, picture->data + picture->bytes), elsewhere);
}

TEST(CastCopy, AFileThatHasNoPlacesHoldsNoPicture) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const Bytes memory(800);
  const CastView view{{memory.data(), ends[0], 0}, {0, 80, {20, 10}}, CastTurn::None};
  EXPECT_EQ(Copied(view, CastPixels::BlueFirst), nullptr);
  EXPECT_EQ(Copied(view, CastPixels::RedFirst), nullptr);
  close(ends[0]);
  close(ends[1]);
}

}  // namespace
