// The offer to bring the last scene back: a button in the empty place below the rows of the layer
// list, and a cross beside it for who does not want it.
//
// Flow: it stands at the lower edge of the list, where no row of a full scene reaches, through
// every size of the list. One of the two signals comes for each press; what is done then, and when
// the offer goes, is its owner's affair.
//
// Ownership: a child of the list's viewport. Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_SCENEOFFER_H
#define ORVANE_WIDGETS_SCENEOFFER_H

#include <QListView>
#include <QString>
#include <QWidget>

class QPushButton;

namespace widgets {

class SceneOffer : public QWidget {
  Q_OBJECT

 public:
  // summary: what would come back, plain text, for the tip and for screen readers.
  SceneOffer(QListView* list, const QString& summary);

  // In the order of the Tab key.
  QPushButton* RestoreButton() const { return m_restore; }
  QPushButton* DismissButton() const { return m_dismiss; }

 signals:
  void accepted();
  void declined();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Follow();

  QWidget* m_viewport;
  QPushButton* m_restore;
  QPushButton* m_dismiss;
};

}  // namespace widgets

#endif
