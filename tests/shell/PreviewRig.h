// A real window before a real renderer whose workers stand still, and the mouse on it, by events as
// the system sends them.
#ifndef ORVANE_TESTS_SHELL_PREVIEWRIG_H
#define ORVANE_TESTS_SHELL_PREVIEWRIG_H

#include <gtest/gtest.h>

#include <QApplication>
#include <QMouseEvent>
#include <vector>

#include "output/RenderHarness.h"
#include "shell/CEvent.h"
#include "shell/OrvaneMembers.h"

namespace support {

using Numbers = std::vector<int>;

class PreviewMouse : public testing::Test {
 protected:
  void SetUp() override {
    window.m_render = &render;
    window.show();
    SetPreview(QSize(960, 540));
    QApplication::processEvents();
    preview = window.ui.m_renderWgt->pos();
  }
  void TearDown() override { window.m_render = nullptr; }

  static void SetPreview(QSize size) { emit CEvent::instance()->renderSize(size); }

  // A layer whose source has that size.
  int AddLayer(const output::Rect& rect, int naturalWidth = 640, int naturalHeight = 360) {
    const int slot = render.AddLayer();
    render.Feed(slot, support::NewPicture(naturalWidth, naturalHeight, support::kRed));
    render.ScaleTurn();
    render.SetLayerRect(slot, rect.x, rect.y, rect.width, rect.height);
    return slot;
  }
  // A layer whose source has not sent a picture, or never does.
  int AddUnknown(const output::Rect& rect) {
    const int slot = render.AddLayer();
    render.SetLayerRect(slot, rect.x, rect.y, rect.width, rect.height);
    return slot;
  }
  Numbers RectOf(int slot) {
    Numbers rect(4);
    if (render.GetLayerRect(slot, &rect[0], &rect[1], &rect[2], &rect[3]) != 0) {
      rect.clear();
    }
    return rect;
  }

  // Sends an event at a position of the window; whether it stayed accepted.
  bool Send(QEvent::Type type, const QPoint& at, Qt::MouseButton button) {
    if (type == QEvent::MouseButtonRelease) {
      held &= ~Qt::MouseButtons(button);
    } else if (button != Qt::NoButton) {
      held |= button;
    }
    QMouseEvent event(type, at, at + window.pos(), button, held, Qt::NoModifier);
    event.accept();
    QApplication::sendEvent(&window, &event);
    return event.isAccepted();
  }
  bool Press(const QPoint& at, Qt::MouseButton button = Qt::LeftButton) {
    return Send(QEvent::MouseButtonPress, at, button);
  }
  bool Move(const QPoint& at) { return Send(QEvent::MouseMove, at, Qt::NoButton); }
  bool Release(const QPoint& at, Qt::MouseButton button = Qt::LeftButton) {
    return Send(QEvent::MouseButtonRelease, at, button);
  }
  // The point of the window over that point of the preview.
  QPoint On(int x, int y) const { return preview + QPoint(x, y); }
  void Click(const QPoint& at) {
    Press(at);
    Release(at);
  }
  void Drag(const QPoint& from, const QPoint& to) {
    Press(from);
    Move(to);
    Release(to);
  }

  support::HandRender render;
  OrvaneMembers window;
  QPoint preview;
  Qt::MouseButtons held = Qt::NoButton;
};

}  // namespace support

#endif
