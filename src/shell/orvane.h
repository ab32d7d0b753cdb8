// The main window, and the owner of every node of the media graph.
//
// What it does is split by concern over files of their own: orvane_window.cpp (the window, its look
// and its closing), orvane_login.cpp (the login and the change of account), orvane_graph.cpp (the
// fixed part of the graph, from its assembly to its end), orvane_layers.cpp (the layers of the
// scene), orvane_preview.cpp (the mouse on the preview and the title, and the maximised state),
// orvane_undo.cpp (the keyboard on the preview, and what is taken back), orvane_scene.cpp (the
// scene from one run to the next), orvane_live.cpp (the broadcast).
//
// Order of life: constructed; ShowLogin; only when the account is logged in InitGraph once; shown;
// CloseGraph once, after the event loop has ended and before the window is destroyed. No node
// outlives CloseGraph. A change of account that ends without a login closes the graph and leaves
// the process with status 0.
//
// The slots that concern layers, the preview's size or the broadcast need the graph and are called
// between InitGraph and CloseGraph only. The mouse handlers and the form stand without it.
//
// Ownership: every node and every dialog here is the window's; an effect belongs to the dialog that
// it was given to, so that a dialog made anew leaves its effect's pointer dangling. Nobody
// dereferences it: it only tells that the one shadow has been given.
//
// Threads: everything here runs on the user interface thread; the nodes bring their own workers.
//
// Failure: the machine may lack anything. A source that does not open leaves its layer without a
// picture, its row grey with the cause in its tip, and a line in the log.
#ifndef ORVANE_SHELL_ORVANE_H
#define ORVANE_SHELL_ORVANE_H

#include <QMenu>
#include <QPixmap>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QTime>
#include <QTimer>
#include <QWidget>
#include <cstdint>
#include <optional>
#include <string>

#include "backend/BackendClient.h"
#include "platform/KeepAwake.h"
#include "shell/BroadcastGraph.h"
#include "shell/BroadcastReports.h"
#include "shell/LayerBook.h"
#include "shell/LayerSlots.h"
#include "shell/LiveMonitor.h"
#include "shell/MonitorGraph.h"
#include "shell/PreviewRules.h"
#include "shell/RecordingDesk.h"
#include "shell/SceneKeeper.h"
#include "shell/SoundDesk.h"
#include "shell/UndoSteps.h"
#include "ui_orvane.h"
#include "widgets/ListTextTip.h"

struct ActivityInfo;
class ActivitiesWndDlg;
class CAddTextDlg;
class CCamDlg;
class CEncoder;
class CInputDev;
class CInputSlience;
class CLoginDlg;
class CMixFrame;
class CMixOut;
class CRender;
class CSrcInterface;
class CustomShadowEffect;
class DeviceCatalogue;
class QAction;
class QNetworkReply;
class SelectActivities;

namespace shell {
struct FileQuestion;
}

namespace widgets {
class SceneOffer;
}

namespace support {
class OrvaneMembers;  // by which tests look at the window's members
}

class orvane : public QWidget {
  Q_OBJECT
  friend class support::OrvaneMembers;

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
  // Fixes the preview to that size, the list to its height, and tells the renderer.
  void SlotSetRenderSize(QSize& newSize);
  void SlotIndexChanged(QString str);
  // A layer of the full desktop on top of the scene.
  void SlotAddDesk();
  // The other kinds, each chosen in a dialog. A cancelled one adds nothing; at ten layers a notice
  // comes in its place. Where the system itself asks for the window its row is there at once.
  void SlotAddCamera();
  void SlotAddWindow();
  void SlotAddText();
  void SlotAddPic();
  void SlotAddFile();
  // Run the menu above its button.
  void OpenWndMenu();
  void OpenTuCMenu();
  // The whole available screen, or back to the geometry before, with the preview at 960 x 540.
  void ChangeMaxNomal();
  // Closes the window, but not while a broadcast runs.
  void SlotClose();
  void RecvChangeSignal(int frist, int second);
  // Asks at that place of the screen whether the row's layer is to go.
  void RecvDeleteSignal(int row, int kind, QPoint point);
  void SlotDeleteItem(int row);
  // Two rows change places; a row of -1 is no layer, and the scene stays as it is.
  void SlotChangeItem(int fristRow, int secondRow);
  // Another text and colour for a text layer.
  void SlotEditItem(int row);
  void SlotvisibleSignal(int row, bool vis);
  // Keeps a picture that was fetched. The reply stays the caller's.
  void replyFinished(QNetworkReply* reply);
  // Asks for an activity; without an answer none is chosen, whatever was before.
  void SlotChooseBtn();
  // Starts the broadcast, or ends the one that runs. The service is told and its word not waited
  // for: the broadcast goes on without it.
  void RecvStartLiving();
  // A second of the broadcast has passed.
  void updateTime();
  // Another account: logs out, forgets the saved account, and asks for a login again. A broadcast
  // goes on meanwhile, on purpose: the notice informs, it does not cancel the change. Asked once
  // more while a change is under way, it waits no longer for the answer to the logout.
  void SlotLoginChange();
  // A row's whole name beside the mouse. While one shows, a further call changes nothing.
  void RecvStatusTip(QString str, QPoint point);
  void RecvHideStatusTip();

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void InitUi();
  void AddToBar();
  void KeepPlaces();
  void FillMenus();
  void InitStyle();
  void ConnectUi();
  void CenterOnScreen();
  void ConnectSurfaceToRender();
  bool PressLeft(QMouseEvent* event);
  void GrabLayer(const QPoint& position);
  void DragLayer(const QPoint& position);
  void EndDrag(QMouseEvent* event);
  void HitTestLayer(int x, int y);
  // The pointer's shape over that point of the window.
  void ShowPointer(const QPoint& position);
  // Tells screen readers which layer is selected.
  void TellSelection();
  bool PreviewKey(const QKeyEvent& event);
  // held: the key was pressed before, and this is no new step.
  bool MoveSelected(const QPoint& step, bool held);
  void AskToDeleteSelected();
  void SelectNext();
  // Takes back the last step.
  void Undo();
  void NoteStep(const shell::UndoStep& step);
  void NoteDrag();
  void NoteDeletion(int position);
  void TakeBack(const shell::Placed& step);
  void TakeBack(const shell::Swapped& step);
  void TakeBack(const shell::Edited& step);
  void TakeBack(const shell::Deleted& step);
  void FitPreview();
  shell::Scales PreviewScales() const;
  shell::Drag DragAt(const QPoint& position) const;
  shell::BroadcastNodes Broadcast() { return {m_loopback, m_mic, m_mixOut, m_encoder}; }
  const ActivityInfo* ChosenActivity() const;
  void SetActivitySpacer(int width);
  void ShowChosen(const QString& title);
  void ShowUnchosen();
  void StartBroadcast(const ActivityInfo& activity);
  void StopBroadcast();
  static shell::BroadcastReports::Service Service();
  // Ends the broadcast on the way out of the program.
  void LeaveBroadcast();
  void LogOut();
  shell::MonitorNodes Monitor() { return {m_mixFrame, m_silence, m_render}; }
  void AddDefaultLayers();
  void OpenMenu(QMenu* menu, const QWidget* button);
  bool MayAddLayer();
  void MakeTextDialog();
  std::string AskForFile(const shell::FileQuestion& question);
  // Corner::kYes: the layer takes the corner with its first picture.
  enum class Corner { kNo, kYes };
  // Each gives the slot, or -1 where the scene has no room. record: what the layer is made from,
  // and the place that it had before, if it had one.
  int AddSource(CSrcInterface* node, const shell::LayerRecord& record, Corner corner = Corner::kNo);
  int AddFilm(const shell::LayerRecord& record);
  int AddTextLayer(const shell::LayerRecord& record);
  // Of the windows that the system lists, the one that is chosen in the dialog.
  void AddListedWindow();
  // Greys the rows whose source could not be opened, or whose capture was ended by the system.
  void ShowFailures();
  // Leaves the monitor mix to the films that still sound.
  void FollowSounds();
  void ListLayer(int slot, CSrcInterface* node, const shell::LayerRecord& record);
  // Brings a layer to the place that it had before, if it had one.
  void PlaceAgain(int slot, const shell::LayerRecord& record);
  // Makes a layer from what is written down of one; -1 where it is no longer there to be made from.
  int AddFrom(const shell::LayerRecord& record);
  int AddWindowFrom(const shell::LayerRecord& record);
  bool IsFreeCamera(const QString& device);
  // How a layer stands in the scene now.
  shell::LayerRecord RecordAt(int slot) const;
  // Once a second: offers what the last run has left, and keeps what has changed.
  void CareForScene();
  shell::Scene CurrentScene() const;
  // Nothing that is on the disk already, but at the end, whose time is what counts for the next
  // run.
  enum class Last { kNo, kYes };
  void KeepScene(Last last = Last::kNo);
  void OfferScene(const shell::Scene& scene);
  void EndOffer();
  void DismissScene();
  // Brings the offered scene back, a layer at each turn of the event loop: each is opened as by
  // hand, and ten at once would hold up the window.
  void ReturnScene();
  void ReturnNext();
  void ReturnLayer(const shell::LayerRecord& record, int known);
  void EndReturn();
  int PositionOf(int row) const;
  int PositionAt(int slot) const;
  int RowOf(int slot) const;
  // Row by row, so that list and scene stay in step.
  void BringTo(int slot, int position);
  // The layer's rectangle; none where none is.
  std::optional<shell::Rect> RectAt(int slot) const;

  Ui::orvaneClass ui;

  // The mouse on the window and the preview.
  QPoint m_dragFrom;
  QPoint m_dragTo;
  bool m_wndDrag = false;    // the window is being dragged
  bool m_leftDown = false;   // the left button is held
  bool m_maximised = false;  // by this program, not by the window manager
  QRect m_normalRect;        // the geometry to come back to

  QMenu m_WndMenu;  // of whole screens, cameras and windows
  QAction* m_actAddDesk = nullptr;
  QAction* m_actAddCamera = nullptr;
  QAction* m_actAddWindow = nullptr;
  QMenu m_TuCMenu;  // of texts, pictures and files
  QAction* m_actAddText = nullptr;
  QAction* m_actAddPic = nullptr;
  QAction* m_actAddFile = nullptr;

  bool m_layerMoved = false;     // the mouse moved with the button held
  shell::Placed m_grabbed;       // the layer of the drag, as it was at the press
  std::int32_t m_dragMode = -1;  // -1 nothing, 0 move, 1 top left corner, 2 bottom right corner
  bool m_isLiving = false;       // a broadcast is running
  QTime m_liveTime{0, 0, 0, 0};  // since its start
  QTimer m_liveTimer;            // a second each, while it runs

  CAddTextDlg* m_textDlg = nullptr;  // these four made at their first use
  CCamDlg* m_camDlg = nullptr;
  SelectActivities* m_actDlg = nullptr;  // kept: it holds the chosen activity
  ActivitiesWndDlg* m_wndDlg = nullptr;
  CustomShadowEffect* m_actShadow = nullptr;
  CustomShadowEffect* m_camShadow = nullptr;
  CustomShadowEffect* m_wndShadow = nullptr;
  CustomShadowEffect* m_textShadow = nullptr;
  CustomShadowEffect* m_loginShadow = nullptr;

  DeviceCatalogue* m_catalogue = nullptr;
  CMixFrame* m_mixFrame = nullptr;     // built in InitGraph
  CInputSlience* m_silence = nullptr;  // built in InitGraph
  CRender* m_render = nullptr;         // built in InitGraph
  CEncoder* m_encoder = nullptr;       // exists while live
  shell::LayerNodes m_layers;          // every layer that has a node; m_slots alone changes it
  CLoginDlg* m_loginDlg = nullptr;     // made at the first login and kept
  QPoint m_pressPos;                   // the last press at or below the preview's top
  shell::Rect m_pressRect;             // the selected layer at that press
  BackendClient* m_backend = nullptr;  // the one static object
  QPixmap m_adPixmap;
  CMixOut* m_mixOut = nullptr;      // exists while live with a microphone
  CInputDev* m_mic = nullptr;       // the same
  CInputDev* m_loopback = nullptr;  // exists while live

  ListTextTip m_tip;
  bool m_tipShown = false;

  shell::LayerSlots m_slots{&m_layers};
  shell::LayerBook m_book;  // of every layer, by slot
  shell::UndoSteps m_undo;
  shell::SceneKeeper m_keeper;
  shell::SavedScene m_kept;     // as it was given to the keeper last
  bool m_sceneTouched = false;  // the operator has changed something: it is worth keeping
  shell::Scene m_former;        // what is offered
  std::optional<shell::SceneReturn> m_return;
  widgets::SceneOffer* m_offer = nullptr;  // the list's, while it stands
  bool m_retracing = false;                // what changes now is no step of the operator's
  QTimer m_sourceTimer;                    // looks after sources that fail or end a little later
  bool m_changesLogin = false;             // a change of account is under way
  backend::Until* m_logout = nullptr;      // of the logout that is out
  int m_broadcasts = 0;                    // begun so far
  // These look at the nodes above: the state of the stream; the meter, mute and gain.
  shell::LiveMonitor m_liveMonitor{Broadcast(), m_layers};
  shell::SoundDesk m_soundDesk{Broadcast()};
  shell::BroadcastReports m_reports{Service()};
  platform::KeepAwake m_keepAwake;  // while a broadcast runs
  QTimer m_surfaceEvents;           // empties what SDL queues for the preview's native window
  shell::RecordingDesk m_recordingDesk{m_encoder};  // while a broadcast runs
};

#endif
