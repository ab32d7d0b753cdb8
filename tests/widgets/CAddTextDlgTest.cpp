#include "widgets/CAddTextDlg.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QColorDialog>
#include <QImage>
#include <QInputMethodEvent>
#include <QLabel>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>
#include <QTimer>
#include <functional>
#include <vector>

#include "widgets/ColourHand.h"
#include "widgets/DialogHand.h"

namespace {

using support::Button;
using support::ChooseColour;
using support::Click;
using support::Exec;

// One end of the dialog, by name for the message of a failure.
struct WayOut {
  const char* name;
  std::function<void(CAddTextDlg&)> go;
};

QTextEdit* Field(const QWidget& dialog) {
  return dialog.findChild<QTextEdit*>(QStringLiteral("textEdit"));
}

QString SwatchStyle(const QWidget& dialog) {
  return Button(dialog, "m_chooseColorBtn")->styleSheet();
}

void Take(CAddTextDlg* dialog, const QColor& colour) {
  EXPECT_EQ(ChooseColour(dialog,
                         [&](QColorDialog* colours) {
                           colours->setCurrentColor(colour);
                           QTest::keyClick(colours, Qt::Key_Return);
                         }),
            1);
}

const std::vector<WayOut>& WaysToCancel() {
  static const std::vector<WayOut> ways = {
      {"the cancel button", [](CAddTextDlg& d) { Click(d, "m_cancelBtn"); }},
      {"the cross", [](CAddTextDlg& d) { Click(d, "m_BtnExit"); }},
      {"Escape in the field", [](CAddTextDlg& d) { QTest::keyClick(Field(d), Qt::Key_Escape); }},
      {"the window manager", [](CAddTextDlg& d) { d.close(); }},
  };
  return ways;
}

class PaintCount : public QObject {
 public:
  int paints = 0;

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    paints += event->type() == QEvent::Paint ? 1 : 0;
    return false;
  }
};

}  // namespace

TEST(CAddTextDlg, StandsAtItsGeometryInItsStyle) {
  const CAddTextDlg dialog;
  EXPECT_EQ(dialog.objectName(), QStringLiteral("TextDlg"));
  EXPECT_EQ(dialog.windowTitle(), QStringLiteral("添加文本"));
  EXPECT_EQ(dialog.size(), QSize(480, 320));
  EXPECT_EQ(dialog.minimumSize(), dialog.size());
  EXPECT_EQ(dialog.maximumSize(), dialog.size());
  EXPECT_EQ(dialog.font().family(), QStringLiteral("黑体"));
  EXPECT_TRUE(dialog.testAttribute(Qt::WA_TranslucentBackground));
  EXPECT_TRUE(dialog.windowFlags().testFlag(Qt::FramelessWindowHint));
  EXPECT_FALSE(dialog.testAttribute(Qt::WA_QuitOnClose));
  const struct {
    const char* name;
    QRect geometry;
    const char* style;
  } rows[] = {
      {"m_cancelBtn",
       {110, 260, 120, 40},
       "border-image:url(:/orvane/qietu/action-btn.png);font:500 12px 黑体;color:#878e99"},
      {"m_ok",
       {250, 260, 120, 40},
       "border-image:url(:/orvane/qietu/action-btn.png);font:bold 12px 黑体;color:#20a0ff"},
      {"logoLabel", {20, 18, 101, 25}, "color:#878e99"},
      {"colorLabel", {20, 215, 42, 20}, "color:#878e99"},
      {"m_chooseColorBtn", {62, 218, 14, 14}, "background-color:#ffffff"},
      {"textEdit",
       {21, 70, 440, 120},
       "QTextEdit{border:0px solid grey;border-radius:5px;padding:10px 5px 10px 5px;"
       "background:#3d3f45;font:bold 13px 黑体;color:#878e99;}"},
  };
  for (const auto& row : rows) {
    const auto* widget = dialog.findChild<QWidget*>(QLatin1String(row.name));
    ASSERT_NE(widget, nullptr) << row.name;
    EXPECT_EQ(widget->geometry(), row.geometry) << row.name;
    EXPECT_EQ(widget->styleSheet(), QString::fromUtf8(row.style)) << row.name;
  }
  EXPECT_EQ(Button(dialog, "m_BtnExit")->geometry(), QRect(436, 23, 16, 16));
  EXPECT_EQ(Button(dialog, "m_BtnExit")->minimumSize(), QSize(16, 16));
  EXPECT_EQ(Button(dialog, "m_BtnExit")->maximumSize(), QSize(16, 16));
  EXPECT_TRUE(Button(dialog, "m_BtnExit")->styleSheet().contains(QStringLiteral("topbar-close")));
}

TEST(CAddTextDlg, SaysWhatItAsksFor) {
  const CAddTextDlg dialog;
  const auto* logo = dialog.findChild<QLabel*>(QStringLiteral("logoLabel"));
  const auto* colour = dialog.findChild<QLabel*>(QStringLiteral("colorLabel"));
  EXPECT_EQ(logo->text(), QStringLiteral("添加文本"));
  EXPECT_EQ(logo->font().pointSize(), 13);
  EXPECT_EQ(logo->font().weight(), 75);
  EXPECT_EQ(colour->text(), QStringLiteral("颜色："));
  EXPECT_EQ(colour->font().pointSize(), 10);
  EXPECT_EQ(Button(dialog, "m_ok")->text(), QStringLiteral("确定"));
  EXPECT_EQ(Button(dialog, "m_cancelBtn")->text(), QStringLiteral("取消"));
  EXPECT_TRUE(Button(dialog, "m_chooseColorBtn")->text().isEmpty());
  EXPECT_TRUE(Field(dialog)->toPlainText().isEmpty());
}

TEST(CAddTextDlg, ConfirmingAtOnceGivesAnEmptyTextInBlack) {
  CAddTextDlg dialog;
  EXPECT_EQ(Exec(&dialog, [&] { Click(dialog, "m_ok"); }), QDialog::Accepted);
  EXPECT_TRUE(dialog.text.isEmpty());
  EXPECT_EQ(dialog.color, 255u);
}

TEST(CAddTextDlg, TheSwatchIsBlackFromTheFirstPaintOn) {
  CAddTextDlg dialog;
  EXPECT_EQ(SwatchStyle(dialog), QStringLiteral("background-color:#ffffff"));
  dialog.grab();
  EXPECT_EQ(SwatchStyle(dialog), QStringLiteral("background-color: rgb(0, 0, 0)"));
  // Whoever restyles it loses to the next paint.
  Button(dialog, "m_chooseColorBtn")->setStyleSheet(QStringLiteral("background-color:#ffffff"));
  dialog.grab();
  EXPECT_EQ(SwatchStyle(dialog), QStringLiteral("background-color: rgb(0, 0, 0)"));
}

TEST(CAddTextDlg, StylingTheSwatchWhilePaintingAsksForNoEndOfPaints) {
  CAddTextDlg dialog;
  PaintCount count;
  dialog.installEventFilter(&count);
  dialog.show();
  for (int pass = 0; pass < 20; ++pass) {
    QApplication::processEvents();
  }
  EXPECT_GT(count.paints, 0);
  count.paints = 0;
  for (int pass = 0; pass < 50; ++pass) {
    QApplication::processEvents();
  }
  EXPECT_EQ(count.paints, 0);
}

TEST(CAddTextDlg, ChoosingRedGivesItsValueAndItsSwatch) {
  CAddTextDlg dialog;
  dialog.show();
  Take(&dialog, Qt::red);
  EXPECT_EQ(dialog.color, 0xFF0000FFu);
  EXPECT_EQ(SwatchStyle(dialog), QStringLiteral("background-color: rgb(255, 0, 0)"));
  // And painting keeps it.
  const QImage picture = dialog.grab().toImage();
  EXPECT_EQ(SwatchStyle(dialog), QStringLiteral("background-color: rgb(255, 0, 0)"));
  const QColor middle = picture.pixelColor(62 + 7, 218 + 7);
  EXPECT_GT(middle.red(), 240);
  EXPECT_LT(middle.green() + middle.blue(), 30);
}

TEST(CAddTextDlg, EachPartOfAColourHasItsByte) {
  CAddTextDlg dialog;
  dialog.show();
  Take(&dialog, QColor(1, 2, 3));
  EXPECT_EQ(dialog.color, 0x010203FFu);
  EXPECT_EQ(SwatchStyle(dialog), QStringLiteral("background-color: rgb(1, 2, 3)"));
  Take(&dialog, QColor(255, 255, 255));
  EXPECT_EQ(dialog.color, 0xFFFFFFFFu);
  Take(&dialog, QColor(0, 128, 254, 7));  // a colour's own alpha counts for nothing
  EXPECT_EQ(dialog.color, 0x0080FEFFu);
}

TEST(CAddTextDlg, TheColourDialogStartsWhiteWithoutTitleEachTime) {
  CAddTextDlg dialog;
  dialog.show();
  for (int time = 0; time < 2; ++time) {
    ChooseColour(&dialog, [&](QColorDialog* colours) {
      EXPECT_EQ(colours->currentColor(), QColor(Qt::white));
      EXPECT_FALSE(colours->testOption(QColorDialog::ShowAlphaChannel));
      EXPECT_TRUE(colours->isModal());
      colours->setCurrentColor(Qt::blue);
      QTest::keyClick(colours, Qt::Key_Return);
    });
    EXPECT_EQ(dialog.color, 0x0000FFFFu);
  }
}

TEST(CAddTextDlg, ACancelledColourDialogChangesNothing) {
  CAddTextDlg dialog;
  dialog.show();
  Take(&dialog, QColor(10, 20, 30));
  ChooseColour(&dialog, [](QColorDialog* colours) {
    colours->setCurrentColor(Qt::green);
    QTest::keyClick(colours, Qt::Key_Escape);
  });
  EXPECT_EQ(dialog.color, 0x0A141EFFu);
  EXPECT_EQ(SwatchStyle(dialog), QStringLiteral("background-color: rgb(10, 20, 30)"));
  EXPECT_TRUE(dialog.isVisible());
}

TEST(CAddTextDlg, EveryWayOutButTheButtonEmptiesTheTextAndKeepsTheField) {
  for (const WayOut& way : WaysToCancel()) {
    CAddTextDlg dialog;
    dialog.color = 0x123456FF;
    Field(dialog)->setPlainText(QStringLiteral("first"));
    ASSERT_EQ(Exec(&dialog, [&] { Click(dialog, "m_ok"); }), QDialog::Accepted) << way.name;
    ASSERT_EQ(dialog.text, QStringLiteral("first")) << way.name;
    const int result = Exec(&dialog, [&] {
      QTest::keyClicks(Field(dialog), QStringLiteral("second "));
      way.go(dialog);
    });
    EXPECT_EQ(result, QDialog::Rejected) << way.name;
    EXPECT_TRUE(dialog.text.isEmpty()) << way.name;
    EXPECT_EQ(Field(dialog)->toPlainText(), QStringLiteral("second ")) << way.name;
    EXPECT_EQ(dialog.color, 0x123456FFu) << way.name;
  }
}

TEST(CAddTextDlg, ANextOpeningShowsWhatWasTypedAndChosenBefore) {
  CAddTextDlg dialog;
  Exec(&dialog, [&] {
    QTest::keyClicks(Field(dialog), QStringLiteral("typed"));
    Take(&dialog, Qt::red);
    Click(dialog, "m_cancelBtn");
  });
  const int result = Exec(&dialog, [&] {
    EXPECT_EQ(Field(dialog)->toPlainText(), QStringLiteral("typed"));
    EXPECT_EQ(SwatchStyle(dialog), QStringLiteral("background-color: rgb(255, 0, 0)"));
    Click(dialog, "m_ok");
  });
  EXPECT_EQ(result, QDialog::Accepted);
  EXPECT_EQ(dialog.text, QStringLiteral("typed"));
  EXPECT_EQ(dialog.color, 0xFF0000FFu);
}

TEST(CAddTextDlg, LineBreaksTypedIntoTheFieldStayInTheText) {
  CAddTextDlg dialog;
  const int result = Exec(&dialog, [&] {
    QTest::keyClicks(Field(dialog), QStringLiteral("one"));
    QTest::keyClick(Field(dialog), Qt::Key_Return);
    QTest::keyClick(Field(dialog), Qt::Key_Enter);
    QTest::keyClicks(Field(dialog), QStringLiteral("two"));
    EXPECT_TRUE(dialog.isVisible());
    Click(dialog, "m_ok");
  });
  EXPECT_EQ(result, QDialog::Accepted);
  EXPECT_EQ(dialog.text, QStringLiteral("one\n\ntwo"));
}

TEST(CAddTextDlg, ChineseAndFourByteCharactersComeAsTyped) {
  const QString typed = QString::fromUtf8("直播间 𠮷😀");
  CAddTextDlg dialog;
  Exec(&dialog, [&] {
    QInputMethodEvent event;
    event.setCommitString(typed);
    QApplication::sendEvent(Field(dialog), &event);
    Click(dialog, "m_ok");
  });
  EXPECT_EQ(dialog.text, typed);
  EXPECT_EQ(dialog.text.toUtf8(), QByteArray("直播间 𠮷😀"));
}

TEST(CAddTextDlg, AHundredThousandPastedCharactersComeBack) {
  const QString line = QStringLiteral("0123456789 直播助手\r\n");
  QString pasted;
  while (pasted.size() < 100000) {
    pasted += line;
  }
  QApplication::clipboard()->setText(pasted);
  CAddTextDlg dialog;
  Exec(&dialog, [&] {
    QTest::keyClick(Field(dialog), Qt::Key_V, Qt::ControlModifier);
    dialog.grab();
    Click(dialog, "m_ok");
  });
  EXPECT_EQ(dialog.text, QString(pasted).replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
}

TEST(CAddTextDlg, AHundredThousandPastedCharactersOfOneWordComeBack) {
  const QString pasted(100000, QLatin1Char('x'));
  QApplication::clipboard()->setText(pasted);
  CAddTextDlg dialog;
  Exec(&dialog, [&] {
    QTest::keyClick(Field(dialog), Qt::Key_V, Qt::ControlModifier);
    dialog.grab();
    Click(dialog, "m_ok");
  });
  EXPECT_EQ(dialog.text, pasted);
}

// What a layer can't show, the field does not show either.
TEST(CAddTextDlg, APasteBringsItsWordsAndNotItsLooks) {
  auto* rich = new QMimeData;
  rich->setHtml(QStringLiteral("<b style='font-size:60px'>big</b><img src='x.png'>"));
  rich->setText(QStringLiteral("big"));
  QApplication::clipboard()->setMimeData(rich);
  CAddTextDlg dialog;
  Field(dialog)->paste();
  EXPECT_EQ(Field(dialog)->toPlainText(), QStringLiteral("big"));
  EXPECT_NE(Field(dialog)->currentCharFormat().font().pixelSize(), 60);
}

TEST(CAddTextDlg, ItsBodyIsRoundedWithAClearMargin) {
  CAddTextDlg dialog;
  QImage picture(dialog.size(), QImage::Format_ARGB32_Premultiplied);
  picture.fill(Qt::transparent);
  dialog.render(&picture, QPoint(), QRegion(), QWidget::DrawChildren);
  const QColor body(0x28, 0x2A, 0x30);
  EXPECT_EQ(picture.pixelColor(240, 60), body);
  EXPECT_EQ(picture.pixelColor(240, 5), body);
  EXPECT_EQ(picture.pixelColor(5, 160), body);
  EXPECT_EQ(picture.pixelColor(474, 160), body);
  EXPECT_EQ(picture.pixelColor(240, 4).alpha(), 0);
  EXPECT_EQ(picture.pixelColor(4, 160).alpha(), 0);
  EXPECT_EQ(picture.pixelColor(475, 160).alpha(), 0);
  EXPECT_EQ(picture.pixelColor(6, 6).alpha(), 0);
}

TEST(CAddTextDlg, MayGoWhileItsColourDialogIsOpen) {
  auto* dialog = new CAddTextDlg;
  dialog->show();
  const QPointer<CAddTextDlg> watched(dialog);
  EXPECT_EQ(ChooseColour(dialog,
                         [dialog](QColorDialog* colours) {
                           delete dialog;
                           QTest::keyClick(colours, Qt::Key_Return);
                         }),
            1);
  EXPECT_TRUE(watched.isNull());
}
