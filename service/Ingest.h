// The RTMP ingest: nginx with its RTMP module, run from a configuration that the service makes.
//
// A publish is let in only with the stream key of an activity of this service; the stream is then
// given out under the activity's public id, as RTMP and as HLS. An idle publisher is dropped, so
// that a program that lost its connection gets in again as soon as possible.
//
// Ownership: the engine is a child process and ends with the object. Threads: one.
#ifndef ORVANE_SERVICE_INGEST_H
#define ORVANE_SERVICE_INGEST_H

#include <QProcess>
#include <QString>
#include <string>

namespace service {

// The engine's RTMP module where distributions put it; empty when it is not installed.
QString FindRtmpModule();

struct IngestSettings {
  QString module = FindRtmpModule();
  std::string listenAddress = "127.0.0.1";
  int rtmpPort = 1935;
  int hlsPort = 18081;
  std::string serviceAddress = "127.0.0.1";  // as in a URL
  int servicePort = 18080;
  std::string secret;
  QString directory;        // of its own: configuration, logs, HLS pieces
  QString recordDirectory;  // empty: nothing is recorded
};

// The text of nginx.conf. Deterministic, so that a test can hold it.
QString IngestConfiguration(const IngestSettings& settings);

// A child that the kernel ends when the service dies without ending it.
class ChildProcess : public QProcess {
 protected:
  void setupChildProcess() override;
};

class Ingest {
 public:
  explicit Ingest(const IngestSettings& settings) : m_settings(settings) {}
  ~Ingest();
  Ingest(const Ingest&) = delete;
  Ingest& operator=(const Ingest&) = delete;

  // Writes the configuration and starts the engine. False with *error in words: no engine, no
  // module, or a port in use.
  bool Start(QString* error);
  void Stop();
  // Whether the engine is still there.
  bool Running();
  // Removes the pieces of streams that no player asks for any more, and cuts the engine's log when
  // it has grown large. To be called now and then.
  void Tidy() const;

 private:
  bool CheckSettings(QString* error) const;
  bool WriteFiles(QString* error) const;
  QString ConfigurationPath() const;
  QString LogPath() const;

  IngestSettings m_settings;
  ChildProcess m_engine;
};

// Whether something already listens there.
bool PortInUse(const std::string& address, int port);

}  // namespace service

#endif
