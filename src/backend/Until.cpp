#include "backend/Until.h"

#include <QDialog>
#include <QTimer>

namespace backend {

namespace {

constexpr int kCame = 1;  // what a loop returns that nobody told to quit

}  // namespace

Until::Until(const QDialog* dialog) {
  connect(dialog, &QDialog::finished, this, &Until::End);
  connect(dialog, &QObject::destroyed, this, &Until::End);
}

void Until::End() {
  if (!m_ended) {
    m_ended = true;
    emit ended();
  }
}

// A loop that the application has left already keeps the status of that.
void Until::Leave(QEventLoop* loop) {
  if (loop->isRunning()) {
    loop->exit(kCame);
  }
}

bool Until::Run(QEventLoop* loop, const bool* came) const {
  if (m_ended) {
    return false;
  }
  connect(this, &Until::ended, loop, &QEventLoop::quit);
  QTimer limit;
  bool over = false;
  if (IsBrief()) {
    connect(&limit, &QTimer::timeout, loop, [loop, &over] {
      over = true;
      loop->quit();
    });
    limit.start(m_brief.ms);
  }
  const bool undisturbed = loop->exec() == kCame;
  if (!m_brief.whileQuitting) {
    return undisturbed && !m_ended;
  }
  // Once the application has been told to quit no loop runs any more: events are taken by hand.
  while (!*came && !m_ended && !over) {
    loop->processEvents(QEventLoop::WaitForMoreEvents);
  }
  return *came && !m_ended;
}

}  // namespace backend
