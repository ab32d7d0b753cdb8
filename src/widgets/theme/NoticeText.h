// The text of a notice: one line as any label's, more of them wrapped, and what does not fit at all
// ended with an ellipsis. text() stays whole, for those who hear it.
//
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_THEME_NOTICETEXT_H
#define ORVANE_WIDGETS_THEME_NOTICETEXT_H

#include <QFont>
#include <QLabel>
#include <QSize>
#include <QStringList>

namespace theme {

// The lines of text in that much room, broken between words where there are any; the last one
// elided when more would follow.
QStringList LinesIn(const QString& text, const QFont& font, const QSize& room);

class NoticeText : public QLabel {
  Q_OBJECT

 public:
  explicit NoticeText(QWidget* parent) : QLabel(parent) {}

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace theme

#endif
