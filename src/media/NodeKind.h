// What a node is, as its constructor tells its base.
#ifndef ORVANE_MEDIA_NODEKIND_H
#define ORVANE_MEDIA_NODEKIND_H

namespace media {

enum NodeKind : int {
  kNoSource = 0,
  kSoundDevice = 1,
  kPictureDevice = 2,
  kMediaFile = 3,
  kPicture = 4,
  kWindow = 5,
};

}  // namespace media

#endif
