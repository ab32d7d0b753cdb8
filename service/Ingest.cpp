#include "service/Ingest.h"

#include <signal.h>
#include <sys/prctl.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTcpServer>
#include <QThread>

#include "service/Api.h"
#include "service/Resources.h"

namespace service {

namespace {

constexpr int kStartMs = 3000;
constexpr int kStopMs = 3000;
// An engine of a service that was killed needs a moment to end.
constexpr int kPortMs = 1500;
constexpr int kPollMs = 20;
constexpr qint64 kPieceSeconds = 60;  // longer than any playlist
constexpr qint64 kMaxLog = 8LL * 1024 * 1024;

// nginx has no way to quote some of the characters that a path may hold.
bool FitsConfiguration(const QString& path) {
  return !path.contains(QRegularExpression(QStringLiteral("[\\s\"'$;{}\\\\#]")));
}

}  // namespace

void ChildProcess::setupChildProcess() {
  // The service waits for its signals blocked; the engine must not inherit that.
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
}

bool PortInUse(const std::string& address, int port) {
  QTcpServer probe;
  return !probe.listen(QHostAddress(QString::fromStdString(address)), static_cast<quint16>(port));
}

QString FindRtmpModule() {
  for (const char* directory : {"/usr/lib/nginx/modules", "/usr/lib64/nginx/modules",
                                "/usr/share/nginx/modules", "/usr/local/libexec/nginx"}) {
    QString path = QLatin1String(directory) + QStringLiteral("/ngx_rtmp_module.so");
    if (QFile::exists(path)) {
      return path;
    }
  }
  return QString();
}

QString IngestConfiguration(const IngestSettings& s) {
  const QString callback = QStringLiteral("http://%1:%2/ingest/%3")
                               .arg(QString::fromStdString(s.serviceAddress))
                               .arg(s.servicePort)
                               .arg(QString::fromStdString(s.secret));
  const QString record = s.recordDirectory.isEmpty()
                             ? QStringLiteral("      record off;")
                             : QStringLiteral(
                                   "      record all;\n"
                                   "      record_path %1;\n"
                                   "      record_suffix -%Y%m%d-%H%M%S.flv;")
                                   .replace(QStringLiteral("%1"), s.recordDirectory);
  // Passing on, the engine connects to itself from the address that it listens on.
  const bool every = s.listenAddress == "0.0.0.0" || s.listenAddress == "::";
  const QString allow =
      every
          ? QString()
          : QStringLiteral("      allow publish %1;").arg(QString::fromStdString(s.listenAddress));
  QString text = QString::fromUtf8(ReadResource("nginx.conf.in"));
  text.replace(QStringLiteral("@MODULE@"), s.module)
      .replace(QStringLiteral("@HOST@"), QString::fromStdString(Bracketed(s.listenAddress)))
      .replace(QStringLiteral("@ALLOW@"), allow)
      .replace(QStringLiteral("@RTMP_PORT@"), QString::number(s.rtmpPort))
      .replace(QStringLiteral("@HLS_PORT@"), QString::number(s.hlsPort))
      .replace(QStringLiteral("@CALLBACK@"), callback)
      .replace(QStringLiteral("@RECORD@"), record)
      .replace(QStringLiteral("@DIRECTORY@"), s.directory);
  return text;
}

Ingest::~Ingest() {
  Stop();
}

bool Ingest::CheckSettings(QString* error) const {
  if (m_settings.module.isEmpty()) {
    *error = QStringLiteral("nginx's RTMP module is not installed (libnginx-mod-rtmp)");
    return false;
  }
  for (const QString& path : {m_settings.directory, m_settings.recordDirectory}) {
    if (!FitsConfiguration(path)) {
      *error = QStringLiteral("nginx takes no path with a blank, a quote or one of $;{}\\#: %1")
                   .arg(path);
      return false;
    }
  }
  for (const int port : {m_settings.rtmpPort, m_settings.hlsPort}) {
    for (int waited = 0; PortInUse(m_settings.listenAddress, port); waited += kPollMs) {
      if (waited >= kPortMs) {
        *error = QStringLiteral("%1 port %2 is in use")
                     .arg(QString::fromStdString(m_settings.listenAddress))
                     .arg(port);
        return false;
      }
      QThread::msleep(kPollMs);
    }
  }
  return true;
}

bool Ingest::WriteFiles(QString* error) const {
  const QDir directory(m_settings.directory);
  QStringList folders;
  for (const char* name : {"hls", "tmp", "logs"}) {
    folders.append(directory.filePath(QLatin1String(name)));
  }
  if (!m_settings.recordDirectory.isEmpty()) {
    folders.append(m_settings.recordDirectory);
  }
  for (const QString& folder : folders) {
    if (!QDir().mkpath(folder)) {
      *error = QStringLiteral("%1 can't be made").arg(folder);
      return false;
    }
  }
  QFile file(ConfigurationPath());
  if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
      file.write(IngestConfiguration(m_settings).toUtf8()) < 0 || !file.flush()) {
    *error = QStringLiteral("%1: %2").arg(file.fileName(), file.errorString());
    return false;
  }
  return true;
}

QString Ingest::ConfigurationPath() const {
  return QDir(m_settings.directory).filePath(QStringLiteral("nginx.conf"));
}

bool Ingest::Start(QString* error) {
  if (!CheckSettings(error) || !WriteFiles(error)) {
    return false;
  }
  // A user's PATH often lacks the folders of servers.
  QString engine = QStandardPaths::findExecutable(QStringLiteral("nginx"));
  if (engine.isEmpty()) {
    engine = QStandardPaths::findExecutable(
        QStringLiteral("nginx"), {QStringLiteral("/usr/sbin"), QStringLiteral("/usr/local/sbin")});
  }
  if (engine.isEmpty()) {
    *error = QStringLiteral("nginx is not installed");
    return false;
  }
  m_engine.setProcessChannelMode(QProcess::MergedChannels);
  m_engine.start(engine, {QStringLiteral("-p"), m_settings.directory, QStringLiteral("-c"),
                          ConfigurationPath(), QStringLiteral("-e"), LogPath()});
  // It stays in the foreground: an end within the first moments is a refusal.
  if (!m_engine.waitForStarted(kStartMs)) {
    *error = QStringLiteral("nginx can't be started: %1").arg(m_engine.errorString());
    return false;
  }
  for (int waited = 0; waited < kStartMs; waited += kPollMs) {
    if (m_engine.waitForFinished(kPollMs)) {
      *error = QStringLiteral("nginx ended: %1")
                   .arg(QString::fromLocal8Bit(m_engine.readAll()).trimmed());
      return false;
    }
    if (PortInUse(m_settings.listenAddress, m_settings.rtmpPort)) {
      return true;
    }
  }
  *error = QStringLiteral("nginx does not listen on port %1").arg(m_settings.rtmpPort);
  Stop();
  return false;
}

QString Ingest::LogPath() const {
  return QDir(m_settings.directory).filePath(QStringLiteral("error.log"));
}

void Ingest::Tidy() const {
  const QDir pieces(QDir(m_settings.directory).filePath(QStringLiteral("hls")));
  const QDateTime old = QDateTime::currentDateTime().addSecs(-kPieceSeconds);
  for (const QFileInfo& piece : pieces.entryInfoList(QDir::Files)) {
    if (piece.lastModified() < old) {
      QFile::remove(piece.filePath());
    }
  }
  QFile log(LogPath());
  if (log.size() > kMaxLog) {
    log.resize(0);  // the engine appends, so it goes on at the beginning
  }
}

bool Ingest::Running() {
  m_engine.waitForFinished(0);
  m_engine.readAll();  // what it says goes to its log; a full pipe would block it
  return m_engine.state() != QProcess::NotRunning;
}

void Ingest::Stop() {
  if (m_engine.state() == QProcess::NotRunning) {
    return;
  }
  m_engine.terminate();
  if (!m_engine.waitForFinished(kStopMs)) {
    m_engine.kill();
    m_engine.waitForFinished(kStopMs);
  }
}

}  // namespace service
