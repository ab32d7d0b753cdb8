// The text dialog under the keyboard, a screen reader and an impatient hand.
#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QColorDialog>
#include <QPushButton>
#include <QSet>
#include <QTest>
#include <QTextEdit>
#include <QTimer>
#include <functional>
#include <string>

#include "widgets/CAddTextDlg.h"
#include "widgets/ColourHand.h"
#include "widgets/DialogHand.h"

namespace {

using support::Button;
using support::ChooseColour;
using support::Click;
using support::Exec;

QTextEdit* Field(const QWidget& dialog) {
  return dialog.findChild<QTextEdit*>(QStringLiteral("textEdit"));
}

void SendKey(QWidget* widget, QEvent::Type type, int key, const QString& text, bool repeated) {
  QKeyEvent event(type, key, Qt::NoModifier, text, repeated);
  QApplication::sendEvent(widget, &event);
}

}  // namespace
TEST(CAddTextDlgKeys, TabWalksFromTheFieldThroughEveryControlAndBackAgain) {
  CAddTextDlg dialog;
  Exec(&dialog, [&] {
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    QStringList walked;
    for (int step = 0; step < 6; ++step) {
      walked.append(QApplication::focusWidget()->objectName());
      QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(walked, (QStringList{"textEdit", "m_chooseColorBtn", "m_cancelBtn", "m_ok",
                                   "m_BtnExit", "textEdit"}));
    EXPECT_TRUE(Field(dialog)->toPlainText().isEmpty());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(QApplication::focusWidget()->objectName(), QStringLiteral("textEdit"));
    dialog.reject();
  });
}

TEST(CAddTextDlgKeys, EachOpeningStartsInTheField) {
  CAddTextDlg dialog;
  for (int opening = 0; opening < 2; ++opening) {
    Exec(&dialog, [&] {
      EXPECT_EQ(dialog.focusWidget(), Field(dialog));
      Button(dialog, "m_cancelBtn")->setFocus();
      Click(dialog, "m_ok");
    });
  }
}

TEST(CAddTextDlgKeys, EnterPressesTheTextButtonWithTheFocusAndElseTheOneThatAccepts) {
  for (const auto& [name, accepted] :
       {std::pair("m_chooseColorBtn", true), std::pair("m_cancelBtn", false),
        std::pair("m_ok", true), std::pair("m_BtnExit", true)}) {
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
      CAddTextDlg dialog;
      Field(dialog)->setPlainText(QStringLiteral("text"));
      EXPECT_EQ(support::EndsByEnterOn(&dialog, name, key),
                accepted ? QDialog::Accepted : QDialog::Rejected)
          << name;
      EXPECT_EQ(dialog.text, accepted ? QStringLiteral("text") : QString()) << name;
      EXPECT_EQ(dialog.color, 255u) << name;
    }
  }
}

TEST(CAddTextDlgKeys, AFocusedButtonIsPressedByTheSpaceBar) {
  CAddTextDlg dialog;
  EXPECT_EQ(Exec(&dialog, [&] { QTest::keyClick(Button(dialog, "m_ok"), Qt::Key_Space); }),
            QDialog::Accepted);
  EXPECT_EQ(Exec(&dialog, [&] { QTest::keyClick(Button(dialog, "m_cancelBtn"), Qt::Key_Space); }),
            QDialog::Rejected);
}

TEST(CAddTextDlgKeys, EveryControlHasAnAccessibleName) {
  CAddTextDlg dialog;
  const QList<QWidget*> children = dialog.findChildren<QWidget*>();
  QSet<QString> named;
  for (QWidget* child : children) {
    if ((child->focusPolicy() & Qt::TabFocus) != 0 && !child->objectName().startsWith("qt_")) {
      const QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(child);
      ASSERT_NE(spoken, nullptr);
      EXPECT_FALSE(spoken->text(QAccessible::Name).isEmpty()) << qPrintable(child->objectName());
      named.insert(child->objectName());
    }
  }
  EXPECT_EQ(named.size(), 5);
}

TEST(CAddTextDlgKeys, ADoubleClickEndsItOnce) {
  for (const char* name : {"m_ok", "m_cancelBtn", "m_BtnExit"}) {
    CAddTextDlg dialog;
    EXPECT_EQ(support::EndsOfADoubleClick(&dialog, name), 1) << name;
    EXPECT_EQ(dialog.result() == QDialog::Accepted, name == std::string("m_ok")) << name;
  }
}

TEST(CAddTextDlgKeys, ADoubleClickOnTheSwatchOpensOneColourDialog) {
  CAddTextDlg dialog;
  dialog.show();
  QPushButton* swatch = Button(dialog, "m_chooseColorBtn");
  const int opened = ChooseColour(&dialog, [&](QColorDialog* colours) {
    QTest::mouseDClick(dialog.windowHandle(), Qt::LeftButton, Qt::NoModifier,
                       swatch->mapTo(&dialog, swatch->rect().center()));
    EXPECT_EQ(QApplication::activeModalWidget(), colours);
    colours->reject();
  });
  EXPECT_EQ(opened, 1);
  EXPECT_EQ(dialog.color, 255u);
}

TEST(CAddTextDlgKeys, AHeldKeyPressesAButtonOnce) {
  CAddTextDlg dialog;
  dialog.show();
  QPushButton* swatch = Button(dialog, "m_chooseColorBtn");
  int clicks = 0;
  QObject::connect(swatch, &QPushButton::pressed, [&clicks] { ++clicks; });
  SendKey(swatch, QEvent::KeyPress, Qt::Key_Space, QStringLiteral(" "), false);
  for (int repeat = 0; repeat < 10; ++repeat) {
    SendKey(swatch, QEvent::KeyRelease, Qt::Key_Space, QStringLiteral(" "), true);
    SendKey(swatch, QEvent::KeyPress, Qt::Key_Space, QStringLiteral(" "), true);
  }
  EXPECT_EQ(clicks, 1);
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST(CAddTextDlgKeys, AHeldEnterEndsItOnce) {
  CAddTextDlg dialog;
  int ends = 0;
  QObject::connect(&dialog, &QDialog::finished, [&ends] { ++ends; });
  const int result = Exec(&dialog, [&] {
    QPushButton* ok = Button(dialog, "m_ok");
    ok->setFocus();
    SendKey(ok, QEvent::KeyPress, Qt::Key_Return, QStringLiteral("\r"), false);
    for (int repeat = 0; repeat < 10 && dialog.isVisible(); ++repeat) {
      SendKey(ok, QEvent::KeyPress, Qt::Key_Return, QStringLiteral("\r"), true);
    }
  });
  EXPECT_EQ(result, QDialog::Accepted);
  EXPECT_EQ(ends, 1);
}

TEST(CAddTextDlgKeys, IsMovedByItsTitleArea) {
  CAddTextDlg dialog;
  support::ExpectMovedByItsTitleArea(&dialog);
}

// What is typed takes the place of the last text, which stays for who only wants its colour.
TEST(CAddTextDlgKeys, ComesWithTheLastTextSelected) {
  CAddTextDlg dialog;
  auto* field = dialog.findChild<QTextEdit*>(QStringLiteral("textEdit"));
  field->setPlainText(QStringLiteral("last"));
  dialog.show();
  QApplication::processEvents();
  EXPECT_EQ(field->textCursor().selectedText(), QStringLiteral("last"));
  dialog.hide();
  field->moveCursor(QTextCursor::End);
  dialog.show();
  QTest::keyClicks(field, QStringLiteral("n"));
  EXPECT_EQ(field->toPlainText(), QStringLiteral("n"));
}
