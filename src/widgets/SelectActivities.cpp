#include "widgets/SelectActivities.h"

#include <QDebug>
#include <QPointer>
#include <QStyledItemDelegate>

#include "backend/BackendClient.h"
#include "sources/DeviceCatalogue.h"
#include "widgets/ActItemData.h"
#include "widgets/ActivitiesItemDelegate.h"
#include "widgets/theme/TitleButtons.h"

namespace {

constexpr int kPaintMs = 50;

}  // namespace

SelectActivities::SelectActivities(QWidget* parent)
    : QDialog(parent), token(DeviceCatalogue::Instance()->userToken) {
  PrepareFrameless(this, Qt::WindowStaysOnTopHint);
  ui.setupUi(this);
  KeepSize(this);
  ui.selectCombo->setItemDelegate(new QStyledItemDelegate(ui.selectCombo));
  ui.selectCombo->setAttribute(Qt::WA_TranslucentBackground);
  StyleTitleButton(ui.m_BtnExit, QStringLiteral("topbar-close.png"));

  connect(ui.m_BtnExit, &QPushButton::clicked, this, &SelectActivities::cannelBtnClicked);
  connect(ui.cancelBtn, &QPushButton::clicked, this, &SelectActivities::cannelBtnClicked);
  connect(ui.okBtn, &QPushButton::clicked, this, &SelectActivities::accept);
  connect(this, &SelectActivities::InitPage, this, &SelectActivities::recvReachedBottom,
          Qt::QueuedConnection);
  connect(ui.listView, &ActivitiesList::reachedBottom, this, &SelectActivities::recvReachedBottom);
  connect(ui.listView, &ActivitiesList::sendSelectedAct, this, &SelectActivities::recvSelectedAct);
  connect(ui.selectCombo, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
          &SelectActivities::SlotIndexChanged);
  connect(this, &SelectActivities::sendSelectedActInfo, this,
          &SelectActivities::SlotSendSelectedActInfo);
  m_painted.setSingleShot(true);
  connect(&m_painted, &QTimer::timeout, this, &SelectActivities::PaintWhatIsDue);
  emit InitPage();
}

SelectActivities::~SelectActivities() {
  qDeleteAll(activities);
}

ActivityInfo* SelectActivities::SelectedActivity() const {
  return selectedRow < 0 ? nullptr : activities.at(selectedRow);
}

int SelectActivities::Quality() const {
  return quality;
}

void SelectActivities::recvReachedBottom() {
  if (loading || m_closed) {
    return;
  }
  loading = true;
  qDebug("reach bottom");
  ++page;
  const QPointer<SelectActivities> self(this);
  const backend::Until until(this);
  ActivityList list;
  BackendClient::Instance()->GetHostList(token, page, &list, until);
  if (!until.IsEnded() && list.code >= 0) {
    AddPage(&list.activities, until);
  }
  // What could not be shown any more.
  qDeleteAll(list.activities);
  if (!self.isNull()) {
    loading = false;
  }
}

// Moves the records that became cards out of the list. On return the dialog may be gone.
void SelectActivities::AddPage(QList<ActivityInfo*>* records, const backend::Until& until) {
  const QSize atMost = ActivitiesItemDelegate::CoverSize() * devicePixelRatioF();
  while (!records->isEmpty()) {
    QPixmap cover;
    BackendClient::Instance()->FetchPixmap(records->first()->coverUrl, &cover, atMost, until);
    if (until.IsEnded()) {
      return;
    }
    ActivityInfo* info = records->takeFirst();
    const bool available = info->CanBePublished();
    ui.listView->AddCard(available, info->title, widgets::kActCardSize, cover, info->startTime);
    activities.append(info);
  }
}

void SelectActivities::recvSelectedAct(int row) {
  emit sendSelectedActInfo(row);
}

void SelectActivities::cannelBtnClicked() {
  reject();
}

void SelectActivities::SlotIndexChanged(int index) {
  quality = index;
}

void SelectActivities::SlotSendSelectedActInfo(int row) {
  const bool known = row >= 0 && row < activities.size();
  selectedRow = known && activities.at(row)->playStatus != 0 ? row : -1;
}

void SelectActivities::done(int result) {
  m_closed = true;
  QDialog::done(result);
}

// Qt gathers what has to be painted until it asks the window for it; a later answer paints all.
bool SelectActivities::event(QEvent* event) {
  if (event->type() == QEvent::UpdateRequest && loading) {
    if (m_painted.isActive()) {
      m_paintDue = true;
      return true;
    }
    m_painted.start(kPaintMs);
    m_paintDue = false;
  }
  return QDialog::event(event);
}

void SelectActivities::PaintWhatIsDue() {
  if (m_paintDue) {
    m_paintDue = false;
    QEvent request(QEvent::UpdateRequest);
    event(&request);
  }
}

void SelectActivities::mousePressEvent(QMouseEvent* event) {
  m_drag.Press(this, event);
}

void SelectActivities::mouseReleaseEvent(QMouseEvent* event) {
  m_drag.Release(event);
}

void SelectActivities::mouseMoveEvent(QMouseEvent* event) {
  m_drag.Move(this, event);
}

void SelectActivities::paintEvent(QPaintEvent* event) {
  PaintFramelessBody(this);
  QDialog::paintEvent(event);
}
