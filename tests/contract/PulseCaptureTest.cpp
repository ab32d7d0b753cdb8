// Sound capture on a real sound server, which is suspended, unplugged, frozen and killed under it.
#include "platform/linux/PulseCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "contract/BurstPlayer.h"
#include "contract/PulseRig.h"
#include "media/ffmpeg/Scoped.h"
#include "platform/linux/ContinuousSound.h"

namespace platform {
namespace {

class PulseCapture : public PulseRig {};

using Names = std::vector<std::string>;

TEST_F(PulseCapture, ListsMicrophonesByTheirDescriptionAndNoMonitor) {
  EXPECT_EQ(ListPulseMicrophones(kPatienceMs), Names{SoundServer::kMicrophoneDescription});
}

TEST_F(PulseCapture, ListsTheDefaultSourceFirst) {
  ASSERT_GE(m_server.LoadMicrophone("second", "Tisch"), 0) << m_server.Output();
  ASSERT_GE(m_server.LoadMicrophone("third", "Bühne"), 0) << m_server.Output();
  ASSERT_TRUE(m_server.SetDefaultSource("third"));
  EXPECT_EQ(ListPulseMicrophones(kPatienceMs),
            (Names{"Bühne", SoundServer::kMicrophoneDescription, "Tisch"}));
  ASSERT_TRUE(m_server.SetDefaultSource("second"));
  EXPECT_EQ(ListPulseMicrophones(kPatienceMs),
            (Names{"Tisch", SoundServer::kMicrophoneDescription, "Bühne"}));
}

TEST_F(PulseCapture, ListsNoMicrophoneWhereTheDefaultSourceIsAMonitor) {
  ASSERT_TRUE(m_server.SetDefaultSource(std::string(SoundServer::kSpeakers) + ".monitor"));
  ASSERT_TRUE(m_server.UnplugMicrophone());
  EXPECT_EQ(ListPulseMicrophones(kPatienceMs), Names{});
}

TEST_F(PulseCapture, TellsTwoMicrophonesOfOneDescriptionApart) {
  const std::string description = SoundServer::kMicrophoneDescription;
  ASSERT_GE(m_server.LoadModule(
                "module-remap-source",
                {"source_name=twin", std::string("master=") + SoundServer::kHeadphones + ".monitor",
                 "source_properties=\"device.description='" + description + "'\""}),
            0)
      << m_server.Output();
  const Names names = ListPulseMicrophones(kPatienceMs);
  ASSERT_EQ(names.size(), 2u);
  EXPECT_NE(names[0], names[1]);
  EXPECT_EQ(names[0], description);

  const auto first = Open(names[0]);
  const auto second = Open(names[1]);
  ASSERT_TRUE(first && second);
  ASSERT_GE(m_server.StartTone(SoundServer::kMicrophoneFeed, 500), 0);
  ASSERT_GE(m_server.StartTone(SoundServer::kHeadphones, 2000), 0);
  EXPECT_TRUE(BeginsToHear(*first, 500));
  EXPECT_TRUE(BeginsToHear(*second, 2000));
  EXPECT_FALSE(first->Hears(2000));
  EXPECT_FALSE(second->Hears(500));
}

TEST_F(PulseCapture, OpensByANameFromAnEarlierRun) {
  ASSERT_GE(m_server.LoadMicrophone("older", "Aus der Einstellung"), 0);
  EXPECT_NE(OpenPulseStream("Aus der Einstellung", kPatienceMs).stream, nullptr);
}

TEST_F(PulseCapture, NamesTheMicrophoneThatIsNotThere) {
  const OpenResult result = OpenPulseStream("Telefon", kPatienceMs);
  EXPECT_EQ(result.stream, nullptr);
  EXPECT_EQ(result.failure, OpenFailure::CannotOpen);
  EXPECT_EQ(result.cause, "Telefon: no such microphone");
}

TEST_F(PulseCapture, NamesTheMicrophoneThatWasUnplugged) {
  ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
  ASSERT_TRUE(m_server.UnplugMicrophone());
  const OpenResult result = OpenPulseStream(SoundServer::kMicrophoneDescription, kPatienceMs);
  EXPECT_EQ(result.stream, nullptr);
  EXPECT_EQ(result.failure, OpenFailure::CannotOpen);
  EXPECT_EQ(result.cause, std::string(SoundServer::kMicrophoneDescription) + ": No such entity");
}

TEST_F(PulseCapture, DescribesItsStream) {
  const OpenResult result = OpenPulseStream(kSystemSoundName, kPatienceMs);
  ASSERT_NE(result.stream, nullptr) << result.cause;
  StreamInfo info;
  EXPECT_FALSE(result.stream->FindStream(CaptureKind::Video, &info));
  ASSERT_TRUE(result.stream->FindStream(CaptureKind::Audio, &info));
  EXPECT_EQ(info.timeBase.num, 1);
  EXPECT_EQ(info.timeBase.den, 48000);
  EXPECT_EQ(info.parameters->codec_type, AVMEDIA_TYPE_AUDIO);
  EXPECT_EQ(info.parameters->codec_id, AV_CODEC_ID_PCM_S16LE);
  EXPECT_EQ(info.parameters->sample_rate, 48000);
  EXPECT_EQ(info.parameters->ch_layout.nb_channels, 2);

  AVPacket* packet = av_packet_alloc();
  for (int number = 0; number < 3; ++number) {
    ASSERT_TRUE(WaitFor([&] { return result.stream->Read(packet) == 0; }, kPatienceMs));
    EXPECT_EQ(packet->stream_index, info.index);
    EXPECT_EQ(packet->size, 480 * 4);
    EXPECT_EQ(packet->pts, number * 480);
    EXPECT_EQ(packet->duration, 480);
    av_packet_unref(packet);
  }
  av_packet_free(&packet);
}

TEST_F(PulseCapture, GivesSilenceAtFullRateWhileNothingPlays) {
  const auto reader = Open(kSystemSoundName);
  ASSERT_TRUE(reader);
  ASSERT_TRUE(WaitFor([&] { return reader->Frames() >= 3 * 48000; }, kPatienceMs));
  EXPECT_TRUE(reader->IsSilent(10'000));
  ExpectWhole(reader.get());
}

TEST_F(PulseCapture, HearsWhatTheMachinePlays) {
  const auto reader = Open(kSystemSoundName);
  ASSERT_TRUE(reader);
  ASSERT_GE(m_server.StartTone(SoundServer::kSpeakers, 1000), 0) << m_server.Output();
  EXPECT_TRUE(BeginsToHear(*reader, 1000)) << m_server.Output();
  ExpectWhole(reader.get());
}

TEST_F(PulseCapture, HearsTheMicrophoneBesideTheMachine) {
  const auto machine = Open(kSystemSoundName);
  const auto microphone = OpenMicrophone();
  ASSERT_TRUE(machine && microphone);
  ASSERT_GE(m_server.StartTone(SoundServer::kMicrophoneFeed, 440), 0) << m_server.Output();
  EXPECT_TRUE(BeginsToHear(*microphone, 440));
  EXPECT_TRUE(machine->IsSilent(1000));
  ExpectWhole(machine.get());
  ExpectWhole(microphone.get());
}

TEST_F(PulseCapture, FillsASuspendedSourceWithSilenceUntilItResumes) {
  const auto reader = OpenMicrophone();
  ASSERT_TRUE(reader);
  ASSERT_GE(m_server.StartTone(SoundServer::kMicrophoneFeed, 440), 0);
  ASSERT_TRUE(BeginsToHear(*reader, 440));
  ASSERT_TRUE(m_server.SuspendSource(SoundServer::kMicrophone, true));
  EXPECT_TRUE(FallsSilent(*reader));
  ASSERT_TRUE(m_server.SuspendSource(SoundServer::kMicrophone, false));
  EXPECT_TRUE(BeginsToHear(*reader, 440));
  ExpectWhole(reader.get());
}

TEST_F(PulseCapture, OpensASuspendedSource) {
  ASSERT_TRUE(m_server.SuspendSink(SoundServer::kSpeakers, true));
  const auto reader = Open(kSystemSoundName);
  ASSERT_TRUE(reader);
  ASSERT_TRUE(WaitFor([&] { return reader->Frames() >= 48000; }, kPatienceMs));
  EXPECT_TRUE(reader->IsSilent(1000));
  ASSERT_TRUE(m_server.SuspendSink(SoundServer::kSpeakers, false));
  ASSERT_GE(m_server.StartTone(SoundServer::kSpeakers, 1000), 0);
  EXPECT_TRUE(BeginsToHear(*reader, 1000));
  ExpectWhole(reader.get());
}

TEST_F(PulseCapture, FillsAnUnpluggedMicrophoneWithSilenceUntilItIsBack) {
  const auto reader = OpenMicrophone();
  ASSERT_TRUE(reader);
  ASSERT_GE(m_server.StartTone(SoundServer::kMicrophoneFeed, 440), 0);
  // What else is there must not take its place.
  ASSERT_GE(m_server.StartTone(SoundServer::kSpeakers, 1000), 0);
  ASSERT_GE(m_server.LoadMicrophone("other", "Anderes"), 0);
  ASSERT_TRUE(BeginsToHear(*reader, 440));
  ASSERT_TRUE(m_server.UnplugMicrophone());
  EXPECT_TRUE(FallsSilent(*reader));
  ASSERT_TRUE(WaitFor([&, frames = reader->Frames()] { return reader->Frames() > frames + 48000; },
                      kPatienceMs));
  EXPECT_TRUE(reader->IsSilent(1000));
  ASSERT_TRUE(m_server.PlugMicrophone());
  EXPECT_TRUE(BeginsToHear(*reader, 440)) << m_server.Output();
  ExpectWhole(reader.get());
}

TEST_F(PulseCapture, FollowsTheDefaultOutput) {
  const auto reader = Open(kSystemSoundName);
  ASSERT_TRUE(reader);
  ASSERT_GE(m_server.StartTone(SoundServer::kSpeakers, 1000), 0);
  ASSERT_GE(m_server.StartTone(SoundServer::kHeadphones, 2500), 0);
  ASSERT_TRUE(BeginsToHear(*reader, 1000)) << m_server.Output();
  EXPECT_FALSE(reader->Hears(2500));
  ASSERT_TRUE(m_server.SetDefaultSink(SoundServer::kHeadphones));
  ASSERT_TRUE(BeginsToHear(*reader, 2500)) << m_server.Output();
  // The server moves what plays on the former default to the new one: the head-phones fall silent.
  ASSERT_TRUE(m_server.SetDefaultSink(SoundServer::kSpeakers));
  EXPECT_TRUE(BeginsToHear(*reader, 1000)) << m_server.Output();
  EXPECT_TRUE(WaitFor([&] { return reader->Hears(1000) && reader->Hears(2500); }, kPatienceMs));
  ExpectWhole(reader.get());
}

TEST_F(PulseCapture, OutlivesAServerThatIsKilledAndComesBack) {
  const auto machine = Open(kSystemSoundName);
  const auto microphone = OpenMicrophone();
  ASSERT_TRUE(machine && microphone);
  ASSERT_GE(m_server.StartTone(SoundServer::kSpeakers, 1000), 0);
  ASSERT_TRUE(BeginsToHear(*machine, 1000));
  m_server.Kill();
  EXPECT_TRUE(FallsSilent(*machine));
  ASSERT_TRUE(m_server.Start()) << m_server.Output();
  ASSERT_GE(m_server.StartTone(SoundServer::kSpeakers, 1500), 0);
  ASSERT_GE(m_server.StartTone(SoundServer::kMicrophoneFeed, 440), 0);
  EXPECT_TRUE(BeginsToHear(*machine, 1500)) << m_server.Output();
  EXPECT_TRUE(BeginsToHear(*microphone, 440)) << m_server.Output();
  ExpectWhole(machine.get());
  ExpectWhole(microphone.get());
}

TEST_F(PulseCapture, OutlivesAServerThatFreezesAndGoesOn) {
  const auto reader = Open(kSystemSoundName);
  ASSERT_TRUE(reader);
  ASSERT_GE(m_server.StartTone(SoundServer::kSpeakers, 1000), 0);
  ASSERT_TRUE(BeginsToHear(*reader, 1000));
  m_server.Freeze();
  EXPECT_TRUE(FallsSilent(*reader));
  ASSERT_TRUE(WaitFor([&, frames = reader->Frames()] { return reader->Frames() > frames + 48000; },
                      kPatienceMs));
  m_server.Thaw();
  EXPECT_TRUE(BeginsToHear(*reader, 1000));
  ExpectWhole(reader.get());
}

TEST_F(PulseCapture, WhileTheServerIsFrozenTheLastListHolds) {
  ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
  m_server.Freeze();
  ExpectBrief(
      [] { EXPECT_EQ(ListPulseMicrophones(), Names{SoundServer::kMicrophoneDescription}); });
  ExpectBrief([] { PreparePulseMicrophones(); });
  m_server.Thaw();
  EXPECT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
}

TEST_F(PulseCapture, AnAnswerThatIsLateServesTheNextList) {
  m_server.Stop();
  ASSERT_EQ(ListPulseMicrophones(kPatienceMs), Names{});
  ASSERT_TRUE(m_server.Start());
  m_server.Freeze();
  ExpectBrief([] { EXPECT_EQ(ListPulseMicrophones(), Names{}); });
  m_server.Thaw();
  EXPECT_TRUE(WaitFor([] { return ListPulseMicrophones().size() == 1; }, kPatienceMs));
  // The question that the last of them asked is answered before its server goes.
  EXPECT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
}

TEST_F(PulseCapture, OpenedWhileTheServerIsFrozenItIsHeardOnceThatGoesOn) {
  ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
  ASSERT_GE(m_server.StartTone(SoundServer::kSpeakers, 1000), 0);
  ASSERT_GE(m_server.StartTone(SoundServer::kMicrophoneFeed, 440), 0);
  m_server.Freeze();
  std::vector<OpenResult> opened(2);
  const std::int64_t before = MonotonicUs();
  ExpectBrief([&] { opened[0] = OpenPulseStream(kSystemSoundName); });
  const std::int64_t between = MonotonicUs();
  ExpectBrief([&] { opened[1] = OpenPulseStream(SoundServer::kMicrophoneDescription); });
  const std::int64_t after = MonotonicUs();
  ASSERT_TRUE(opened[0].stream && opened[1].stream);
  const CaptureStream* device = opened[0].stream.get();
  SoundReader machine(std::move(opened[0].stream), before, between);
  SoundReader microphone(std::move(opened[1].stream), between, after);
  ASSERT_TRUE(WaitFor([&] { return machine.Frames() >= 48000; }, kPatienceMs));
  EXPECT_TRUE(machine.IsSilent(1000));
  EXPECT_FALSE(device->HasOpened());
  m_server.Thaw();
  EXPECT_TRUE(BeginsToHear(machine, 1000));
  EXPECT_TRUE(device->HasOpened());
  EXPECT_TRUE(BeginsToHear(microphone, 440));
  ExpectWhole(&machine);
  ExpectWhole(&microphone);
}

// As on a machine that is too busy to refuse at once. One that is so busy that it takes the whole
// second, after which silence begins, is asked again.
TEST_F(PulseCapture, ARefusalThatIsLateEndsItBeforeItHasGivenAnySilence) {
  int result = 0;
  for (int attempt = 0; attempt < 5 && result != AVERROR(ECONNREFUSED); ++attempt) {
    ASSERT_TRUE(attempt == 0 || m_server.Start()) << m_server.Output();
    ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
    m_server.Freeze();
    const auto stream = OpenPulseStream(kSystemSoundName).stream;
    ASSERT_TRUE(stream);
    m_server.Kill();
    const ffmpeg::ScopedPacket packet(av_packet_alloc());
    EXPECT_TRUE(WaitFor(
        [&] {
          result = stream->Read(packet.Get());
          return result != AVERROR(EAGAIN);
        },
        kPatienceMs));
    EXPECT_TRUE(result == 0 || packet->size == 0);
  }
  EXPECT_EQ(AVERROR(ECONNREFUSED), result);
}

// The mix of a broadcast waits for both its sounds: one that ended would take the other with it.
TEST_F(PulseCapture, AMicrophoneThatIsRefusedLateIsSilentAndGoesOn) {
  ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
  ASSERT_TRUE(m_server.UnplugMicrophone());
  m_server.Freeze();
  auto reader = Open(SoundServer::kMicrophoneDescription, kPulseOpenMs);
  ASSERT_TRUE(reader);
  m_server.Thaw();
  EXPECT_TRUE(WaitFor([&] { return reader->Last(1500).size() == 1500 * 48 * 2; }, kPatienceMs));
  EXPECT_TRUE(reader->IsSilent(1500));
  ExpectWhole(reader.get());
}

TEST_F(PulseCapture, OpenedWhileTheServerIsFrozenItClosesAtOnce) {
  m_server.Freeze();
  auto stream = OpenPulseStream(kSystemSoundName).stream;
  ASSERT_TRUE(stream);
  ExpectBrief([&] { stream.reset(); });
  m_server.Thaw();
}

TEST_F(PulseCapture, ListsNothingAndOpensNothingWithoutAServer) {
  ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
  m_server.Stop();
  EXPECT_EQ(ListPulseMicrophones(kPatienceMs), Names{});
  for (const std::string name : {kSystemSoundName, SoundServer::kMicrophoneDescription}) {
    const OpenResult result = OpenPulseStream(name, kPatienceMs);
    EXPECT_EQ(result.stream, nullptr);
    EXPECT_EQ(result.failure, OpenFailure::CannotOpen);
    EXPECT_EQ(result.cause, name + ": Connection refused");
  }
}

TEST_F(PulseCapture, ClosesAtOnceInEveryState) {
  ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
  EXPECT_LT(OpenMicrophone()->Close(), support::kStopLimitMs) << "just opened";

  auto suspended = OpenMicrophone();
  ASSERT_TRUE(m_server.SuspendSource(SoundServer::kMicrophone, true));
  EXPECT_LT(suspended->Close(), support::kStopLimitMs) << "suspended";
  ASSERT_TRUE(m_server.SuspendSource(SoundServer::kMicrophone, false));

  auto unplugged = OpenMicrophone();
  ASSERT_TRUE(m_server.UnplugMicrophone());
  EXPECT_LT(unplugged->Close(), support::kStopLimitMs) << "unplugged";

  auto frozen = Open(kSystemSoundName);
  m_server.Freeze();
  EXPECT_LT(frozen->Close(), support::kStopLimitMs) << "server frozen";
  m_server.Thaw();

  auto killed = Open(kSystemSoundName);
  m_server.Kill();
  EXPECT_LT(killed->Close(), support::kStopLimitMs) << "server killed";
}

std::ptrdiff_t EntriesOf(const char* directory) {
  const std::filesystem::directory_iterator entries(directory);
  return std::distance(begin(entries), end(entries));
}

TEST_F(PulseCapture, LeavesNoThreadAndNoFileOpen) {
  // The first use opens what stays for the process.
  ListPulseMicrophones(kPatienceMs);
  OpenPulseStream(kSystemSoundName, kPatienceMs);
  const auto threads = EntriesOf("/proc/self/task");
  const auto files = EntriesOf("/proc/self/fd");
  for (int i = 0; i < 5; ++i) {
    ListPulseMicrophones(kPatienceMs);
    auto reader = Open(kSystemSoundName);
    ASSERT_TRUE(reader);
    ASSERT_TRUE(WaitFor([&] { return reader->Frames() > 4800; }, kPatienceMs));
    OpenPulseStream("nothing of that name", kPatienceMs);
  }
  m_server.Stop();
  ListPulseMicrophones(kPatienceMs);
  OpenPulseStream(kSystemSoundName, kPatienceMs);
  // The system may list a thread for a moment after it was joined, one of those from before too.
  EXPECT_TRUE(WaitFor([&] { return EntriesOf("/proc/self/task") <= threads; }, kPatienceMs));
  EXPECT_EQ(EntriesOf("/proc/self/fd"), files);
}

// The distances from each burst's being heard to its place in what was read, in milliseconds.
std::vector<double> Distances(const SoundReader& reader, const std::vector<std::int64_t>& bursts) {
  const std::vector<std::int16_t> all = reader.All();
  std::vector<double> distances;
  for (std::size_t i = 2; i < all.size(); i += 2) {
    if (all[i] <= 8000 || all[i - 2] > 8000) {
      continue;
    }
    const double placedUs =
        static_cast<double>(reader.OpenUs()) + static_cast<double>(i / 2) / 0.048;
    double nearest = 1e9;
    for (const std::int64_t burst : bursts) {
      const double distance = (placedUs - static_cast<double>(burst)) / 1000;
      nearest = std::abs(distance) < std::abs(nearest) ? distance : nearest;
    }
    distances.push_back(nearest);
  }
  return distances;
}

// The middle one of those distances; 0 for too few of them.
double MiddleDistance(std::unique_ptr<SoundReader> reader, const char* sink) {
  BurstPlayer player(sink);
  EXPECT_TRUE(WaitFor([&] { return reader->Frames() > 7 * 48000; }, kPatienceMs));
  // The player may have begun late.
  EXPECT_TRUE(WaitFor([&] { return Distances(*reader, {}).size() >= 5; }, kPatienceMs));
  const std::vector<std::int64_t> bursts = player.Stop();
  reader->Close();
  std::vector<double> distances = Distances(*reader, bursts);
  std::sort(distances.begin(), distances.end());
  return distances.size() >= 5 ? distances[distances.size() / 2] : 0;
}

TEST_F(PulseCapture, PutsSoundTheHoldLaterThanItIsHeard) {
  constexpr double kHoldMs = ContinuousSound::kHoldUs / 1e3;
  // The player's own reckoning is good to some milliseconds.
  constexpr double kToleranceMs = 25;
  for (const char* sink : {SoundServer::kSpeakers, SoundServer::kMicrophoneFeed}) {
    double ms = 0;
    // Sound that comes late is held longer: a machine that was busy is tried again.
    for (int i = 0; i < 3 && std::abs(ms - kHoldMs) > kToleranceMs; ++i) {
      auto reader = sink == SoundServer::kSpeakers ? Open(kSystemSoundName) : OpenMicrophone();
      ASSERT_TRUE(reader);
      ms = MiddleDistance(std::move(reader), sink);
    }
    EXPECT_NEAR(ms, kHoldMs, kToleranceMs) << sink;
  }
}

}  // namespace
}  // namespace platform
