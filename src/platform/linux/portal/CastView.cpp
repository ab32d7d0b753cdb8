#include "platform/linux/portal/CastView.h"

#include <spa/buffer/meta.h>

namespace platform {

namespace {

static_assert(static_cast<int>(CastTurn::Turned90) == SPA_META_TRANSFORMATION_90);
static_assert(static_cast<int>(CastTurn::Flipped270) == SPA_META_TRANSFORMATION_Flipped270);

template <typename Meta>
const Meta* Find(const spa_buffer& buffer, spa_meta_type type) {
  return static_cast<const Meta*>(spa_buffer_find_meta_data(&buffer, type, sizeof(Meta)));
}

bool IsCorrupted(const spa_buffer& buffer) {
  const auto* header = Find<spa_meta_header>(buffer, SPA_META_Header);
  return (buffer.datas[0].chunk->flags & SPA_CHUNK_FLAG_CORRUPTED) != 0 ||
         (header != nullptr && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0);
}

CastCrop CropOf(const spa_buffer& buffer) {
  const auto* crop = Find<spa_meta_region>(buffer, SPA_META_VideoCrop);
  if (crop == nullptr) {
    return {};
  }
  return {crop->region.position.x, crop->region.position.y, crop->region.size.width,
          crop->region.size.height};
}

CastTurn TurnOf(const spa_buffer& buffer) {
  const auto* turn = Find<spa_meta_videotransform>(buffer, SPA_META_VideoTransform);
  return turn != nullptr ? CastTurnOf(turn->transform) : CastTurn::None;
}

bool FindMemory(const spa_data& data, CastMemory* memory) {
  const bool isFile = data.type == SPA_DATA_MemFd;
  if (data.data == nullptr || data.chunk == nullptr || (isFile && data.fd < 0) ||
      (!isFile && data.type != SPA_DATA_MemPtr)) {
    return false;
  }
  memory->mapped = static_cast<const std::uint8_t*>(data.data);
  memory->file = isFile ? static_cast<int>(data.fd) : -1;
  memory->fileOffset = data.mapoffset;
  return true;
}

}  // namespace

CastFault ViewCast(const spa_buffer& buffer, const Size& size, CastView* view) {
  if (buffer.n_datas < 1 || !FindMemory(buffer.datas[0], &view->memory)) {
    return CastFault::Unreadable;
  }
  const spa_data& data = buffer.datas[0];
  CastBuffer described;
  described.size = size;
  described.stride = data.chunk->stride;
  described.offset = data.chunk->offset;
  described.bytes = data.chunk->size;
  described.maxBytes = data.maxsize;
  described.crop = CropOf(buffer);
  view->turn = TurnOf(buffer);
  const CastFault fault = LayOut(described, &view->layout);
  // One that is empty may be flagged too: only the pointer has moved, and nothing is lost.
  return fault == CastFault::None && IsCorrupted(buffer) ? CastFault::Corrupted : fault;
}

}  // namespace platform
