#include "shell/LayerRules.h"

#include "shell/LayerSlots.h"
#include "shell/SceneFile.h"
#include "widgets/OneLine.h"

namespace shell {

namespace {

const QPoint kMenuOffset(50, 130);
const QPoint kPanelOffset(150, 114);
constexpr int kMostOfLabel = 32;  // units of UTF-16

QString Quoted(const QString& kind, const QString& name) {
  const QString line = widgets::WithoutBreaks(name);
  return kind + QStringLiteral("“") +
         (line.size() > kMostOfLabel ? line.left(kMostOfLabel - 1) + QStringLiteral("…") : line) +
         QStringLiteral("”");
}

// Of a path, without the directories.
QString FilePart(const QString& path) {
  return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

QString ListOf(const QStringList& labels) {
  return labels.join(QStringLiteral("、"));
}

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

QString LabelOf(const LayerRecord& layer) {
  switch (layer.kind) {
    case LayerKind::kCamera:
      return Quoted(CameraName(), layer.source);
    case LayerKind::kWindow:
      return Quoted(QStringLiteral("窗口"), layer.name);
    case LayerKind::kText:
      return Quoted(QStringLiteral("文本"), layer.name);
    case LayerKind::kPicture:
      return Quoted(PictureName(), FilePart(layer.source));
    case LayerKind::kFilm:
      return Quoted(FileName(), FilePart(layer.source));
    default:
      return DeskName();
  }
}

QString OfferSummary(const Scene& scene) {
  QStringList labels;
  for (auto layer = scene.crbegin(); layer != scene.crend(); ++layer) {
    labels.append(LabelOf(*layer));
  }
  return QStringLiteral("上次的%1个图层：").arg(scene.size()) + ListOf(labels);
}

QString LeftOutText(const QStringList& gone, const QStringList& tooMany) {
  QStringList lines;
  if (!gone.isEmpty()) {
    lines.append(QStringLiteral("已不存在，未能恢复：") + ListOf(gone));
  }
  if (!tooMany.isEmpty()) {
    lines.append(QStringLiteral("图层已满，未能恢复：") + ListOf(tooMany));
  }
  return lines.join(QLatin1Char('\n'));
}

platform::WindowHandle WindowOfTitle(const std::map<platform::WindowHandle, QString>& windows,
                                     const QString& title,
                                     const std::set<platform::WindowHandle>& taken) {
  platform::WindowHandle found = 0;
  for (const auto& [handle, name] : windows) {
    if (KeptText(name) != KeptText(title)) {
      continue;
    }
    if (taken.count(handle) == 0) {
      return handle;
    }
    found = found == 0 ? handle : found;
  }
  return found;
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
