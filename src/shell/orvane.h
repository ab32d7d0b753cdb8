// The main window, and the owner of every node of the media graph.
//
// What it does is split by concern over files of their own: orvane_window.cpp (the window and the
// preview surface), orvane_graph.cpp (the fixed part of the graph, from its assembly to its end),
// orvane_layers.cpp (the layers of the scene).
//
// Order of life: constructed; InitGraph once; shown; CloseGraph once, after the event loop has
// ended and before the window is destroyed. No node outlives CloseGraph.
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

class CInputSlience;
class CMixFrame;
class CRender;
class DeviceCatalogue;
class QLabel;

class orvane : public QWidget {
  Q_OBJECT

 public:
  explicit orvane(QWidget* parent = nullptr);
  // Stops nothing: CloseGraph has done so.
  ~orvane() override;

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

 private:
  void InitUi();
  void CenterOnScreen();
  void ConnectSurfaceToRender();
  shell::FixedNodes FixedNodes() { return {m_mixFrame, m_silence, m_render}; }
  void AddDefaultLayers();
  void AddCameraLayer(const std::string& device, bool autoFit);

  QLabel* m_renderWgt = nullptr;  // the preview surface; a child of the window
  DeviceCatalogue* m_catalogue = nullptr;
  CMixFrame* m_mixFrame = nullptr;     // built in InitGraph
  CInputSlience* m_silence = nullptr;  // built in InitGraph
  CRender* m_render = nullptr;         // built in InitGraph
  shell::LayerNodes m_layers;          // every layer that has a node
  QTimer m_surfaceEvents;              // empties what SDL queues for the preview's native window
};

#endif
