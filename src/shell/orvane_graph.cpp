// The fixed part of the media graph, from its assembly to its end.
#include <QDir>
#include <QFile>
#include <string>

#include "output/CRender.h"
#include "platform/SdlVideo.h"
#include "shell/CEvent.h"
#include "shell/Libraries.h"
#include "shell/Log.h"
#include "shell/orvane.h"
#include "sources/DeviceCatalogue.h"
#include "widgets/LoginInfoControl.h"

namespace {

constexpr int kSurfaceEventsMs = 50;
constexpr int kSourcesMs = 1000;

// Where it stays, whatever becomes of the working directory.
std::string ScenePath() {
  return QFile::encodeName(QDir::current().absoluteFilePath(QStringLiteral("scene.json")))
      .toStdString();
}

}  // namespace

void orvane::InitGraph() {
  shell::OpenLog();
  // Read while the devices are opened.
  m_keeper.Open(ScenePath());
  shell::StartLibraries();
  m_catalogue->RefreshDevices();
  shell::StartMonitorMix(Monitor());
  shell::MakeRender(Monitor());
  QSize size(shell::kNormalPreview.width, shell::kNormalPreview.height);
  emit CEvent::instance()->renderSize(size);
  shell::StartRender(Monitor());
  connect(&m_surfaceEvents, &QTimer::timeout, this, [] { platform::FlushSdlEvents(); });
  m_surfaceEvents.start(kSurfaceEventsMs);
  AddDefaultLayers();
  connect(&m_sourceTimer, &QTimer::timeout, this, &orvane::ShowFailures);
  connect(&m_sourceTimer, &QTimer::timeout, this, &orvane::FollowSounds);
  connect(&m_sourceTimer, &QTimer::timeout, this, &orvane::CareForScene);
  m_sourceTimer.start(kSourcesMs);
  CareForScene();
  m_soundDesk.Open();
  ui.widget->SetLoginInfo(m_catalogue->userName, QPixmap());
}

void orvane::CloseGraph() {
  KeepScene(Last::kYes);
  m_soundDesk.Close();
  LeaveBroadcast();
  m_keepAwake.Close();
  m_surfaceEvents.stop();
  m_sourceTimer.stop();
  m_recordingDesk.Close();
  m_slots.DropNodes();
  m_book.Clear();
  m_undo.Clear();
  m_return.reset();
  shell::EndMonitor(Monitor());
  m_keeper.Close();
}
