#include "platform/linux/SizeChange.h"

#include <cstdint>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/intreadwrite.h>
}

namespace platform {

bool TellSize(AVPacket* packet, Size size) {
  // Flags, width and height, each in four bytes with the lowest first.
  std::uint8_t* data = av_packet_new_side_data(packet, AV_PKT_DATA_PARAM_CHANGE, 12);
  if (data == nullptr) {
    return false;
  }
  AV_WL32(data, static_cast<std::uint32_t>(AV_SIDE_DATA_PARAM_CHANGE_DIMENSIONS));
  AV_WL32(data + 4, static_cast<std::uint32_t>(size.width));
  AV_WL32(data + 8, static_cast<std::uint32_t>(size.height));
  return true;
}

}  // namespace platform
