#include "support/SoundServer.h"

#include <signal.h>

#include <cmath>
#include <cstdlib>
#include <fstream>

namespace support {

namespace {

constexpr int kStartMs = 60000;
constexpr int kControlMs = 30000;
constexpr double kPi = 3.14159265358979323846;
constexpr double kRate = 48000;

std::string Described(const std::string& kind, const std::string& description) {
  return kind + "_properties=\"device.description='" + description + "'\"";
}

// The sinks come first, so that no default ever points elsewhere; the socket comes last, so that
// whoever can connect finds everything in place.
std::string Script(const std::string& socket) {
  const std::string null = "load-module module-null-sink rate=48000 sink_name=";
  return null + SoundServer::kSpeakers + " " +
         Described("sink", SoundServer::kSpeakersDescription) + "\n" + null +
         SoundServer::kHeadphones + " " + Described("sink", "Kopfhörer") + "\n" + null +
         SoundServer::kMicrophoneFeed + "\nset-default-sink " + SoundServer::kSpeakers +
         "\nload-module module-native-protocol-unix auth-anonymous=1 socket=" + socket + "\n";
}

}  // namespace

SoundServer::SoundServer() : m_address("unix:" + m_directory.File("native")) {}

SoundServer::~SoundServer() {
  Stop();
}

std::map<std::string, std::string> SoundServer::Environment() const {
  const std::string& directory = m_directory.Path();
  return {{"XDG_RUNTIME_DIR", directory},    {"XDG_CONFIG_HOME", directory},
          {"PULSE_RUNTIME_PATH", directory}, {"PULSE_STATE_PATH", directory},
          {"PULSE_CONFIG_PATH", directory},  {"PULSE_COOKIE", directory + "/cookie"},
          {"PULSE_SERVER", m_address},       {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere"},
          {"SDL_AUDIODRIVER", "pulseaudio"}};
}

bool SoundServer::Start() {
  const std::string script = m_directory.File("server.pa");
  std::ofstream(script) << Script(m_directory.File("native"));
  // A killed server leaves its socket, on which nobody listens.
  std::remove(m_directory.File("native").c_str());
  std::map<std::string, std::string> environment = Environment();
  environment.erase("PULSE_SERVER");
  if (!m_server.Start(
          {"pulseaudio", "-n", "-F", script, "--daemonize=no", "--use-pid-file=no",
           "--exit-idle-time=-1", "--realtime=no", "--high-priority=no", "--log-target=stderr"},
          environment, m_directory.File("log"))) {
    return false;
  }
  return WaitFor([this] { return !m_server.Running() || Control({"info"}); }, kStartMs) &&
         PlugMicrophone() && SetDefaultSource(kMicrophone);
}

void SoundServer::Stop() {
  m_readers.clear();
  m_player.Stop();
  m_server.Stop();
}

void SoundServer::Kill() {
  m_server.Signal(SIGKILL);
  m_server.Wait(kControlMs);
}

void SoundServer::Freeze() {
  m_server.Signal(SIGSTOP);
}

void SoundServer::Thaw() {
  m_server.Signal(SIGCONT);
}

bool SoundServer::Control(const std::vector<std::string>& arguments) {
  std::vector<std::string> command{"pactl"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  const RunResult result = Run(command, kControlMs, Environment());
  m_lastOutput = result.output;
  return result.status == 0;
}

bool SoundServer::SetDefaultSink(const std::string& sink) {
  return Control({"set-default-sink", sink});
}

bool SoundServer::SetDefaultSource(const std::string& source) {
  return Control({"set-default-source", source});
}

bool SoundServer::SuspendSink(const std::string& sink, bool suspended) {
  return Control({"suspend-sink", sink, suspended ? "1" : "0"});
}

bool SoundServer::SuspendSource(const std::string& source, bool suspended) {
  return Control({"suspend-source", source, suspended ? "1" : "0"});
}

int SoundServer::LoadModule(const std::string& name, const std::vector<std::string>& arguments) {
  std::vector<std::string> command{"load-module", name};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return Control(command) ? std::atoi(m_lastOutput.c_str()) : -1;
}

bool SoundServer::UnloadModule(int number) {
  return number >= 0 && Control({"unload-module", std::to_string(number)});
}

int SoundServer::LoadMicrophone(const std::string& name, const std::string& description) {
  return LoadModule("module-remap-source",
                    {"source_name=" + name, std::string("master=") + kMicrophoneFeed + ".monitor",
                     Described("source", description)});
}

bool SoundServer::UnplugMicrophone() {
  return UnloadModule(m_microphoneModule);
}

bool SoundServer::PlugMicrophone() {
  m_microphoneModule = LoadMicrophone(kMicrophone, kMicrophoneDescription);
  return m_microphoneModule >= 0;
}

int SoundServer::StartTone(const std::string& sink, int hertz) {
  const int tone =
      LoadModule("module-sine", {"sink=" + sink, "frequency=" + std::to_string(hertz)});
  return tone;
}

bool SoundServer::Play(const std::string& sink, const std::string& rawFile) {
  return m_player.Start({"pacat", "--playback", "--raw", "--format=s16le", "--rate=48000",
                         "--channels=2", "--latency-msec=20", "--device=" + sink, rawFile},
                        Environment(), m_directory.File("player"));
}

void SoundServer::StopPlaying() {
  m_player.Stop();
}

bool SoundServer::KeepAwake() {
  for (const std::string& source :
       {std::string(kSpeakers) + ".monitor", std::string(kMicrophone)}) {
    m_readers.push_back(std::make_unique<Process>());
    if (!m_readers.back()->Start({"parec", "--latency-msec=10", "--device=" + source, "/dev/null"},
                                 Environment(), m_directory.File("readers"))) {
      return false;
    }
  }
  return true;
}

std::string SoundServer::Output() const {
  return m_lastOutput + ReadFile(m_directory.File("log")) + ReadFile(m_directory.File("player")) +
         ReadFile(m_directory.File("readers"));
}

SoundServerEnvironment::SoundServerEnvironment(const SoundServer& server) {
  Set(server.Environment());
}

SoundServerEnvironment::SoundServerEnvironment() {
  Set({{"PULSE_SERVER", "unix:/nonexistent/sound-server"}});
}

SoundServerEnvironment::~SoundServerEnvironment() {
  for (const Former& former : m_former) {
    if (former.wasSet) {
      setenv(former.name.c_str(), former.value.c_str(), 1);
    } else {
      unsetenv(former.name.c_str());
    }
  }
}

void SoundServerEnvironment::Set(const std::map<std::string, std::string>& values) {
  for (const auto& [name, value] : values) {
    const char* former = getenv(name.c_str());
    m_former.push_back({name, former != nullptr, former != nullptr ? former : ""});
    setenv(name.c_str(), value.c_str(), 1);
  }
}

std::vector<std::int16_t> ToneSamples(double hertz, double seconds, double amplitude) {
  std::vector<std::int16_t> samples;
  const auto frames = static_cast<std::size_t>(seconds * kRate);
  for (std::size_t i = 0; i < frames; ++i) {
    const double value = std::sin(2 * kPi * hertz * static_cast<double>(i) / kRate);
    const auto sample = static_cast<std::int16_t>(std::lround(value * amplitude * 32767));
    samples.push_back(sample);
    samples.push_back(sample);
  }
  return samples;
}

bool WriteRaw(const std::string& path, const std::vector<std::int16_t>& samples) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(samples.data()),
             static_cast<std::streamsize>(samples.size() * sizeof(std::int16_t)));
  file.close();
  return file.good();
}

double ToneLevel(const std::int16_t* samples, std::size_t frames, double hertz) {
  double real = 0;
  double imaginary = 0;
  for (std::size_t i = 0; i < frames; ++i) {
    const double angle = 2 * kPi * hertz * static_cast<double>(i) / kRate;
    // A Hann window keeps neighbouring tones apart.
    const double window =
        1 - std::cos(2 * kPi * static_cast<double>(i) / static_cast<double>(frames));
    real += samples[2 * i] * window * std::cos(angle);
    imaginary += samples[2 * i] * window * std::sin(angle);
  }
  return frames == 0 ? 0 : 2 * std::hypot(real, imaginary) / (static_cast<double>(frames) * 32767);
}

}  // namespace support
