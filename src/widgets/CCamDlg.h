// The dialog that adds a camera layer: lists the cameras that no layer uses, shows the chosen one
// live, and hands its name to the caller, which makes the real capture node.
//
// Flow: the constructor lists the cameras, opens the first and starts the preview thread; the
// caller then runs exec. Accepted with a chosen name that is not empty: add that camera. The dialog
// is itself a node: the preview's CInputDev pushes RGB24 pictures into its one video queue, and the
// preview thread takes them from there and draws them into m_labRender.
//
// Whichever way the dialog ends (a button, Escape, the window manager, deletion), preview node and
// preview thread have ended before it closes: the device is free for the node that opens it next.
//
// Ownership: the main window makes one dialog for each use and deletes it. The dialog owns its
// preview node. The catalogue is not owned.
//
// Threads: user interface thread. The node's worker enters EnqueueVideo only. The preview thread
// touches the video queue, its flags and the native window.
// The user interface waits for the opening of a camera, the stopping of a node and one turn of the
// preview thread, and a moment for the sound server, which the list of devices asks as well; never
// for a picture.
//
// Failure: a camera that can't be opened leaves the preview black; the log says why, and the dialog
// can still be confirmed. One that is unplugged or hangs leaves its last picture. Where nothing can
// be drawn the preview is black too.
#ifndef ORVANE_WIDGETS_CCAMDLG_H
#define ORVANE_WIDGETS_CCAMDLG_H

#include <QDialog>
#include <QTimer>
#include <atomic>
#include <string>

#include "media/CSrcInterface.h"
#include "media/Worker.h"
#include "platform/WindowSystem.h"
#include "ui_CCamDlg.h"
#include "widgets/theme/Frameless.h"

class CInputDev;
class DeviceCatalogue;

class CCamDlg : public QDialog, public CSrcInterface {
  Q_OBJECT

 public:
  explicit CCamDlg(QWidget* parent = nullptr);
  ~CCamDlg() override;

  // The name of the camera in the list, UTF-8 as CInputDev takes it; empty when there was none to
  // choose. It stays after the dialog has closed, whatever the result.
  const std::string& DeviceName() const { return m_deviceName; }

  // Every closing goes this way.
  void done(int result) override;

 public slots:
  void SlotOK();
  void SlotCancel();
  void SlotComboDevChanged();

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void InitUi();
  void FillDevices();
  void StartPreview();
  void StopCamera();
  void StopPreview();
  void Preview();
  // The preview's window, now and then: what SDL hears of it, and whether it draws there.
  void SeeToSurface();

  std::string m_deviceName;
  std::atomic<bool> m_stopPreview{false};
  platform::WindowHandle m_renderHandle = 0;
  media::Worker m_previewThread;
  CInputDev* m_inputDev = nullptr;
  Ui::CamDlg ui;
  FramelessDrag m_drag;
  DeviceCatalogue* m_catalogue;
  std::atomic<bool> m_cameraChanged{false};  // what the preview thread has is of the former camera
  std::atomic<bool> m_undrawable{false};     // nothing can be drawn in the label's window
  QTimer m_surfaceTimer;
};

#endif
