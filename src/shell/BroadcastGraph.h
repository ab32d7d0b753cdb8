// The nodes that exist only from the start of a broadcast to its end: the system's sound, the
// microphone, their mixer, the encoder, and the order in which they come up and go.
//
// Without a microphone the system's sound goes straight into the encoder; with one, both go into
// the mixer and from there into the encoder. Consumers are started before producers are linked to
// them, and the picture is linked last.
//
// While it runs the microphone may be exchanged: the capture goes on with another device. One that
// comes into a broadcast without any brings the mixer with it, which takes the encoder's place
// behind the system's sound between two blocks, so that none is lost. (The mix of two is half of
// each: the system's sound is 6 dB lower from then on, as in every broadcast with a microphone.)
//
// Ownership: the pointers belong to the caller (the window), are null unless live, and are made and
// deleted by the functions here.
//
// Threads: the user interface thread. StopBroadcast stops the four nodes beside each other, on
// threads of its own that it joins: each ends within half a second in every state of its device or
// of the network, and so do all of them.
//
// Failure: a microphone that does not open is left out. An encoder that does not start, or an
// address that can't be reached, changes nothing here: the broadcast counts as running, and the
// encoder keeps trying where that helps.
#ifndef ORVANE_SHELL_BROADCASTGRAPH_H
#define ORVANE_SHELL_BROADCASTGRAPH_H

#include <string>

#include "sources/SoundGain.h"

class CEncoder;
class CInputDev;
class CMixOut;
class CRender;

namespace shell {

struct BroadcastNodes {
  CInputDev*& loopback;  // the system's sound
  CInputDev*& mic;       // null while live without one
  CMixOut*& mixOut;      // the same
  CEncoder*& encoder;
};

struct BroadcastSettings {
  std::string systemSound;  // name in the catalogue
  std::string microphone;   // the same; empty for none
  sources::SoundMix systemSoundMix;
  sources::SoundMix microphoneMix;
  std::string url;
  std::string watchUrl;  // of the viewers, for the log
  int width = 1920;      // of the stream; the scene stays 1920 x 1080
  int height = 1080;
};

void StartBroadcast(const BroadcastNodes& nodes, const BroadcastSettings& settings,
                    CRender* render);

// While one runs. False when there is none that gives sound: that microphone does not open, or the
// capture can't go on with it; a former one then stays.
bool SwitchMicrophone(const BroadcastNodes& nodes, const std::string& microphone,
                      const sources::SoundMix& mix);

void StopBroadcast(const BroadcastNodes& nodes, CRender* render);

}  // namespace shell

#endif
