# Every library of the system, found once, as imported targets.
find_package(Threads REQUIRED)
find_package(Qt5 5.15 REQUIRED COMPONENTS Core DBus Gui Widgets Network Multimedia Test)
find_package(PkgConfig REQUIRED)

function(orvane_pkg name)
  pkg_check_modules(${name} REQUIRED IMPORTED_TARGET ${ARGN})
endfunction()

orvane_pkg(DBUS dbus-1)
orvane_pkg(FFMPEG libavformat libavdevice libavcodec libavfilter libavutil libswscale libswresample)
orvane_pkg(SDL2 sdl2)
orvane_pkg(SDL2_TTF SDL2_ttf)
orvane_pkg(X11 x11)
orvane_pkg(XCB xcb xcb-composite xcb-dpms xcb-ewmh xcb-icccm xcb-screensaver xcb-shm)
orvane_pkg(X11 x11)
orvane_pkg(PULSE libpulse)
orvane_pkg(PIPEWIRE libpipewire-0.3)
# For tests that change a screen's size.
orvane_pkg(XCB_RANDR xcb-randr)
# For tests that play sound.
orvane_pkg(PULSE_SIMPLE libpulse-simple)

# libyuv of Debian comes without a pkg-config file.
find_library(YUV_LIBRARY yuv REQUIRED)
find_path(YUV_INCLUDE_DIR libyuv.h REQUIRED)
add_library(orvane_yuv INTERFACE)
target_link_libraries(orvane_yuv INTERFACE ${YUV_LIBRARY})
target_include_directories(orvane_yuv SYSTEM INTERFACE ${YUV_INCLUDE_DIR})
