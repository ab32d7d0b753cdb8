// The program-wide bus: signals between parts of the interface that do not know each other.
//
// Flow: the emitter calls the signal on the one instance, and every connected slot runs inside the
// emit, on the user interface thread, where all emitters and receivers live.
//
// Lifetime: the instance is constructed before main begins and lives until the process ends, so it
// may be connected to before the application object exists. Nobody owns or deletes it.
#ifndef ORVANE_SHELL_CEVENT_H
#define ORVANE_SHELL_CEVENT_H

#include <QObject>
#include <QSize>

class CEvent : public QObject {
  Q_OBJECT

 public:
  static CEvent* instance();

 signals:
  // The preview is to take this size, in logical pixels. newSize is the emitter's and outlives the
  // emit.
  void renderSize(QSize& newSize);
  // The operator asked for another account.
  void loginChange();

 private:
  CEvent() = default;

  static CEvent s_instance;
};

#endif
