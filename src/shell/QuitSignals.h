// Ends the application's event loop properly on SIGTERM and SIGINT, so that a broadcast gets its
// trailer and every node is stopped.
//
// Flow: the signal handler does the one thing that is safe there, it writes a byte into a socket;
// the user interface thread reads it from its event loop and asks the application to quit. A signal
// that comes before the loop runs ends it as soon as it does.
//
// Made on the user interface thread after the application object, one at a time; with it go the
// handlers.
#ifndef ORVANE_SHELL_QUITSIGNALS_H
#define ORVANE_SHELL_QUITSIGNALS_H

#include <QObject>
#include <memory>

class QSocketNotifier;

namespace shell {

class QuitSignals : public QObject {
 public:
  QuitSignals();
  ~QuitSignals() override;

 private:
  void Quit();

  std::unique_ptr<QSocketNotifier> m_notifier;
};

}  // namespace shell

#endif
