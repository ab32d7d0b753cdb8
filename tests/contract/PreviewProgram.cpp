// The main window on the screen, with layers of one colour instead of the desktop and the cameras,
// for a test that drives it from outside. Twenty times a second it writes down how things stand:
//
//   native window of the preview, selected layer, window maximised (0 or 1),
//   x y width height of the window's client area in its own pixels,
//   x y of the preview, and of the middle of the maximise button, in the window,
//   x y width height of each layer in the scene
//
//   preview_program STATE-FILE COLOUR,X,Y,WIDTH,HEIGHT ...
//
// Each layer's source has the size that the layer begins with. SIGTERM ends it.
#include <QApplication>
#include <QColor>
#include <QFile>
#include <QImage>
#include <QSaveFile>
#include <QStringList>
#include <QTextStream>
#include <QThread>
#include <QTimer>

#include "output/CRender.h"
#include "shell/Libraries.h"
#include "shell/OrvaneMembers.h"
#include "shell/QuitSignals.h"
#include "sources/CInputPic.h"
#include "widgets/theme/Theme.h"

namespace {

class Program : public support::OrvaneMembers {
 public:
  void DropDefaultLayers() {
    while (m_render->LayerCount() > 0) {
      m_slots.Drop(0, m_render);
    }
  }

  void AddColour(const QString& layer) {
    const QStringList words = layer.split(',');
    QImage picture(words[3].toInt(), words[4].toInt(), QImage::Format_RGB888);
    picture.fill(QColor(words[0]));
    const QString path = QString("layer%1.png").arg(m_render->LayerCount());
    picture.save(path);
    auto* node = new CInputPic(path.toStdString());
    const int slot = shell::LayerSlots::Link(node, m_render);
    node->Start();
    m_slots.Keep(slot, node);
    int width = 0;
    int height = 0;
    // The picture is decoded and scaled by threads of their own, which tell nobody.
    while (width == 0) {
      QThread::msleep(10);
      m_render->GetLayerNaturalSize(slot, &width, &height);
    }
    m_render->SetLayerRect(slot, words[1].toInt(), words[2].toInt(), width, height);
  }

  void Write(const QString& path) {
    QSaveFile file(path);
    file.open(QIODevice::WriteOnly);
    QTextStream text(&file);
    text << ui.m_renderWgt->winId() << ' ' << m_render->selectedLayer << ' '
         << static_cast<int>(m_maximised) << ' ' << geometry().x() << ' ' << geometry().y() << ' '
         << width() << ' ' << height();
    const QPoint button = ui.m_BtnMax->mapTo(this, ui.m_BtnMax->rect().center());
    text << ' ' << ui.m_renderWgt->x() << ' ' << ui.m_renderWgt->y() << ' ' << button.x() << ' '
         << button.y();
    for (int slot = 0; slot < shell::kLayerLimit; ++slot) {
      int x = 0;
      int y = 0;
      int w = 0;
      int h = 0;
      if (m_render->GetLayerRect(slot, &x, &y, &w, &h) == 0) {
        text << ' ' << x << ' ' << y << ' ' << w << ' ' << h;
      }
    }
    text.flush();
    file.commit();
  }
};

}  // namespace

int main(int argc, char** argv) {
  shell::PrepareProcess();
  QApplication application(argc, argv);
  const shell::QuitSignals quitSignals;
  PrepareTheme();
  const QStringList arguments = QApplication::arguments();
  Program window;
  window.InitGraph();
  window.DropDefaultLayers();
  for (const QString& layer : arguments.mid(2)) {
    window.AddColour(layer);
  }
  window.show();
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, &window, [&] { window.Write(arguments[1]); });
  timer.start(50);
  const int status = QApplication::exec();
  window.CloseGraph();
  return status;
}
