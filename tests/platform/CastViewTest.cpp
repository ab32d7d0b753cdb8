// What is made of a buffer as PipeWire hands it over.
#include "platform/linux/portal/CastView.h"

#include <gtest/gtest.h>
#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>

#include <array>
#include <cstdint>
#include <utility>

namespace {

using platform::CastFault;
using platform::CastTurn;
using platform::CastView;
using platform::Size;
using platform::ViewCast;

// A picture of 20 x 10 in packed rows, in a file.
struct Buffer {
  Buffer() {
    chunk.size = 800;
    chunk.stride = 80;
    data.type = SPA_DATA_MemFd;
    data.fd = 7;
    data.mapoffset = 4096;
    data.maxsize = 800;
    data.data = memory.data();
    data.chunk = &chunk;
    metas[0] = {SPA_META_Header, sizeof header, &header};
    metas[1] = {SPA_META_VideoCrop, sizeof crop, &crop};
    metas[2] = {SPA_META_VideoTransform, sizeof turn, &turn};
    buffer.n_metas = metas.size();
    buffer.n_datas = 1;
    buffer.metas = metas.data();
    buffer.datas = &data;
  }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;

  spa_buffer buffer{};
  spa_data data{};
  spa_chunk chunk{};
  std::array<spa_meta, 3> metas{};
  spa_meta_header header{};
  spa_meta_region crop{};
  spa_meta_videotransform turn{};
  std::array<std::uint8_t, 800> memory{};
};

struct Case {
  const char* what;
  void (*change)(Buffer* buffer);
  CastFault fault;
};

const Case kCases[] = {
    {"a picture", [](Buffer*) {}, CastFault::None},
    {"no notes", [](Buffer* b) { b->buffer.n_metas = 0; }, CastFault::None},
    {"a note that is too small for a header",
     [](Buffer* b) {
       b->metas[0].size = sizeof(spa_meta_header) - 1;
       b->header.flags = SPA_META_HEADER_FLAG_CORRUPTED;
     },
     CastFault::None},
    {"a part of a block", [](Buffer* b) { b->data.type = SPA_DATA_MemPtr; }, CastFault::None},
    {"no memory at all", [](Buffer* b) { b->buffer.n_datas = 0; }, CastFault::Unreadable},
    {"memory that is not mapped", [](Buffer* b) { b->data.data = nullptr; }, CastFault::Unreadable},
    {"memory of which nothing is told", [](Buffer* b) { b->data.chunk = nullptr; },
     CastFault::Unreadable},
    {"a file that isn't there", [](Buffer* b) { b->data.fd = -1; }, CastFault::Unreadable},
    {"a graphics card", [](Buffer* b) { b->data.type = SPA_DATA_DmaBuf; }, CastFault::Unreadable},
    {"an unknown kind", [](Buffer* b) { b->data.type = 4711; }, CastFault::Unreadable},
    {"flagged as damaged", [](Buffer* b) { b->chunk.flags = SPA_CHUNK_FLAG_CORRUPTED; },
     CastFault::Corrupted},
    {"flagged so in its header",
     [](Buffer* b) { b->header.flags = SPA_META_HEADER_FLAG_CORRUPTED; }, CastFault::Corrupted},
    {"only the pointer moved",
     [](Buffer* b) {
       b->chunk.size = 0;
       b->chunk.flags = SPA_CHUNK_FLAG_CORRUPTED;
     },
     CastFault::Empty},
    {"rows that end outside", [](Buffer* b) { b->data.maxsize = 799; }, CastFault::Short},
    {"rows from the bottom up", [](Buffer* b) { b->chunk.stride = -80; }, CastFault::Stride},
};

TEST(CastView, Table) {
  for (const Case& row : kCases) {
    Buffer buffer;
    row.change(&buffer);
    CastView view;
    EXPECT_EQ(row.fault, ViewCast(buffer.buffer, {20, 10}, &view)) << row.what;
  }
}

TEST(CastView, TellsWhereThePictureLies) {
  Buffer buffer;
  buffer.crop.region.position = {3, 2};
  buffer.crop.region.size = {10, 5};
  CastView view;
  ASSERT_EQ(CastFault::None, ViewCast(buffer.buffer, {20, 10}, &view));
  EXPECT_EQ(buffer.memory.data(), view.memory.mapped);
  EXPECT_EQ(7, view.memory.file);
  EXPECT_EQ(4096, view.memory.fileOffset);
  EXPECT_EQ(172, view.layout.offset);
  EXPECT_EQ(80, view.layout.stride);
  EXPECT_EQ((Size{10, 5}), view.layout.size);
}

TEST(CastView, TellsHowThePictureLies) {
  Buffer buffer;
  CastView view;
  for (const auto& [told, turn] :
       {std::pair(SPA_META_TRANSFORMATION_None, CastTurn::None),
        std::pair(SPA_META_TRANSFORMATION_90, CastTurn::Turned90),
        std::pair(SPA_META_TRANSFORMATION_Flipped180, CastTurn::Flipped180)}) {
    buffer.turn.transform = told;
    ASSERT_EQ(CastFault::None, ViewCast(buffer.buffer, {20, 10}, &view));
    EXPECT_EQ(turn, view.turn);
  }
  buffer.buffer.n_metas = 2;
  ASSERT_EQ(CastFault::None, ViewCast(buffer.buffer, {20, 10}, &view));
  EXPECT_EQ(CastTurn::None, view.turn);
}

TEST(CastView, MemoryOfABlockHasNoFile) {
  Buffer buffer;
  buffer.data.type = SPA_DATA_MemPtr;
  CastView view;
  ASSERT_EQ(CastFault::None, ViewCast(buffer.buffer, {20, 10}, &view));
  EXPECT_EQ(-1, view.memory.file);
}

}  // namespace
