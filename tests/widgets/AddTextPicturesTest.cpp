#include <QScrollBar>
#include <QTextEdit>

#include "widgets/CAddTextDlg.h"
#include "widgets/DialogPictures.h"
#include "widgets/theme/CustomShadowEffect.h"

using support::DialogPictures;

namespace {

// The main window's style sheet, which reaches its dialogs.
class MainWindow : public QWidget {
 public:
  MainWindow() { setStyleSheet(QStringLiteral("QWidget{background-color:#282A30;}")); }
};

QTextEdit* Field(const CAddTextDlg& dialog) {
  return dialog.findChild<QTextEdit*>(QStringLiteral("textEdit"));
}

}  // namespace

TEST_F(DialogPictures, AddTextAtItsFirstOpening) {
  MainWindow window;
  CAddTextDlg dialog(&window);
  ApplyDialogShadow(&dialog, new CustomShadowEffect);
  ExpectPicture("add-text", &dialog);
}

TEST_F(DialogPictures, AddTextWithMoreLinesThanItShows) {
  MainWindow window;
  CAddTextDlg dialog(&window);
  Field(dialog)->setPlainText(QStringLiteral("直播间公告\nline\n").repeated(8));
  Field(dialog)->verticalScrollBar()->setValue(20);
  ExpectPicture("add-text-lines", &dialog);
}
