// All threads of the renderer at once, with sources, an encoder and a user who never rests: for the
// sanitizers, and for what may never happen in between.
#include <SDL.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "output/RenderHarness.h"
#include "support/Process.h"
#include "support/ProcessStats.h"
#include "support/RecordingNode.h"
#include "support/WorkingDirectory.h"

namespace {

using ffmpeg::ScopedFrame;
using support::NewPicture;
using support::NewSound;
using support::RecordingNode;

// A source of pictures that changes its size now and then, and says so every other time.
void Feed(CRender* render, int id, const std::atomic<bool>* stop) {
  std::mt19937 random(static_cast<unsigned>(id));
  ScopedFrame still(NewPicture(200, 100, {1, 2, 3}));
  for (int i = 0; !*stop; ++i) {
    AVFrame* picture = nullptr;
    if (id % 3 == 0) {
      picture = av_frame_clone(still.Get());
    } else {
      const int size = 16 + static_cast<int>(random() % 4) * 50;
      picture = NewPicture(size, size / 2, {9, 9, 9}, i);
      picture->opaque = i % 7 == 0 ? picture->data[0] : nullptr;
    }
    render->EnqueueVideo(id, picture);
    // The rate of a source; the threads that it is to disturb run in real time.
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

void Operate(CRender* render, std::mt19937* random) {
  const auto some = [&](int range) {
    return static_cast<int>((*random)() % static_cast<unsigned>(range));
  };
  int a = 0;
  int b = 0;
  std::vector<int> order;
  switch (some(14)) {
    case 0:
    case 1: {
      const int id = render->AddVideoInput();
      if (id >= 0) {
        render->InsertLayer(id, -1);
      }
      break;
    }
    case 2:
      render->RemoveLayer(some(10));
      break;
    case 3:
    case 4:
      render->SetLayerRect(some(10), some(2400) - 300, some(1500) - 300, some(500), some(300));
      break;
    case 5:
      render->SetLayerText(some(10), 0xff00ffffU,
                           some(5) == 0 ? "" : "text " + std::to_string(some(99)));
      break;
    case 6:
      render->SwapLayers(some(10), some(10));
      break;
    case 7:
      render->SetLayerHidden(some(10), some(2) == 0);
      break;
    case 8:
      render->SetLayerAutoFit(some(10), 1);
      break;
    case 9:
      render->selectedLayer = some(11) - 1;
      break;
    case 10:
      render->previewSize = QSize(some(1920), some(1080));
      break;
    case 11:
      render->GetLayerRect(some(10), &a, &b, &a, &b);
      render->GetVisibleLayerRect(some(10), &a, &b, &a, &b);
      break;
    case 12:
      render->GetLayerNaturalSize(some(10), &a, &b);
      render->CopyLayerOrder(&order);
      break;
    default:
      render->InsertLayer(some(10), some(4));
      break;
  }
}

TEST(RenderStress, ThousandsOfOperationsWhileAllThreadsRun) {
  support::WorkingDirectory directory;
  CRender render(10);
  ASSERT_EQ(0, render.Start());
  RecordingNode encoder;
  std::atomic<bool> stop{false};
  std::vector<std::thread> sources;
  for (int id = 0; id < 10; ++id) {
    sources.emplace_back(Feed, &render, id, &stop);
  }
  std::mt19937 random(3);
  for (int i = 0; i < 6000; ++i) {
    Operate(&render, &random);
    if (i % 50 == 0) {
      // The broadcast comes and goes.
      i % 100 == 0 ? render.AddVideoOutput(&encoder) : render.RemoveVideoOutput(&encoder);
      encoder.ClearVideoQueues();
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }
  // Whatever the operations left: emptied and filled again, it composes.
  while (render.LayerCount() > 0 && render.RemoveLayer(0) == 0) {
  }
  for (int id = 0; id < 10; ++id) {
    render.SetLayerText(id, 0, "");  // a text takes its slot without an entry in the order
  }
  const int id = render.AddVideoInput();
  ASSERT_GE(id, 0);
  render.InsertLayer(id, -1);
  const std::uint64_t composed = render.Statistics().composed;
  EXPECT_TRUE(support::WaitFor([&] { return render.Statistics().composed > composed + 3; }, 20000));
  stop = true;
  for (std::thread& source : sources) {
    source.join();
  }
  render.RemoveVideoOutput(&encoder);
  EXPECT_EQ(0, render.Stop());
  SDL_QuitSubSystem(SDL_INIT_AUDIO);  // begun by the opening of the sound device
}

TEST(RenderStress, StartAndStopManyTimesWithSourcesRunning) {
  CRender render(10);
  std::atomic<bool> stop{false};
  std::thread source(Feed, &render, 1, &stop);
  for (int i = 0; i < 20; ++i) {
    ASSERT_EQ(0, render.Start());
    render.AddVideoInput();
    render.InsertLayer(1, 0);
    render.EnqueueAudio(0, NewSound(64, 1));
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_EQ(0, render.Stop());
  }
  stop = true;
  source.join();
  // SDL must not be ended under the opening of its device.
  EXPECT_TRUE(support::WaitFor([] { return !support::HasThread("open-sound"); }, 60000));
  SDL_QuitSubSystem(SDL_INIT_AUDIO);
}

}  // namespace
