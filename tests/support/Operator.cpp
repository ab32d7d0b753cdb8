#include "support/Operator.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QTextEdit>

#include "widgets/ActivitiesWndDlg.h"
#include "widgets/CAddTextDlg.h"
#include "widgets/CCamDlg.h"
#include "widgets/theme/DeleteItemConfimDlg.h"
#include "widgets/theme/InformationDlg.h"

namespace support {

namespace {

constexpr int kLookMs = 2;

QString TextOf(const QDialog& dialog) {
  if (const auto* chooser = qobject_cast<const QFileDialog*>(&dialog)) {
    return chooser->windowTitle();
  }
  for (const char* name : {"textLabel", "titleLabel"}) {
    if (const auto* label = dialog.findChild<QLabel*>(QString::fromLatin1(name))) {
      return label->text();
    }
  }
  return {};
}

QModelIndex RowOf(const QListView& list, const QString& name) {
  const QModelIndex root = list.rootIndex();
  for (int row = 0; row < list.model()->rowCount(root); ++row) {
    const QModelIndex index = list.model()->index(row, 0, root);
    if (index.data().toString() == name) {
      return index;
    }
  }
  return {};
}

}  // namespace

Operator::Operator() {
  connect(&m_timer, &QTimer::timeout, this, &Operator::Look);
  m_timer.start(kLookMs);
}

QStringList Operator::TakeKinds() {
  QStringList kinds;
  kinds.swap(m_kinds);
  return kinds;
}

void Operator::Look() {
  auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
  if (dialog == nullptr || !dialog->isVisible()) {
    return;
  }
  if (dialog != m_open) {
    m_open = dialog;
    Note(dialog);
    if (beforeAnswer) {
      beforeAnswer();
    }
  }
  Answer(dialog);
}

void Operator::Note(QDialog* dialog) {
  const auto* chooser = qobject_cast<const QFileDialog*>(dialog);
  const QString kind = QString::fromLatin1(dialog->metaObject()->className());
  m_seen.push_back({kind, TextOf(*dialog),
                    chooser != nullptr ? chooser->nameFilters() : QStringList(), dialog->pos(),
                    dialog->graphicsEffect() != nullptr});
  m_kinds.append(kind);
}

void Operator::Answer(QDialog* dialog) {
  if (auto* notice = qobject_cast<InformationDlg*>(dialog)) {
    m_open = nullptr;
    cross ? notice->slotBtnCannel() : notice->slotBtnOk();
  } else if (!confirm) {
    m_open = nullptr;
    dialog->reject();
  } else if (auto* question = qobject_cast<DeleteItemConfimDlg*>(dialog)) {
    m_open = nullptr;
    question->deleteOk();
  } else if (auto* cameras = qobject_cast<CCamDlg*>(dialog)) {
    m_open = nullptr;
    cameras->SlotOK();
  } else if (auto* windows = qobject_cast<ActivitiesWndDlg*>(dialog)) {
    m_open = nullptr;
    if (row >= 0) {
      windows->SlotRecvCheck(row);
    }
    windows->SlotOK();
  } else if (auto* texts = qobject_cast<CAddTextDlg*>(dialog)) {
    m_open = nullptr;
    auto* field = texts->findChild<QTextEdit*>(QStringLiteral("textEdit"));
    if (field->toPlainText() != text) {
      field->setPlainText(text);
    }
    texts->color = color;
    texts->SlotOK();
  } else if (qobject_cast<QFileDialog*>(dialog) != nullptr) {
    AnswerFileChooser(dialog);
  }
}

// The list fills by itself, so this may take a few looks.
void Operator::AnswerFileChooser(QDialog* dialog) {
  auto* chooser = static_cast<QFileDialog*>(dialog);
  const QFileInfo file(path);
  auto* open = chooser->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open);
  if (!file.isFile()) {
    chooser->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(path);
    m_open = nullptr;
    open->click();
    if (chooser->isVisible()) {  // it went into a directory
      chooser->reject();
    }
    return;
  }
  if (chooser->directory() != file.dir()) {
    chooser->setDirectory(file.dir());
    return;
  }
  auto* list = chooser->findChild<QListView*>(QStringLiteral("listView"));
  const QModelIndex index = RowOf(*list, file.fileName());
  if (index.isValid()) {
    list->selectionModel()->select(index,
                                   QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    m_open = nullptr;
    open->click();
  }
}

}  // namespace support
