#include "widgets/theme/FocusRing.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QTimer>
#include <QVariant>

#include "widgets/theme/Palette.h"

namespace theme {

namespace {

constexpr int kDistance = 3;  // from the control to the ring's outer edge
constexpr int kWidth = 2;
constexpr int kRadius = 4;

bool MovesFocus(int key) {
  switch (key) {
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Left:
    case Qt::Key_Right:
      return true;
    default:
      return false;
  }
}

}  // namespace

Ring::Ring(QWidget* window) : QWidget(window) {
  setObjectName(QLatin1String(FocusRing::kName));
  setAttribute(Qt::WA_TransparentForMouseEvents);
  setAttribute(Qt::WA_NoSystemBackground);
  setFocusPolicy(Qt::NoFocus);
}

void Ring::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(kAccent, kWidth));
  const qreal half = kWidth / 2.0;
  painter.drawRoundedRect(QRectF(rect()).adjusted(half, half, -half, -half), kRadius, kRadius);
}

FocusRing::FocusRing(QObject* parent) : QObject(parent) {
  connect(qApp, &QApplication::focusChanged, this, &FocusRing::UpdateSoon);
  qApp->installEventFilter(this);
}

void FocusRing::Install() {
  static QPointer<FocusRing> ring;
  if (ring.isNull()) {
    ring = new FocusRing(qApp);
  }
}

bool FocusRing::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::KeyPress:
      if (MovesFocus(static_cast<QKeyEvent*>(event)->key())) {
        m_byKeyboard = true;
        UpdateSoon();
      }
      break;
    case QEvent::MouseButtonPress:
      if (m_byKeyboard) {
        m_byKeyboard = false;
        UpdateSoon();
      }
      break;
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::Show:
    case QEvent::Hide:
      if (IsShown() && Concerns(watched)) {
        UpdateSoon();
      }
      break;
    default:
      break;
  }
  return false;
}

bool FocusRing::IsShown() const {
  return m_byKeyboard || (QApplication::activePopupWidget() == nullptr &&
                          qobject_cast<QLineEdit*>(QApplication::focusWidget()) != nullptr);
}

bool FocusRing::Concerns(const QObject* watched) const {
  const auto* widget = qobject_cast<const QWidget*>(watched);
  return widget != nullptr && widget != m_ring &&
         (m_target.isNull() || widget == m_target || widget->isAncestorOf(m_target) ||
          widget->windowType() == Qt::Popup);
}

// Once the event that asks for it has had its effect.
void FocusRing::UpdateSoon() {
  if (!m_updateDue) {
    m_updateDue = true;
    QTimer::singleShot(0, this, &FocusRing::Update);
  }
}

QWidget* FocusRing::Target(QRect* place) {
  if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
    QAction* entry = menu->activeAction();
    if (entry == nullptr) {
      return nullptr;
    }
    *place = menu->actionGeometry(entry);
    return menu;
  }
  QWidget* focus = QApplication::focusWidget();
  if (focus == nullptr || focus->isWindow() || !focus->isVisible()) {
    return nullptr;
  }
  *place = QRect(focus->mapTo(focus->window(), QPoint(0, 0)), focus->size());
  const QVariant own = focus->property(FocusRing::kDistanceProperty);
  const int distance = own.isValid() ? own.toInt() : kDistance;
  place->adjust(-distance, -distance, distance, distance);
  *place &= focus->window()->rect();
  return focus;
}

void FocusRing::Update() {
  m_updateDue = false;
  QRect place;
  m_target = IsShown() ? Target(&place) : nullptr;
  if (m_target.isNull()) {
    delete m_ring;
    return;
  }
  QWidget* window = m_target->window();
  if (m_ring.isNull() || m_ring->parentWidget() != window) {
    delete m_ring;
    m_ring = new Ring(window);
  }
  m_ring->setGeometry(place);
  m_ring->raise();
  m_ring->show();
}

}  // namespace theme
