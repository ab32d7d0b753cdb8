#include "service/Ingest.h"

#include <signal.h>
#include <sys/prctl.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTcpServer>

#include "service/Resources.h"

namespace service {

namespace {

constexpr int kStartMs = 3000;
constexpr int kStopMs = 3000;

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
    const QString path = QLatin1String(directory) + QStringLiteral("/ngx_rtmp_module.so");
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
  QString text = QString::fromUtf8(ReadResource("nginx.conf.in"));
  text.replace(QStringLiteral("@MODULE@"), s.module)
      .replace(QStringLiteral("@HOST@"), QString::fromStdString(s.listenAddress))
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

bool Ingest::Start(QString* error) {
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
    if (PortInUse(m_settings.listenAddress, port)) {
      *error = QStringLiteral("%1 port %2 is in use")
                   .arg(QString::fromStdString(m_settings.listenAddress))
                   .arg(port);
      return false;
    }
  }
  const QDir directory(m_settings.directory);
  for (const char* name : {"hls", "tmp", "logs"}) {
    if (!directory.mkpath(QLatin1String(name))) {
      *error = QStringLiteral("%1 can't be written").arg(m_settings.directory);
      return false;
    }
  }
  if (!m_settings.recordDirectory.isEmpty() && !QDir().mkpath(m_settings.recordDirectory)) {
    *error = QStringLiteral("%1 can't be written").arg(m_settings.recordDirectory);
    return false;
  }
  const QString configuration = directory.filePath(QStringLiteral("nginx.conf"));
  QFile file(configuration);
  if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
      file.write(IngestConfiguration(m_settings).toUtf8()) < 0) {
    *error = QStringLiteral("%1: %2").arg(configuration, file.errorString());
    return false;
  }
  file.close();

  m_engine.setProcessChannelMode(QProcess::MergedChannels);
  m_engine.start(QStringLiteral("nginx"),
                 {QStringLiteral("-p"), m_settings.directory, QStringLiteral("-c"), configuration});
  // It stays in the foreground: an end within the first moments is a refusal.
  if (!m_engine.waitForStarted(kStartMs)) {
    *error = QStringLiteral("nginx can't be started: %1").arg(m_engine.errorString());
    return false;
  }
  for (int waited = 0; waited < kStartMs; waited += 20) {
    if (m_engine.waitForFinished(20)) {
      *error = QStringLiteral("nginx ended: %1")
                   .arg(QString::fromLocal8Bit(m_engine.readAll()).trimmed());
      return false;
    }
    if (PortInUse(m_settings.listenAddress, m_settings.rtmpPort)) {
      return true;
    }
  }
  *error = QStringLiteral("nginx does not listen on port %1").arg(m_settings.rtmpPort);
  return false;
}

bool Ingest::Running() {
  m_engine.waitForFinished(0);
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
