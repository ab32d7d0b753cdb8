// The main window, and the owner of every node of the media graph.
//
// What it does is split by concern over files of their own: orvane_window.cpp (the window and the
// preview surface), orvane_login.cpp (the login and the change of account), orvane_graph.cpp (the
// fixed part of the graph, from its assembly to its end), orvane_layers.cpp (the layers of the
// scene).
//
// Order of life: constructed; ShowLogin; only when the account is logged in InitGraph once; shown;
// CloseGraph once, after the event loop has ended and before the window is destroyed. No node
// outlives CloseGraph. A change of account that ends without a login closes the graph and leaves
// the process with status 0.
//
// Threads: everything here runs on the user interface thread; the nodes bring their own workers.
//
// Failure: the machine may lack anything. A source that does not open leaves its layer without a
// picture and a line in the log.
#ifndef ORVANE_SHELL_ORVANE_H
#define ORVANE_SHELL_ORVANE_H

#include <QSize>
#include <QTimer>
#include <QWidget>
#include <string>

#include "shell/FixedRoad.h"
#include "shell/LayerRoad.h"

class BackendClient;
class CInputSlience;
class CLoginDlg;
class CMixFrame;
class CRender;
class CustomShadowEffect;
class DeviceCatalogue;
class LoginInfoControl;
class QLabel;

class orvane : public QWidget {
  Q_OBJECT

 public:
  explicit orvane(QWidget* parent = nullptr);
  // Stops nothing: CloseGraph has done so.
  ~orvane() override;

  // Runs the login dialog to its end; loggedIn of the catalogue tells how it ended.
  void ShowLogin();
  // The log, the libraries, the devices, the fixed part of the graph, the default layers.
  void InitGraph();
  // Unlinks, stops and deletes every node: layers, silence, mixer, renderer. A second call does
  // nothing.
  void CloseGraph();

 public slots:
  // Fixes the preview to that size and tells the renderer.
  void SlotSetRenderSize(QSize& newSize);
  // A layer of the full desktop on top of the scene.
  void SlotAddDesk();
  // Another account: logs out, forgets the saved account, and asks for a login again. A broadcast
  // goes on meanwhile, on purpose: the notice that tells so is no guard here.
  void SlotLoginChange();

 private:
  void InitUi();
  void CenterOnScreen();
  void ConnectSurfaceToRender();
  shell::FixedNodes FixedNodes() { return {m_mixFrame, m_silence, m_render}; }
  void AddDefaultLayers();
  void AddCameraLayer(const std::string& device, bool autoFit);

  QLabel* m_renderWgt = nullptr;       // the preview surface; a child of the window
  LoginInfoControl* widget = nullptr;  // the account, in the title row; a child of the window
  bool m_isLiving = false;             // a broadcast is running
  CustomShadowEffect* m_loginShadow = nullptr;  // owned by the login dialog once it has it
  DeviceCatalogue* m_catalogue = nullptr;
  CMixFrame* m_mixFrame = nullptr;     // built in InitGraph
  CInputSlience* m_silence = nullptr;  // built in InitGraph
  CRender* m_render = nullptr;         // built in InitGraph
  CLoginDlg* m_loginDlg = nullptr;     // made at the first login and kept
  BackendClient* m_backend = nullptr;  // the one static object
  shell::LayerNodes m_layers;          // every layer that has a node
  QTimer m_surfaceEvents;              // empties what SDL queues for the preview's native window
};

#endif
