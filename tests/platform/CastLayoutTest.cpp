// What a buffer of another program may say of itself, and which bytes are then read.
#include "platform/linux/portal/CastLayout.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>

namespace {

using platform::CastBuffer;
using platform::CastCrop;
using platform::CastFault;
using platform::CastLayout;
using platform::LayOut;
using platform::Size;

constexpr std::int64_t kMaxU32 = std::numeric_limits<std::uint32_t>::max();
constexpr std::int64_t kMinI32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kMaxI32 = std::numeric_limits<std::int32_t>::max();

// 20 x 10, packed: 80 bytes a row, 800 in all.
CastBuffer Packed() {
  CastBuffer buffer;
  buffer.size = {20, 10};
  buffer.stride = 80;
  buffer.bytes = 800;
  buffer.maxBytes = 800;
  return buffer;
}

struct Case {
  const char* what;
  void (*change)(CastBuffer* buffer);
  CastFault fault;
  std::int64_t offset;
  std::int64_t stride;
  Size size;
};

const Case kCases[] = {
    {"packed rows", [](CastBuffer*) {}, CastFault::None, 0, 80, {20, 10}},
    {"no stride told", [](CastBuffer* b) { b->stride = 0; }, CastFault::None, 0, 80, {20, 10}},
    {"padded rows, the last without padding",
     [](CastBuffer* b) {
       b->stride = 96;
       b->bytes = b->maxBytes = 96 * 9 + 80;
     },
     CastFault::None,
     0,
     96,
     {20, 10}},
    {"an offset",
     [](CastBuffer* b) {
       b->offset = 64;
       b->maxBytes = 864;
     },
     CastFault::None,
     64,
     80,
     {20, 10}},
    {"a part of it",
     [](CastBuffer* b) {
       b->crop = {3, 2, 10, 5};
     },
     CastFault::None,
     172,
     80,
     {10, 5}},
    {"a part up to the edges",
     [](CastBuffer* b) {
       b->crop = {19, 9, 1, 1};
     },
     CastFault::None,
     796,
     80,
     {1, 1}},
    {"a part that begins outside",
     [](CastBuffer* b) {
       b->crop = {-1, 0, 5, 5};
     },
     CastFault::None,
     0,
     80,
     {20, 10}},
    {"a part that ends outside",
     [](CastBuffer* b) {
       b->crop = {11, 0, 10, 5};
     },
     CastFault::None,
     0,
     80,
     {20, 10}},
    {"a part beyond any number",
     [](CastBuffer* b) {
       b->crop = {kMaxI32, kMaxI32, kMaxU32, kMaxU32};
     },
     CastFault::None,
     0,
     80,
     {20, 10}},
    {"nothing in use", [](CastBuffer* b) { b->bytes = 0; }, CastFault::Empty, 0, 0, {}},
    {"no width", [](CastBuffer* b) { b->size.width = 0; }, CastFault::Size, 0, 0, {}},
    {"no height", [](CastBuffer* b) { b->size.height = 0; }, CastFault::Size, 0, 0, {}},
    {"a negative width", [](CastBuffer* b) { b->size.width = -20; }, CastFault::Size, 0, 0, {}},
    {"16384 wide", [](CastBuffer* b) { b->size.width = 16384; }, CastFault::Size, 0, 0, {}},
    {"16384 high", [](CastBuffer* b) { b->size.height = 16384; }, CastFault::Size, 0, 0, {}},
    {"too many pixels",
     [](CastBuffer* b) {
       b->size = {16383, 16383};
     },
     CastFault::Size,
     0,
     0,
     {}},
    {"rows that overlap", [](CastBuffer* b) { b->stride = 79; }, CastFault::Stride, 0, 0, {}},
    {"bottom row first", [](CastBuffer* b) { b->stride = -80; }, CastFault::Stride, 0, 0, {}},
    {"the lowest stride", [](CastBuffer* b) { b->stride = kMinI32; }, CastFault::Stride, 0, 0, {}},
    {"the highest stride", [](CastBuffer* b) { b->stride = kMaxI32; }, CastFault::Short, 0, 0, {}},
    {"one byte less in use", [](CastBuffer* b) { b->bytes = 799; }, CastFault::Short, 0, 0, {}},
    {"one byte less of memory",
     [](CastBuffer* b) { b->maxBytes = 799; },
     CastFault::Short,
     0,
     0,
     {}},
    {"more in use than there is",
     [](CastBuffer* b) {
       b->bytes = kMaxU32;
       b->maxBytes = 799;
     },
     CastFault::Short,
     0,
     0,
     {}},
    {"an offset that leaves too little",
     [](CastBuffer* b) { b->offset = 1; },
     CastFault::Short,
     0,
     0,
     {}},
    {"an offset outside", [](CastBuffer* b) { b->offset = kMaxU32; }, CastFault::Short, 0, 0, {}},
    {"no memory", [](CastBuffer* b) { b->maxBytes = 0; }, CastFault::Short, 0, 0, {}},
};

TEST(CastLayout, Table) {
  for (const Case& row : kCases) {
    CastBuffer buffer = Packed();
    row.change(&buffer);
    CastLayout layout;
    EXPECT_EQ(row.fault, LayOut(buffer, &layout)) << row.what;
    EXPECT_EQ(row.offset, layout.offset) << row.what;
    EXPECT_EQ(row.stride, layout.stride) << row.what;
    EXPECT_EQ(row.size, layout.size) << row.what;
  }
}

TEST(CastLayout, WhateverABufferSaysNoByteOutsideIsRead) {
  std::mt19937 random(1);
  const std::int64_t edges[] = {kMinI32, -1, 0, 1, 79, 80, 81, 800, 16383, 16384, kMaxI32, kMaxU32};
  const auto pick = [&] {
    return random() % 2 == 0 ? edges[random() % std::size(edges)]
                             : static_cast<std::int64_t>(random() % 2000);
  };
  int taken = 0;
  for (int i = 0; i < 200'000; ++i) {
    CastBuffer buffer;
    buffer.size = {static_cast<int>(random() % 40), static_cast<int>(random() % 20)};
    buffer.stride = pick();
    buffer.offset = pick() & kMaxU32;
    buffer.bytes = pick() & kMaxU32;
    buffer.maxBytes = pick() & kMaxU32;
    buffer.crop = CastCrop{pick(), pick(), pick(), pick()};
    CastLayout layout;
    if (LayOut(buffer, &layout) != CastFault::None) {
      continue;
    }
    ++taken;
    ASSERT_GE(layout.offset, buffer.offset);
    ASSERT_GT(layout.size.width, 0);
    ASSERT_GT(layout.size.height, 0);
    const std::int64_t end = layout.offset + layout.stride * (layout.size.height - 1) +
                             layout.size.width * platform::kCastPixelBytes;
    ASSERT_LE(end, buffer.maxBytes);
    ASSERT_LE(end, buffer.offset + buffer.bytes);
  }
  EXPECT_GT(taken, 100);
}

TEST(CastLayout, EveryFaultHasWords) {
  for (const CastFault fault :
       {CastFault::None, CastFault::Empty, CastFault::Size, CastFault::Stride, CastFault::Short,
        CastFault::Unreadable, CastFault::Corrupted}) {
    EXPECT_STRNE("", platform::Text(fault));
  }
}

}  // namespace
