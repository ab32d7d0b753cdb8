#include <QDir>
#include <QFileInfo>
#include <QHostAddress>

#include "service/CommandLine.h"
#include "service/Serve.h"

namespace service {

namespace {

constexpr int kMaxSessionHours = 24 * 366;

// An option with a port as its value; false with a complaint printed.
bool ReadPort(const QCommandLineParser& parser, const QCommandLineOption& option, int* port) {
  bool isNumber = false;
  *port = parser.value(option).toInt(&isNumber);
  if (!isNumber || *port < 1 || *port > 65535) {
    PrintError(QStringLiteral("\"%1\" is no port").arg(parser.value(option)), kUsage);
    return false;
  }
  return true;
}

// An option with an address of this machine as its value; false with a complaint printed.
bool ReadAddress(const QCommandLineParser& parser, const QCommandLineOption& option,
                 std::string* address) {
  const QString text = parser.value(option);
  if (QHostAddress(text).isNull()) {
    PrintError(QStringLiteral("\"%1\" is no address (a name is none)").arg(text), kUsage);
    return false;
  }
  *address = text.toStdString();
  return true;
}

}  // namespace

int ServeCommand(const QStringList& arguments) {
  Parsed parsed;
  QCommandLineParser& parser = parsed.parser;
  const QString address = QStringLiteral("ADDRESS");
  const QString number = QStringLiteral("N");
  const QCommandLineOption listen(QStringLiteral("listen"),
                                  QStringLiteral("The address to listen on."), address,
                                  QStringLiteral("127.0.0.1"));
  const QCommandLineOption port(QStringLiteral("port"), QStringLiteral("The port."), number,
                                QStringLiteral("18080"));
  const QCommandLineOption ingest(QStringLiteral("ingest"),
                                  QStringLiteral("Run the RTMP ingest beside it."));
  const QCommandLineOption ingestHost(
      QStringLiteral("ingest-host"),
      QStringLiteral("The address that the ingest listens on and that clients are told."), address,
      QStringLiteral("127.0.0.1"));
  const QCommandLineOption rtmpPort(QStringLiteral("rtmp-port"), QStringLiteral("Of the ingest."),
                                    number, QStringLiteral("1935"));
  const QCommandLineOption hlsPort(QStringLiteral("hls-port"), QStringLiteral("Of the ingest."),
                                   number, QStringLiteral("18081"));
  const QCommandLineOption ingestDirectory(QStringLiteral("ingest-dir"),
                                           QStringLiteral("Where the ingest keeps its files."),
                                           QStringLiteral("DIRECTORY"));
  const QCommandLineOption record(QStringLiteral("record"),
                                  QStringLiteral("Record every stream there."),
                                  QStringLiteral("DIRECTORY"));
  const QCommandLineOption session(QStringLiteral("session-hours"),
                                   QStringLiteral("How long a login lasts."), number,
                                   QStringLiteral("12"));
  parser.addOptions(
      {listen, port, ingest, ingestHost, rtmpPort, hlsPort, ingestDirectory, record, session});
  Parse(&parsed, QStringLiteral("serve"),
        QStringLiteral("Answers the program until SIGTERM or SIGINT."), arguments, 0);
  if (parsed.Ended()) {
    return parsed.exitCode;
  }
  ServeOptions options;
  bool isNumber = false;
  options.settings.sessionSeconds = 3600LL * parser.value(session).toInt(&isNumber);
  if (!ReadPort(parser, port, &options.settings.port) ||
      !ReadPort(parser, rtmpPort, &options.settings.rtmpPort) ||
      !ReadPort(parser, hlsPort, &options.hlsPort) ||
      !ReadAddress(parser, listen, &options.settings.listenAddress) ||
      !ReadAddress(parser, ingestHost, &options.settings.ingestHost)) {
    return kUsage;
  }
  if (!isNumber || options.settings.sessionSeconds < 3600 ||
      options.settings.sessionSeconds > 3600LL * kMaxSessionHours) {
    return PrintError(QStringLiteral("a session lasts 1 to %1 hours").arg(kMaxSessionHours),
                      kUsage);
  }
  options.database = DatabasePath(parser);
  options.ingest = parser.isSet(ingest);
  options.ingestDirectory =
      parser.isSet(ingestDirectory)
          ? QFileInfo(parser.value(ingestDirectory)).absoluteFilePath()
          : QFileInfo(options.database).absoluteDir().filePath(QStringLiteral("ingest"));
  if (parser.isSet(record)) {
    options.recordDirectory = QFileInfo(parser.value(record)).absoluteFilePath();
  }
  return Serve(options);
}

}  // namespace service
