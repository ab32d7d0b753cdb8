#include "shell/LayerRules.h"

#include "shell/LayerSlots.h"

namespace shell {

namespace {

const QPoint kMenuOffset(50, 130);
const QPoint kPanelOffset(150, 114);

}  // namespace

int PositionOfRow(int rows, int row) {
  return rows - row - 1;
}

bool SceneIsFull(int rows) {
  return rows >= kLayerLimit;
}

QString SceneIsFullText() {
  return QStringLiteral("最多只能添加%1个图层，请先删除不需要的图层").arg(kLayerLimit);
}

QString DeskName() {
  return QStringLiteral("全屏桌面");
}

QString CameraName() {
  return QStringLiteral("摄像头");
}

QString WindowName() {
  return QStringLiteral("窗口捕获");
}

QString PictureName() {
  return QStringLiteral("图片");
}

QString FileName() {
  return QStringLiteral("视频文件");
}

FileQuestion PictureQuestion() {
  return {QStringLiteral("打开图片文件"),
          SpacedPatterns(QStringLiteral("图片文件(*.png; *.jpg; *.bmp)"))};
}

FileQuestion MediaQuestion() {
  return {QStringLiteral("打开视频文件"),
          SpacedPatterns(QStringLiteral("视频文件(*.mp4; *.rm; *.rmvb; *.avi; *.mkv; *.flv; *.3gp; "
                                        "*.mpg; *.mov; *.ts; *.mp3)"))};
}

QString SpacedPatterns(const QString& filter) {
  return QString(filter).remove(QLatin1Char(';'));
}

std::string FirstPath(const QStringList& files) {
  return files.isEmpty() ? std::string() : files.first().toStdString();
}

QPoint MenuPlace(const QPoint& button) {
  return button - kMenuOffset;
}

QPoint PanelPlace(const QPoint& mouse) {
  return mouse - kPanelOffset;
}

QPoint TipPlace(const QPoint& mouse, const QSize& tip, const QRect& row, const QRect& screen) {
  const QPoint place = PanelPlace(mouse);
  if (!QRect(place, tip).intersects(row)) {
    return place;
  }
  const int above = row.top() - tip.height();
  return QPoint(place.x(), above >= screen.top() ? above : row.bottom() + 1);
}

}  // namespace shell
