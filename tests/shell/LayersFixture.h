// The main window on devices and windows in memory, with what the tests of its layers do by hand.
#ifndef ORVANE_TESTS_SHELL_LAYERSFIXTURE_H
#define ORVANE_TESTS_SHELL_LAYERSFIXTURE_H

#include <string>
#include <vector>

#include "output/CRender.h"
#include "shell/LayersRig.h"
#include "support/MediaSamples.h"

using support::FakeDevice;
using support::LayersRig;
using support::MediaSamples;
using support::SpinUntil;

using Ints = std::vector<int>;

class Layers : public LayersRig {
 protected:
  void AddText(const QString& text) {
    answers.text = text;
    window->SlotAddText();
  }
  void AddPicture(const std::string& path) {
    answers.path = QString::fromStdString(path);
    window->SlotAddPic();
  }
  // Waits until the layer's first picture has told its size.
  bool Shows(int slot) {
    return SpinUntil([&] {
      int width = 0;
      int height = 0;
      window->m_render->GetLayerNaturalSize(slot, &width, &height);
      return width > 0;
    });
  }

  MediaSamples samples;
};

#endif
