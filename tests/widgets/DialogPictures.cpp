#include "widgets/DialogPictures.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>

#include "support/VirtualDesktop.h"
#include "widgets/PictureCompare.h"
#include "widgets/theme/Theme.h"

namespace support {

namespace {

// Away from the pointer, which stands in the middle of the screen and would light up a button.
constexpr QPoint kPlace(60, 60);
// How much of the screen around a dialog belongs to its picture.
constexpr int kSurroundings = 20;
constexpr int kPatienceMs = 60000;
// How long a picture may stand still before its last part comes: a camera's first frame, or what a
// compositor that waits for its turn has not drawn yet.
constexpr int kLateMs = 15000;

QImage ImageOf(const ScreenPicture& screen) {
  const QImage shared(screen.rgb.data(), screen.width, screen.height, 3 * screen.width,
                      QImage::Format_RGB888);
  return shared.convertToFormat(QImage::Format_RGB32);
}

// Where a dialog shows text, in the coordinates of its picture.
std::vector<QRect> TextsOf(const QWidget& dialog) {
  std::vector<QRect> texts;
  for (const QWidget* child : dialog.findChildren<QWidget*>()) {
    const auto* label = qobject_cast<const QLabel*>(child);
    const auto* button = qobject_cast<const QPushButton*>(child);
    const bool hasText = (label != nullptr && !label->text().isEmpty()) ||
                         (button != nullptr && !button->text().isEmpty()) ||
                         qobject_cast<const QLineEdit*>(child) != nullptr ||
                         qobject_cast<const QTextEdit*>(child) != nullptr;
    if (hasText && child->isVisible()) {
      const QPoint corner = child->mapTo(&dialog, QPoint(0, 0));
      texts.emplace_back(corner + QPoint(kSurroundings, kSurroundings), child->size());
    }
  }
  return texts;
}

std::vector<QRect> AllTexts(const QWidget& dialog, const std::vector<QRect>& painted) {
  std::vector<QRect> texts = TextsOf(dialog);
  for (const QRect& text : painted) {
    texts.push_back(text.translated(kSurroundings, kSurroundings));
  }
  return texts;
}

}  // namespace

VirtualDesktop* DialogPictures::s_desktop = nullptr;
QApplication* DialogPictures::s_application = nullptr;

void DialogPictures::SetUpTestSuite() {
  s_desktop = new VirtualDesktop;
  DesktopOptions options;
  options.windowManager = true;
  options.compositor = true;
  ASSERT_TRUE(s_desktop->Start(options)) << s_desktop->Output();
  // The pictures must not depend on the desktop that the tests are started from.
  for (const char* name :
       {"QT_QPA_PLATFORMTHEME", "QT_STYLE_OVERRIDE", "QT_SCALE_FACTOR", "XDG_CURRENT_DESKTOP"}) {
    qunsetenv(name);
  }
  qputenv("QT_QPA_PLATFORM", "xcb");
  qputenv("QT_FONT_DPI", "96");
  static int argc = 1;
  static char name[] = "DialogPicturesTest";
  static char* argv[] = {name, nullptr};
  s_application = new QApplication(argc, argv);
  QApplication::setCursorFlashTime(0);
  PrepareTheme();
}

void DialogPictures::TearDownTestSuite() {
  // The application stays: with it Qt would unload its platform plugin, and what that keeps for
  // the life of the process would look lost. It handles no event any more that could miss the
  // screen.
  delete s_desktop;
}

void DialogPictures::Open(QWidget* dialog) {
  if (!dialog->isVisible()) {
    // Before it is shown: a window manager that is late must have no say in its size.
    dialog->setFixedSize(dialog->size());
    dialog->move(kPlace);
    dialog->show();
  }
  dialog->activateWindow();
  EXPECT_TRUE(QTest::qWaitForWindowActive(dialog, kPatienceMs));
}

QImage DialogPictures::Shoot(QWidget* dialog) {
  Open(dialog);
  // No dialog has a frame. What Qt tells of one may come from before the window manager was done.
  const QRect area = QRect(kPlace, dialog->size())
                         .adjusted(-kSurroundings, -kSurroundings, kSurroundings, kSurroundings);
  QImage last;
  int same = 0;
  EXPECT_TRUE(QTest::qWaitFor(
      [&] {
        const QImage now = ImageOf(s_desktop->ReadScreen()).copy(area);
        // A body that can be seen; before the first frame of the compositor there is none.
        const bool drawn = now.pixelColor(now.width() / 2, now.height() - 35).value() < 80;
        same = drawn && now == last ? same + 1 : 0;
        last = now;
        return same >= 5;
      },
      kPatienceMs));
  return last;
}

void DialogPictures::ExpectPicture(const std::string& name, QWidget* dialog,
                                   const std::vector<QRect>& texts) {
  QImage got = Shoot(dialog);
  const QString reference = QString::fromStdString(ORVANE_REFERENCE_DIR "/" + name + ".png");
  if (qEnvironmentVariableIsSet("ORVANE_REMAKE_REFERENCE")) {
    ASSERT_TRUE(got.save(reference));
    return;
  }
  const QImage wanted = QImage(reference).convertToFormat(QImage::Format_RGB32);
  PictureDifference difference = Compare(got, wanted, AllTexts(*dialog, texts));
  const auto asWanted = [&] {
    if (difference.pixels > 0) {
      got = Shoot(dialog);
      difference = Compare(got, wanted, AllTexts(*dialog, texts));
    }
    return difference.pixels == 0;
  };
  static_cast<void>(QTest::qWaitFor(asWanted, kLateMs));  // what is left is told below
  if (difference.pixels > 0) {
    const QDir results(QStringLiteral(ORVANE_PICTURE_RESULTS));
    QDir().mkpath(results.path());
    const QString base = results.filePath(QString::fromStdString(name));
    got.save(base + ".got.png");
    wanted.save(base + ".wanted.png");
    difference.picture.save(base + ".difference.png");
    const QRect where = difference.where;
    ADD_FAILURE() << name << ": " << difference.pixels << " pixels differ, between " << where.left()
                  << "," << where.top() << " and " << where.right() << "," << where.bottom()
                  << "; see " << base.toStdString() << ".{got,wanted,difference}.png";
  }
}

}  // namespace support
