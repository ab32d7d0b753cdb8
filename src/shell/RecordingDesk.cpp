#include "shell/RecordingDesk.h"

#include <QBoxLayout>
#include <QDateTime>
#include <QFile>
#include <QLayoutItem>
#include <QStandardPaths>
#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

#include "output/CEncoder.h"
#include "output/Recorder.h"
#include "output/RecordingStatus.h"
#include "shell/RecordingWords.h"
#include "widgets/RecordSwitch.h"
#include "widgets/theme/InformationDlg.h"

namespace shell {

namespace {

using output::RecordingFault;
using output::RecordingState;
using output::RecordingStatus;

constexpr int kLookMs = 200;
constexpr int kGap = 14;
// As long as a disk may keep the packets of a recording that runs.
constexpr qint64 kClosingMs = 60'000;
constexpr std::chrono::milliseconds kLeave(500);

std::string Directory() {
  const QString videos = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
  return QFile::encodeName(videos + QStringLiteral("/orvane")).toStdString();
}

}  // namespace

RecordingDesk::RecordingDesk(CEncoder* const& encoder, QObject* parent)
    : QObject(parent), m_encoder(encoder) {
  connect(&m_timer, &QTimer::timeout, this, &RecordingDesk::Look);
}

RecordingDesk::~RecordingDesk() = default;

void RecordingDesk::AddTo(QBoxLayout* bar, QWidget* neighbour) {
  m_switch = new RecordSwitch;
  const int place = bar->indexOf(neighbour) + 1;
  // Still there when the switch is hidden, and as expanding as the spacer.
  QSizePolicy policy = m_switch->sizePolicy();
  policy.setRetainSizeWhenHidden(true);
  m_switch->setSizePolicy(policy);
  auto* box = new QHBoxLayout;
  box->addSpacing(kGap);
  box->addWidget(m_switch);
  box->addStretch();
  delete bar->takeAt(place);
  bar->insertLayout(place, box);
  m_switch->hide();
  connect(m_switch, &RecordSwitch::toggled, this, &RecordingDesk::Switch);
}

QWidget* RecordingDesk::Control() const {
  return m_switch;
}

void RecordingDesk::Begin(const QString& title) {
  m_title = title;
  Show();
  m_switch->show();
}

void RecordingDesk::End() {
  LetGo();
  Show();
  m_switch->hide();
}

void RecordingDesk::Leave() {
  m_left = true;
  End();
  m_timer.stop();
}

// All of them beside each other.
void RecordingDesk::Close() {
  const auto end = std::chrono::steady_clock::now() + kLeave;
  for (const Closing& closing : m_closing) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    closing.recorder->AwaitClosed(std::max(left, std::chrono::milliseconds(0)));
  }
  m_closing.clear();
}

void RecordingDesk::Switch(bool on) {
  if (on && m_encoder != nullptr && m_recorder == nullptr) {
    StartRecording();
  } else if (!on) {
    LetGo();
  }
  Show();
}

void RecordingDesk::StartRecording() {
  m_recorder = std::make_unique<output::Recorder>(
      output::RecordingPlace{Directory(), m_title, QDateTime::currentDateTime()});
  m_recorder->Start(*m_encoder);
  m_encoder->SetPacketOutput(m_recorder.get());
  m_timer.start(kLookMs);
}

// No packet is on its way to it afterwards.
void RecordingDesk::LetGo() {
  if (m_recorder == nullptr) {
    return;
  }
  if (m_encoder != nullptr) {
    m_encoder->SetPacketOutput(nullptr);
  }
  m_recorder->Finish();
  Closing closing;
  closing.recorder = std::move(m_recorder);
  closing.since.start();
  m_closing.push_back(std::move(closing));
}

void RecordingDesk::Look() {
  QStringList failures;
  if (m_recorder != nullptr && m_recorder->Status().fault != RecordingFault::kNone) {
    LetGo();
  }
  LookAfterClosing(&failures);
  Show();
  if (m_recorder == nullptr && m_closing.empty()) {
    m_timer.stop();
  }
  Tell(failures);
}

// A failure is told at once, however long the thread may still be held.
void RecordingDesk::LookAfterClosing(QStringList* failures) {
  for (auto closing = m_closing.begin(); closing != m_closing.end();) {
    // Asked first: the status of one that has closed is its last.
    const bool closed = closing->recorder->HasClosed();
    RecordingStatus status = closing->recorder->Status();
    if (!closed && status.fault == RecordingFault::kNone && closing->since.elapsed() > kClosingMs) {
      status.fault = RecordingFault::kTooSlow;
    }
    if (closed || status.fault != RecordingFault::kNone) {
      NoteEnd(status, failures);
      closing = m_closing.erase(closing);
    } else {
      ++closing;
    }
  }
}

void RecordingDesk::NoteEnd(const RecordingStatus& status, QStringList* failures) {
  if (status.bytes > 0) {
    m_last = status.path;
  }
  if (status.fault != RecordingFault::kNone) {
    failures->append(RecordingNotice(status));
  }
}

void RecordingDesk::Show() {
  std::optional<RecordingStatus> now;
  RecordSwitch::Look look = RecordSwitch::Look::kOff;
  if (m_recorder != nullptr) {
    now = m_recorder->Status();
    look = now->state == RecordingState::kRecording ? RecordSwitch::Look::kOn
                                                    : RecordSwitch::Look::kWaiting;
  }
  m_switch->Show(look);
  m_switch->Explain(RecordingTip(now, m_last));
}

// One after the other: meanwhile the window lives on, and more may fail.
void RecordingDesk::Tell(const QStringList& failures) {
  m_untold += failures;
  if (m_isTelling) {
    return;
  }
  m_isTelling = true;
  while (!m_untold.isEmpty() && !m_left) {
    InformationDlg(InformationDlg::kText, m_untold.takeFirst()).exec();
  }
  m_isTelling = false;
}

}  // namespace shell
