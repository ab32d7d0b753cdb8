#include "Options.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

namespace bench {

const char kUsage[] =
    R"(live_road: the program's media graph without its interface, and what it costs.

  --layer SPEC       a layer on top of those before it:
                       desktop            the screen of $DISPLAY
                       camera[:NAME]      a camera, the first one without a name
                       window:ID|TITLE    a window of another program
                       text:WORDS
                       pic:PATH
                       file:PATH          a media file with sound
                     with @X,Y or @X,Y,WIDTH,HEIGHT at its end: the place in the 1920 x 1080 scene
  --quality Q        540P, 720P or 1080P (the default)
  --url ADDRESS      the RTMP address to publish to
  --seconds N        how long (10)
  --no-live          compose and show, publish nothing
  --no-mic           leave the microphone out
  --no-preview       show nothing
  --portal           the desktop is one that a portal shares, of a stand-in's, instead of the screen
                     of $DISPLAY; tells how long its first picture takes
  --preview-at X,Y,WIDTH,HEIGHT   where on the screen (960,540,960,540)
  --window-at X,Y,WIDTH,HEIGHT    a dark window around it (none)
  --record PATH      write the composed pictures, YUV 4:2:0, for encoder_alone
)";

namespace {

constexpr std::array<const char*, 6> kKinds = {"desktop", "camera", "window",
                                               "text",    "pic",    "file"};

void TakePlace(std::string* text, LayerSpec* layer) {
  const std::size_t at = text->rfind('@');
  if (at == std::string::npos) {
    return;
  }
  int used = 0;
  const char* place = text->c_str() + at + 1;
  const int found = std::sscanf(place, "%d,%d%n,%d,%d%n", &layer->x, &layer->y, &used,
                                &layer->width, &layer->height, &used);
  if ((found != 2 && found != 4) || place[used] != '\0') {
    return;
  }
  layer->placed = true;
  layer->sized = found == 4;
  text->resize(at);
}

bool TakeQuality(const std::string& name, Options* options) {
  if (name == "540P") {
    options->width = 960;
    options->height = 540;
  } else if (name == "720P") {
    options->width = 1280;
    options->height = 720;
  } else if (name == "1080P") {
    options->width = 1920;
    options->height = 1080;
  } else {
    return false;
  }
  return true;
}

bool TakeArea(const std::string& text, ScreenArea* area) {
  int used = 0;
  return std::sscanf(text.c_str(), "%d,%d,%d,%d%n", &area->x, &area->y, &area->width, &area->height,
                     &used) == 4 &&
         text[static_cast<std::size_t>(used)] == '\0' && area->width > 0 && area->height > 0;
}

bool TakeValue(const std::string& name, const std::string& value, Options* options) {
  if (name == "--layer") {
    options->layers.emplace_back();
    return ParseLayer(value, &options->layers.back());
  }
  if (name == "--quality") {
    return TakeQuality(value, options);
  }
  if (name == "--seconds") {
    options->seconds = std::atof(value.c_str());
    return options->seconds > 0;
  }
  if (name == "--preview-at" || name == "--window-at") {
    return TakeArea(value, name == "--preview-at" ? &options->previewAt : &options->windowAt);
  }
  (name == "--url" ? options->url : options->record) = value;
  return true;
}

}  // namespace

bool ParseLayer(const std::string& text, LayerSpec* layer) {
  *layer = LayerSpec();
  std::string rest = text;
  TakePlace(&rest, layer);
  const std::size_t colon = rest.find(':');
  layer->kind = rest.substr(0, colon);
  layer->value = colon == std::string::npos ? "" : rest.substr(colon + 1);
  const bool known = std::find(kKinds.begin(), kKinds.end(), layer->kind) != kKinds.end();
  const bool needsValue = layer->kind != "desktop" && layer->kind != "camera";
  return known && (!needsValue || !layer->value.empty());
}

bool ParseOptions(const std::vector<std::string>& arguments, Options* options,
                  std::string* refusal) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& name = arguments[i];
    if (name == "--no-live") {
      options->live = false;
    } else if (name == "--no-mic") {
      options->microphone = false;
    } else if (name == "--portal") {
      options->portal = true;
    } else if (name == "--preview" || name == "--no-preview") {
      options->preview = name == "--preview";
    } else if (name == "--layer" || name == "--quality" || name == "--seconds" || name == "--url" ||
               name == "--record" || name == "--preview-at" || name == "--window-at") {
      if (i + 1 >= arguments.size() || !TakeValue(name, arguments[i + 1], options)) {
        *refusal = "can't make out the value of " + name;
        return false;
      }
      ++i;
    } else {
      *refusal = "unknown option " + name;
      return false;
    }
  }
  if (options->live && options->url.empty()) {
    *refusal = "--url or --no-live is needed";
    return false;
  }
  return true;
}

}  // namespace bench
