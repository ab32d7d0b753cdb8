// Something that is dragged in this program, for tests that hand out the events of the drag
// themselves: what an event tells of its source is what Qt knows of the drag under way.
//
// Threads: user interface thread only.
#ifndef ORVANE_TESTS_SUPPORT_OWNDRAG_H
#define ORVANE_TESTS_SUPPORT_OWNDRAG_H

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDrag>
#include <QKeyEvent>
#include <QMimeData>
#include <QTimer>
#include <functional>

namespace support {

// Calls what while source drags; null: at once, as for a drag that another program makes.
inline void WhileDragged(QObject* source, const std::function<void()>& what) {
  if (source == nullptr) {
    what();
    return;
  }
  auto* drag = new QDrag(source);  // goes by itself
  drag->setMimeData(new QMimeData);
  bool called = false;
  QTimer::singleShot(0, [&] {
    called = true;
    what();
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QCoreApplication::sendEvent(source, &escape);
  });
  drag->exec(Qt::MoveAction);
  EXPECT_TRUE(called) << "the drag ended before it began";
}

}  // namespace support

#endif
