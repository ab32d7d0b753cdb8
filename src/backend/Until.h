// Until when an answer of the service is waited for.
//
// Flow: made by whoever calls, for one call or for several in a row, and handed to each of them.
// A wait ends with what it waits for, or before that, without it, when the application is told to
// quit, and when this object ends: with its dialog (finished or destroyed), or by End. From then on
// every wait ends at once, and a reply that comes later changes nothing.
//
// A brief one is for calls that nobody asked for: it has a limit, and their failure is not shown.
//
// Threads: user interface thread only. Each wait runs a local event loop: any slot may run in it.
#ifndef ORVANE_BACKEND_UNTIL_H
#define ORVANE_BACKEND_UNTIL_H

#include <QEventLoop>
#include <QObject>

class QDialog;

namespace backend {

class Until : public QObject {
  Q_OBJECT

 public:
  struct Brief {
    int ms;  // the longest of each wait
    // Goes on when the application is told to quit, or has been told before.
    bool whileQuitting = false;
  };

  Until() = default;
  explicit Until(const QDialog* dialog);
  explicit Until(Brief brief) : m_brief(brief) {}

  bool IsEnded() const { return m_ended; }
  bool IsBrief() const { return m_brief.ms > 0; }
  const Brief& Limits() const { return m_brief; }

  // True when the signal came. The sender outlives the wait.
  template <typename Sender, typename Signal>
  bool Wait(const Sender* sender, Signal signal) const {
    QEventLoop loop;
    bool came = false;
    connect(sender, signal, &loop, [&loop, &came] {
      came = true;
      Leave(&loop);
    });
    return Run(&loop, &came);
  }

 public slots:
  void End();

 signals:
  void ended();

 private:
  static void Leave(QEventLoop* loop);
  bool Run(QEventLoop* loop, const bool* came) const;

  const Brief m_brief{0, false};
  bool m_ended = false;
};

}  // namespace backend

#endif
