#include "sources/ReadAhead.h"

namespace sources {

namespace {

constexpr int kEnoughFrames = 50;
constexpr int kMaxFrames = 250;
// A third of a second of 720p at 25 frames; larger pictures keep eight frames all the same. More
// would only take memory: what waits compressed decodes faster than it plays.
constexpr std::int64_t kMaxPictureBytes = 24LL * 1024 * 1024;
constexpr int kMinPictures = 8;
// Hours of compressed sound, or minutes of compressed pictures.
constexpr std::int64_t kMaxKeptSound = 16LL * 1024 * 1024;
constexpr std::int64_t kMaxKeptPictures = 64LL * 1024 * 1024;

bool FarEnough(const Ahead& stream) {
  return stream.decoded + stream.kept > kEnoughFrames;
}

}  // namespace

bool SoundIsFull(const Ahead& sound) {
  return sound.decoded >= kMaxFrames;
}

bool PictureIsFull(const Ahead& picture) {
  return picture.decoded >= kMaxFrames ||
         (picture.decoded >= kMinPictures && picture.decodedBytes >= kMaxPictureBytes);
}

ReadStep NextReadStep(const Ahead& sound, const Ahead& picture) {
  if (sound.kept > 0 && !SoundIsFull(sound)) {
    return ReadStep::DecodeKeptSound;
  }
  if (picture.kept > 0 && !PictureIsFull(picture)) {
    return ReadStep::DecodeKeptPicture;
  }
  if (FarEnough(sound) && FarEnough(picture)) {
    return ReadStep::Wait;
  }
  // Sound drains by itself, and takes the pictures with it. Without sound nothing drains: then
  // reading goes on in search of it.
  const bool playing = sound.decoded > 0;
  if (sound.keptBytes >= kMaxKeptSound || (picture.keptBytes >= kMaxKeptPictures && playing)) {
    return ReadStep::Wait;
  }
  return ReadStep::Read;
}

PacketUse UseOfSound(const Ahead& sound) {
  // Packets of one stream are decoded in their order: none passes one that is kept.
  return sound.kept > 0 || SoundIsFull(sound) ? PacketUse::Keep : PacketUse::Decode;
}

PacketUse UseOfPicture(const Ahead& picture) {
  if (picture.keptBytes >= kMaxKeptPictures) {
    return PacketUse::Drop;
  }
  return picture.kept > 0 || PictureIsFull(picture) ? PacketUse::Keep : PacketUse::Decode;
}

}  // namespace sources
