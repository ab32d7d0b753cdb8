// The dialogs without a mouse: each control has a name for a screen reader, Tab reaches it with a
// ring that shows where the keyboard stands, Enter does what the dialog is for, Escape leaves it.
#include <gtest/gtest.h>

#include <QApplication>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <memory>

#include "backend/TestAddress.h"
#include "support/Accessibility.h"
#include "support/ScriptedHttp.h"
#include "support/WorkingDirectory.h"
#include "widgets/CLoginDlg.h"
#include "widgets/theme/DeleteItemConfimDlg.h"
#include "widgets/theme/FocusRing.h"
#include "widgets/theme/InformationDlg.h"

namespace {

struct Dialog {
  const char* name;
  std::unique_ptr<QDialog> (*make)();
  const char* round;  // the controls in the order of Tab, from the first behind the starting one
  int enter;          // what exec gives after Enter
};

template <std::uint32_t kind>
std::unique_ptr<QDialog> Notice() {
  return std::make_unique<InformationDlg>(kind, QStringLiteral("a"));
}

std::unique_ptr<QDialog> Question() {
  return std::make_unique<DeleteItemConfimDlg>(1);
}

const Dialog kDialogs[] = {
    {"refusal", Notice<0>, "m_BtnExit okButton", QDialog::Accepted},
    {"network", Notice<1>, "m_BtnExit okButton", QDialog::Accepted},
    {"update", Notice<2>, "textEdit laterButton m_BtnExit okButton", QDialog::Accepted},
    {"living", Notice<3>, "m_BtnExit okButton", QDialog::Accepted},
    // Enter must not delete.
    {"question", Question, "deleteBtn cancelBtn", QDialog::Rejected},
};

class DialogAccess : public testing::TestWithParam<Dialog> {
 protected:
  static void Show(QWidget* dialog) {
    dialog->show();
    QApplication::setActiveWindow(dialog);
    QApplication::processEvents();
  }
};

TEST_P(DialogAccess, EveryControlHasAName) {
  const auto dialog = GetParam().make();
  Show(dialog.get());
  EXPECT_EQ(support::NamelessControls(*dialog), QStringList());
}

TEST_P(DialogAccess, TabReachesEveryControlWithARing) {
  const auto dialog = GetParam().make();
  Show(dialog.get());
  EXPECT_EQ(support::TabRound(dialog.get()).join(' ').toStdString(), GetParam().round);
  const auto* ring = dialog->findChild<QWidget*>(QLatin1String(theme::FocusRing::kName));
  ASSERT_NE(ring, nullptr);
  const QWidget* focus = QApplication::focusWidget();
  EXPECT_TRUE(ring->isVisible());
  EXPECT_TRUE(
      ring->geometry().contains(QRect(focus->mapTo(dialog.get(), QPoint(0, 0)), focus->size())));
}

TEST_P(DialogAccess, EnterAndEscapeEndIt) {
  for (const auto& [key, wanted] :
       {std::pair(Qt::Key_Return, GetParam().enter), std::pair(Qt::Key_Escape, 0)}) {
    const auto dialog = GetParam().make();
    QTimer::singleShot(0, dialog.get(), [&dialog, pressed = key] {
      QApplication::setActiveWindow(dialog.get());
      QTest::keyClick(QApplication::focusWidget(), pressed);
    });
    EXPECT_EQ(dialog->exec(), wanted);
  }
}

INSTANTIATE_TEST_SUITE_P(All, DialogAccess, testing::ValuesIn(kDialogs),
                         [](const auto& dialog) { return std::string(dialog.param.name); });

TEST(DialogAccessLogin, EveryControlHasANameAndTabReachesIt) {
  const support::WorkingDirectory directory;
  support::ScriptedHttp server;
  server.SetReplies({support::JsonReply(R"({"code":-1})")});
  SetTestAddress(server.Address());
  CLoginDlg dialog;
  dialog.show();
  QApplication::setActiveWindow(&dialog);
  QApplication::processEvents();
  EXPECT_EQ(support::NamelessControls(dialog), QStringList());
  EXPECT_EQ(QApplication::focusWidget()->objectName(), QStringLiteral("m_EditUser"));
  EXPECT_EQ(support::TabRound(&dialog).join(' ').toStdString(),
            "m_EditPsw m_BtnLogin m_BtnMin m_BtnMax m_BtnExit m_EditUser");
}

}  // namespace
