#include "widgets/theme/InformationDlg.h"

#include <QLabel>
#include <QPushButton>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>

#include "widgets/theme/Frameless.h"
#include "widgets/theme/NoticeText.h"
#include "widgets/theme/TitleButtons.h"

namespace {

constexpr std::uint32_t kLastKind = InformationDlg::kLiving;

// One line, and for a text that is longer the room between the title and the button.
constexpr QRect kTextPlace(10, 136, 460, 28);
constexpr QRect kLongTextPlace(30, 60, 420, 180);

QString TextOf(std::uint32_t kind, const QString& callersText) {
  switch (kind) {
    case InformationDlg::kText:
      return callersText;
    case InformationDlg::kNoNetwork:
      return QStringLiteral("网络不通畅，请检查网络连接");
    case InformationDlg::kLiving:
      return QStringLiteral("正在直播过程中，请先停止直播");
    default:
      return QString();
  }
}

QString OkTextOf(std::uint32_t kind) {
  switch (kind) {
    case InformationDlg::kText:
    case InformationDlg::kLiving:
      return QStringLiteral("我知道了");
    case InformationDlg::kNoNetwork:
      return QStringLiteral("好的");
    case InformationDlg::kUpdate:
      return QStringLiteral("立即更新");
    default:
      return QString();
  }
}

QString ButtonStyle(const char* color) {
  return QStringLiteral(
             "QPushButton{border-image:url(:/orvane/qietu/action-btn.png);font:bold 12px "
             "黑体;color:%1;}")
      .arg(QLatin1String(color));
}

}  // namespace

InformationDlg::InformationDlg(std::uint32_t kind, const QString& text, QWidget* parent)
    : QDialog(parent) {
  ui.setupUi(this);
  KeepSize(this);
  PrepareFrameless(this);
  setStyleSheet(
      QStringLiteral("QLabel{color:#B4BECC;}QDialog{background:#282A30;}"
                     "QTextEdit{background:#282A30;color:#B4BECC;}"));
  StyleTitleButton(ui.m_BtnExit, QStringLiteral("topbar-close.png"));

  titleLabel = new QLabel(this);
  titleLabel->setObjectName(QStringLiteral("titleLabel"));
  titleLabel->setGeometry(20, 18, 72, 25);
  okButton = new QPushButton(OkTextOf(kind), this);
  okButton->setObjectName(QStringLiteral("okButton"));
  okButton->setGeometry(180, 260, 120, 40);
  okButton->setStyleSheet(ButtonStyle("#20a0ff"));
  okButton->setDefault(true);

  if (kind <= kLastKind) {
    titleLabel->setText(kind == kUpdate ? QStringLiteral("更新提示") : QStringLiteral("提示"));
  }
  if (kind == kUpdate) {
    AddUpdateNews();
  } else {
    AddText(TextOf(kind, text));
  }
  connect(okButton, &QPushButton::clicked, this, &InformationDlg::slotBtnOk);
  connect(ui.m_BtnExit, &QPushButton::clicked, this, &InformationDlg::slotBtnCannel);
  okButton->setFocus();
}

void InformationDlg::AddText(const QString& text) {
  textLabel = new theme::NoticeText(this);
  textLabel->setObjectName(QStringLiteral("textLabel"));
  // The text may come from the network: it is shown as it is, never as markup.
  textLabel->setTextFormat(Qt::PlainText);
  textLabel->setText(text);
  textLabel->setGeometry(kTextPlace);
  textLabel->setAlignment(Qt::AlignCenter);
  textLabel->ensurePolished();
  if (!text.isEmpty() &&
      theme::LinesIn(text, textLabel->font(), kTextPlace.size()) != QStringList(text)) {
    textLabel->setGeometry(kLongTextPlace);
  }
}

void InformationDlg::AddUpdateNews() {
  textEdit = new QTextEdit(this);
  textEdit->setObjectName(QStringLiteral("textEdit"));
  textEdit->setGeometry(40, 70, 400, 170);
  textEdit->setReadOnly(true);
  textEdit->setAccessibleName(titleLabel->text());
  textEdit->setStyleSheet(
      QStringLiteral("border:none;background-color:#282A30;color:#B4BECC;font:bold 12px 黑体;"));
  textEdit->append(QStringLiteral("1.2.0版更新内容："));
  textEdit->append(QStringLiteral("- 修复bug"));
  textEdit->append(QStringLiteral("- 新增调音功能"));
  for (QTextBlock block = textEdit->document()->begin(); block.isValid(); block = block.next()) {
    QTextBlockFormat format = block.blockFormat();
    format.setLineHeight(5, QTextBlockFormat::LineDistanceHeight);
    QTextCursor cursor = textEdit->textCursor();
    cursor.setPosition(block.position());
    cursor.setBlockFormat(format);
    textEdit->setTextCursor(cursor);
  }

  okButton->setGeometry(250, 260, 120, 40);
  laterButton = new QPushButton(QStringLiteral("稍后提示"), this);
  laterButton->setObjectName(QStringLiteral("laterButton"));
  laterButton->setGeometry(110, 260, 120, 40);
  laterButton->setStyleSheet(ButtonStyle("#878e99"));
  connect(laterButton, &QPushButton::clicked, this, &InformationDlg::slotBtnCannel);
}

void InformationDlg::slotBtnCannel() {
  close();
}

void InformationDlg::slotBtnOk() {
  accept();
}

void InformationDlg::paintEvent(QPaintEvent* event) {
  PaintFramelessBody(this);
  QDialog::paintEvent(event);
}
