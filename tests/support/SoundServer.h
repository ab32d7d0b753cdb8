// A PulseAudio server of a test's own, with nothing of the machine's sound in it: null sinks as
// loudspeakers and head-phones, and a source that plays what is put into a third one as a
// microphone. Descriptions hold letters beyond ASCII.
//
// Nothing is shared with another server: run-time directory, configuration, cookie and socket lie
// in a temporary directory. Works as root and as a user. The server ends with the object, and is
// ended by the kernel when the test dies.
//
// Programs beside the test reach it through Environment(); this process through
// SoundServerEnvironment, which must live for as long as anything in the process talks to it.
//
// One thread uses a SoundServer. Every operation waits until the server has done it and gives false
// when it did not; Output() then tells why.
#ifndef ORVANE_TESTS_SUPPORT_SOUNDSERVER_H
#define ORVANE_TESTS_SUPPORT_SOUNDSERVER_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/Process.h"

namespace support {

class SoundServer {
 public:
  // Names of sinks and sources on the server. What is played into kMicrophoneFeed is what
  // kMicrophone picks up; the monitor of a sink is its name with ".monitor".
  static constexpr char kSpeakers[] = "speakers";
  static constexpr char kHeadphones[] = "headphones";
  static constexpr char kMicrophoneFeed[] = "microphone_feed";
  static constexpr char kMicrophone[] = "microphone";
  // What the user sees of them.
  static constexpr char kSpeakersDescription[] = "Lautsprecher für alle 扬声器";
  static constexpr char kMicrophoneDescription[] = "Mikrofon é麦克风";

  SoundServer();
  ~SoundServer();
  SoundServer(const SoundServer&) = delete;
  SoundServer& operator=(const SoundServer&) = delete;

  // Speakers and microphone are the defaults. Start again after Stop or Kill gives the same
  // address.
  bool Start();
  void Stop();
  void Kill();
  void Freeze();  // SIGSTOP
  void Thaw();    // SIGCONT
  bool Running() { return m_server.Running(); }

  // For child programs, and for this process through SoundServerEnvironment.
  std::map<std::string, std::string> Environment() const;
  const std::string& Address() const { return m_address; }

  // Sinks and sources.
  bool SetDefaultSink(const std::string& sink);
  bool SetDefaultSource(const std::string& source);
  bool SuspendSink(const std::string& sink, bool suspended);
  bool SuspendSource(const std::string& source, bool suspended);
  // Number of the loaded module, to unload it by; negative on failure.
  int LoadModule(const std::string& name, const std::vector<std::string>& arguments);
  bool UnloadModule(int number);
  // Adds another microphone: what is played into kMicrophoneFeed, under that name and description.
  int LoadMicrophone(const std::string& name, const std::string& description);
  // Plugs the microphone out (with everything that records from it) and in again.
  bool UnplugMicrophone();
  bool PlugMicrophone();

  // Sound. A tone plays, at about -6 dB, until it is stopped, into one sink.
  int StartTone(const std::string& sink, int hertz);
  bool StopTone(int tone) { return UnloadModule(tone); }
  // Starts to play a file of raw S16LE stereo 48000 Hz into a sink; it goes on by itself, until it
  // ends or the next Play or the end of this object.
  bool Play(const std::string& sink, const std::string& rawFile);
  void StopPlaying();
  // Keeps readers on the speakers' monitor and the microphone, as a desktop's volume control does,
  // so that sound there is delivered at once (an idle null sink wakes up every 2 s only).
  bool KeepAwake();

  // What the server and the last operation printed, for the message of a failing test.
  std::string Output() const;

 private:
  bool Control(const std::vector<std::string>& arguments);

  TempDir m_directory;
  std::string m_address;
  std::string m_lastOutput;
  Process m_server;
  Process m_player;
  std::vector<std::unique_ptr<Process>> m_readers;
  int m_microphoneModule = -1;
};

// Points this process to a server, or at none at all, and puts the former environment back at the
// end. One at a time; made and destroyed while no other thread reads the environment.
class SoundServerEnvironment {
 public:
  explicit SoundServerEnvironment(const SoundServer& server);
  // An address where no server listens.
  SoundServerEnvironment();
  ~SoundServerEnvironment();
  SoundServerEnvironment(const SoundServerEnvironment&) = delete;
  SoundServerEnvironment& operator=(const SoundServerEnvironment&) = delete;

 private:
  void Set(const std::map<std::string, std::string>& values);

  struct Former {
    std::string name;
    bool wasSet;
    std::string value;
  };
  std::vector<Former> m_former;
};

// Raw S16LE stereo 48000 Hz for SoundServer::Play.
std::vector<std::int16_t> ToneSamples(double hertz, double seconds, double amplitude = 0.5);
bool WriteRaw(const std::string& path, const std::vector<std::int16_t>& samples);
// Level of one tone in interleaved stereo sound, left channel: 0 for none, 1 for a full-scale sine.
double ToneLevel(const std::int16_t* samples, std::size_t frames, double hertz);

}  // namespace support

#endif
