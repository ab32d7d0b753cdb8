// The decisions of the camera chooser, as functions of nothing but their arguments.
#ifndef ORVANE_WIDGETS_CAMERARULES_H
#define ORVANE_WIDGETS_CAMERARULES_H

#include <QString>
#include <vector>

namespace widgets {

// The cameras to choose from: all of devices but the first, which is the desktop, less those in use
// and those that are the desktop by another name. The order stays.
std::vector<QString> FreeCameras(const std::vector<QString>& devices,
                                 const std::vector<QString>& used);

// Pictures that may wait behind the one that is shown.
inline constexpr int kCameraBacklog = 5;

// What one turn of the preview does with the pictures that wait.
struct CameraTake {
  bool show = false;  // the head, which is there
  bool pop = false;   // and it leaves the queue; alone it stays, to be shown again
  int drop = 0;       // pictures behind the head that go unseen
};

CameraTake TakeOf(int queued);

}  // namespace widgets

#endif
