// The command line of live_road.
#ifndef ORVANE_BENCH_OPTIONS_H
#define ORVANE_BENCH_OPTIONS_H

#include <string>
#include <vector>

namespace bench {

struct LayerSpec {
  std::string kind;   // desktop, camera, window, text, pic, file
  std::string value;  // device, id or title, text, path
  bool placed = false;
  bool sized = false;
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

struct ScreenArea {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

struct Options {
  std::vector<LayerSpec> layers;  // bottom first
  int width = 1920;
  int height = 1080;
  std::string url;
  double seconds = 10;
  bool live = true;
  bool microphone = true;
  bool preview = true;
  bool portal = false;  // the desktop is one that a portal shares
  // Out of the way of what is filmed at the top and on the left.
  ScreenArea previewAt = {960, 540, 960, 540};
  ScreenArea windowAt;  // no width: the preview is a window of its own
  std::string record;   // raw composed pictures go here, for encoder_alone
};

// KIND[:VALUE][@X,Y[,WIDTH,HEIGHT]]; false when it is none.
bool ParseLayer(const std::string& text, LayerSpec* layer);

// False with the reason in *refusal.
bool ParseOptions(const std::vector<std::string>& arguments, Options* options,
                  std::string* refusal);

extern const char kUsage[];

}  // namespace bench

#endif
