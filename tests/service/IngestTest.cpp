// The built service with its real RTMP engine, and real publishers.
#include "service/Ingest.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "service/HttpClient.h"
#include "service/ServiceRig.h"

namespace {

namespace fs = std::filesystem;
using support::FreePort;
using support::Process;
using support::ReadFile;
using support::WaitFor;

constexpr int kPatienceMs = 30000;

bool Listens(int port) {
  return support::Connection(port).Open();
}

class IngestTest : public ::testing::Test {
 protected:
  void SetUp() override {
    account = rig.AddAccount("user");
    activity = rig.AddActivity(account, "t");
    ASSERT_TRUE(StartService()) << Output();
  }
  bool StartService(std::vector<std::string> more = {}) {
    std::vector<std::string> all = {ORVANE_SERVICE,
                                    "serve",
                                    "--database",
                                    rig.Database().toStdString(),
                                    "--port",
                                    std::to_string(rig.port),
                                    "--ingest",
                                    "--rtmp-port",
                                    std::to_string(rtmp),
                                    "--hls-port",
                                    std::to_string(hls),
                                    "--record",
                                    rig.directory.File("recordings")};
    all.insert(all.end(), more.begin(), more.end());
    starts += 1;
    return service.Start(all, {}, OutputFile()) &&
           WaitFor([this] { return Output().find("\"started\"") != std::string::npos; },
                   kPatienceMs);
  }
  std::string OutputFile() const { return rig.directory.File("output" + std::to_string(starts)); }
  std::string Output() const { return ReadFile(OutputFile()); }
  std::string Url(const char* application, const QString& name) const {
    return "rtmp://127.0.0.1:" + std::to_string(rtmp) + "/" + application + "/" +
           name.toStdString();
  }
  bool Publish(Process* publisher, const std::string& url) {
    return publisher->Start({"ffmpeg", "-nostdin", "-v",
                             "error",  "-re",      "-f",
                             "lavfi",  "-i",       "testsrc=s=160x120:r=25",
                             "-f",     "lavfi",    "-i",
                             "sine",   "-c:v",     "libx264",
                             "-g",     "25",       "-bf",
                             "0",      "-c:a",     "aac",
                             "-f",     "flv",      url},
                            {}, rig.directory.File("publisher"));
  }
  // Whether a viewer finds the stream there.
  bool Watches(const QString& name) {
    return WaitFor(
        [&] {
          const support::HttpReply playlist =
              support::Get(hls, "/hls/" + name.toStdString() + ".m3u8");
          return playlist.status == 200 && playlist.body.find(".ts") != std::string::npos;
        },
        kPatienceMs);
  }
  std::int64_t Heard() {
    std::int64_t heard = -1;
    rig.store->LastPublishUpdate(activity.id, &heard);
    return heard;
  }
  // The names of all files below the ingest's folders, one a line.
  std::string PublicNames() const {
    std::string names;
    for (const std::string& folder :
         {rig.directory.File("ingest/hls"), rig.directory.File("recordings")}) {
      for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        names += entry.path().filename().string() + "\n";
        if (entry.path().extension() == ".m3u8") {
          names += ReadFile(entry.path());
        }
      }
    }
    return names;
  }

  support::ServiceRig rig;
  service::Account account;
  service::Activity activity;
  const int rtmp = FreePort();
  const int hls = FreePort();
  int starts = 0;
  Process service;
};

}  // namespace

TEST_F(IngestTest, APublishWithTheKeyIsWatchedRecordedAndNeverShowsTheKey) {
  Process publisher;
  ASSERT_TRUE(Publish(&publisher, Url("live", activity.streamKey)));
  ASSERT_TRUE(Watches(activity.id)) << ReadFile(rig.directory.File("ingest/error.log"));
  const support::RunResult viewer =
      support::Run({"ffprobe", "-v", "error", "-show_entries", "stream=codec_name", "-of",
                    "csv=p=0", Url("watch", activity.id)},
                   kPatienceMs);
  EXPECT_NE(viewer.output.find("h264"), std::string::npos) << viewer.output;
  EXPECT_NE(viewer.output.find("aac"), std::string::npos) << viewer.output;
  // The key is no address of a viewer.
  EXPECT_NE(support::Run({"ffprobe", "-v", "error", "-rw_timeout", "2000000",
                          Url("live", activity.streamKey)},
                         kPatienceMs)
                .status,
            0);
  publisher.Stop();
  ASSERT_TRUE(WaitFor([&] { return Heard() < 0; }, kPatienceMs));
  const std::string names = PublicNames();
  EXPECT_NE(names.find(activity.id.toStdString() + "-"), std::string::npos) << names;
  EXPECT_NE(names.find(".flv"), std::string::npos) << names;
  EXPECT_EQ(names.find(activity.streamKey.toStdString()), std::string::npos) << names;
}

TEST_F(IngestTest, AWrongKeyAndADirectPublishToTheViewersAreRefused) {
  for (const std::string& url :
       {Url("live", QStringLiteral("guess")), Url("live", activity.id), Url("watch", activity.id),
        Url("watch", QStringLiteral("other"))}) {
    Process publisher;
    ASSERT_TRUE(Publish(&publisher, url));
    EXPECT_GT(publisher.Wait(kPatienceMs), 0) << url;
  }
  EXPECT_LT(Heard(), 0);
}

TEST_F(IngestTest, APublisherThatVanishedGetsInAgain) {
  Process vanished;
  ASSERT_TRUE(Publish(&vanished, Url("live", activity.streamKey)));
  ASSERT_TRUE(Watches(activity.id));
  vanished.Signal(SIGSTOP);  // its connection stands and says nothing
  ASSERT_TRUE(WaitFor(
      [&] {
        Process again;
        const auto before =
            fs::exists(rig.directory.File("recordings"))
                ? std::distance(fs::directory_iterator(rig.directory.File("recordings")),
                                fs::directory_iterator())
                : 0;
        return Publish(&again, Url("live", activity.streamKey)) && again.Wait(4000) == -1 &&
               Heard() >= 0 && before >= 1;
      },
      60000));
}

TEST_F(IngestTest, AKilledServiceTakesItsEngineWithItAndComesBack) {
  service.Signal(SIGKILL);
  service.Wait(kPatienceMs);
  ASSERT_TRUE(StartService()) << Output();
  Process publisher;
  ASSERT_TRUE(Publish(&publisher, Url("live", activity.streamKey)));
  EXPECT_TRUE(Watches(activity.id));
}

TEST_F(IngestTest, SigtermLeavesNothingRunning) {
  ASSERT_TRUE(Listens(rtmp));
  service.Signal(SIGTERM);
  EXPECT_EQ(service.Wait(kPatienceMs), 0);
  EXPECT_FALSE(Listens(rtmp));
  EXPECT_FALSE(Listens(hls));
  EXPECT_FALSE(Listens(rig.port));
}

TEST_F(IngestTest, AnEngineThatDiedIsStartedAgain) {
  // Written only once the engine listens, which is all that the service waits for.
  int engine = 0;
  ASSERT_TRUE(WaitFor(
      [&] {
        engine = std::atoi(ReadFile(rig.directory.File("ingest/nginx.pid")).c_str());
        return engine > 1;
      },
      kPatienceMs));
  ASSERT_EQ(kill(engine, SIGKILL), 0);
  ASSERT_TRUE(
      WaitFor([&] { return Output().find("ingest-ended") != std::string::npos; }, kPatienceMs));
  EXPECT_TRUE(WaitFor([&] { return Listens(rtmp); }, kPatienceMs));
}

TEST_F(IngestTest, APortInUseIsSaidWithStatusFour) {
  Process second;
  const std::string output = rig.directory.File("second");
  ASSERT_TRUE(second.Start(
      {ORVANE_SERVICE, "serve", "--database", rig.Database().toStdString(), "--port",
       std::to_string(FreePort()), "--ingest", "--rtmp-port", std::to_string(rtmp), "--hls-port",
       std::to_string(FreePort()), "--ingest-dir", rig.directory.File("ingest2")},
      {}, output));
  EXPECT_EQ(second.Wait(kPatienceMs), 4);
  EXPECT_NE(ReadFile(output).find("port " + std::to_string(rtmp) + " is in use"), std::string::npos)
      << ReadFile(output);
}

TEST_F(IngestTest, TheServiceMayRestartBetweenTwoUpdatesOfTheEngine) {
  service.Stop();
  service::IngestSettings settings;
  settings.rtmpPort = rtmp;
  settings.hlsPort = hls;
  settings.servicePort = rig.port;
  settings.secret = "ingestsecret";
  settings.directory = QString::fromStdString(rig.directory.File("apart"));
  service::Ingest engine(settings);
  QString error;
  ASSERT_TRUE(engine.Start(&error)) << error.toStdString();
  service::Settings own = rig.DefaultSettings();
  own.rtmpPort = rtmp;
  ASSERT_TRUE(rig.Serve(own));
  Process publisher;
  ASSERT_TRUE(Publish(&publisher, Url("live", activity.streamKey)));
  ASSERT_TRUE(Watches(activity.id));
  rig.StopServing();
  rig.clock.now += 60000;
  ASSERT_TRUE(rig.Serve(own));
  const std::int64_t now = rig.clock.Seconds();
  EXPECT_TRUE(WaitFor([&] { return Heard() == now; }, kPatienceMs)) << "told again";
  EXPECT_TRUE(publisher.Running()) << "the stream went on meanwhile";
  publisher.Stop();
  EXPECT_TRUE(WaitFor([&] { return Heard() < 0; }, kPatienceMs));
}

TEST(IngestConfigurationTest, HoldsWhatTheIngestRestsOn) {
  service::IngestSettings settings;
  settings.module = QStringLiteral("/m.so");
  settings.directory = QStringLiteral("/d");
  settings.secret = "s3";
  settings.listenAddress = "::1";
  settings.serviceAddress = "[::1]";
  const QString text = service::IngestConfiguration(settings);
  for (const char* line :
       {"listen [::1]:1935;", "drop_idle_publisher 10s;", "deny play all;", "allow publish ::1;",
        "deny publish all;", "on_publish http://[::1]:18080/ingest/s3/publish;",
        "on_update http://[::1]:18080/ingest/s3/update;", "record off;"}) {
    EXPECT_TRUE(text.contains(QLatin1String(line))) << line;
  }
  EXPECT_FALSE(text.contains(QLatin1Char('@')));
  settings.recordDirectory = QStringLiteral("/r");
  EXPECT_TRUE(service::IngestConfiguration(settings).contains(QStringLiteral("record_path /r;")));
}

TEST(IngestTidyTest, OldPiecesOfStreamsGoAndFreshOnesStay) {
  support::TempDir directory;
  fs::create_directories(directory.File("hls"));
  for (const char* name : {"hls/old.ts", "hls/fresh.ts"}) {
    std::ofstream(directory.File(name)) << "x";
  }
  fs::last_write_time(directory.File("hls/old.ts"),
                      fs::file_time_type::clock::now() - std::chrono::minutes(5));
  service::IngestSettings settings;
  settings.directory = QString::fromStdString(directory.Path());
  service::Ingest(settings).Tidy();
  EXPECT_FALSE(fs::exists(directory.File("hls/old.ts")));
  EXPECT_TRUE(fs::exists(directory.File("hls/fresh.ts")));
}
