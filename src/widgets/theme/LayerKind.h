// The two kinds of rows of the layer list, as the rows' records hold them.
#ifndef ORVANE_WIDGETS_THEME_LAYERKIND_H
#define ORVANE_WIDGETS_THEME_LAYERKIND_H

#include <cstdint>

namespace widgets {

inline constexpr std::int32_t kTextLayer = 0;
inline constexpr std::int32_t kOtherLayer = 1;  // desktop, camera, window, picture, media file

}  // namespace widgets

#endif
