// The recording in the bottom bar: its switch, which is there while a broadcast runs, and what the
// operator hears when a recording ends by itself.
//
// Flow: Begin shows the switch, off; a press begins a recording of the broadcast from its next key
// frame on, another one ends it; End, before the encoder goes, ends it too and hides the switch.
// The file is then closed without anybody waiting for it, and a failure there is told like any
// other, by a notice. After Leave nothing is told any more.
//
// Files go into "orvane" in the operator's directory for videos, under the title of the broadcast
// (output/RecordingName).
//
// Ownership: the switch belongs to the widget that its layout belongs to. The encoder is the
// window's; its pointer is read anew each time. Recordings are this object's; what a disk keeps
// waiting of them outlives it (output/Recorder).
//
// Threads: user interface thread only. Nothing here waits for a disk, but Close, up to 0.5 s on the
// way out of the program.
//
// Failure: a recording that can't begin, or goes on no longer, shows as off, with a notice; the
// broadcast is not touched.
#ifndef ORVANE_SHELL_RECORDINGDESK_H
#define ORVANE_SHELL_RECORDINGDESK_H

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <memory>
#include <string>
#include <vector>

class CEncoder;
class QBoxLayout;
class QWidget;
class RecordSwitch;

namespace output {
class Recorder;
struct RecordingStatus;
}  // namespace output

namespace shell {

class RecordingDesk : public QObject {
  Q_OBJECT

 public:
  explicit RecordingDesk(CEncoder* const& encoder, QObject* parent = nullptr);
  ~RecordingDesk() override;

  // Puts the switch behind that widget of the bar, hidden, in the place of the spacer there, so
  // that nothing moves for it.
  void AddTo(QBoxLayout* bar, QWidget* neighbour);
  // For the order of the Tab key.
  QWidget* Control() const;

  void Begin(const QString& title);
  void End();
  // End, and nothing is told from now on.
  void Leave();
  // Waits for the files that are still being closed: before the process ends.
  void Close();

 private:
  // That is being closed.
  struct Closing {
    std::unique_ptr<output::Recorder> recorder;
    QElapsedTimer since;
  };

  void Switch(bool on);
  void StartRecording();
  void LetGo();
  void Look();
  void LookAfterClosing(QStringList* failures);
  void NoteEnd(const output::RecordingStatus& status, QStringList* failures);
  void Show();
  void Tell(const QStringList& failures);

  CEncoder* const& m_encoder;
  RecordSwitch* m_switch = nullptr;
  QTimer m_timer;  // while there is a recording
  QString m_title;
  std::unique_ptr<output::Recorder> m_recorder;  // that the encoder's packets go to
  std::vector<Closing> m_closing;
  std::string m_last;  // the file of the last one
  QStringList m_untold;
  bool m_isTelling = false;
  bool m_left = false;
};

}  // namespace shell

#endif
