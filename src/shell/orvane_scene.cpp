// The scene from one run to the next: kept while it changes, offered at the next start, and brought
// back.
#include <QApplication>
#include <QDateTime>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QTimer>
#include <algorithm>
#include <cstdint>
#include <vector>

#include "output/CRender.h"
#include "shell/LayerRules.h"
#include "shell/SceneFile.h"
#include "shell/orvane.h"
#include "widgets/SceneOffer.h"
#include "widgets/theme/InformationDlg.h"

namespace {

// How old the time on the disk may become while nothing changes: what counts is when the scene was
// last on the screen, and a broadcast may take longer than a day.
constexpr std::int64_t kRefreshSeconds = 3600;
constexpr int kDialogMs = 100;

std::int64_t Now() {
  return QDateTime::currentSecsSinceEpoch();
}

}  // namespace

// Keeping.

void orvane::CareForScene() {
  const std::optional<shell::SavedScene> former = m_keeper.TakeFormer();
  if (former && shell::MayBeOffered(*former, Now())) {
    OfferScene(former->layers);
  }
  KeepScene();
}

shell::Scene orvane::CurrentScene() const {
  std::vector<int> order;
  m_render->CopyLayerOrder(&order);
  shell::Scene scene;
  for (const int slot : order) {
    if (m_book.Find(slot) != nullptr) {
      scene.push_back(RecordAt(slot));
    }
  }
  return scene;
}

// Half a scene that is coming back would take the place of the whole one.
void orvane::KeepScene(Last last) {
  if (m_render == nullptr || !m_sceneTouched || m_return) {
    return;
  }
  const shell::SavedScene scene{CurrentScene(), Now()};
  const bool isFresh = last == Last::kNo && scene.savedAt - m_kept.savedAt < kRefreshSeconds;
  if (!isFresh || scene.layers != m_kept.layers) {
    m_kept = scene;
    m_keeper.Keep(scene);
  }
}

// The offer.

void orvane::OfferScene(const shell::Scene& scene) {
  m_former = scene;
  m_offer = new widgets::SceneOffer(ui.m_tabLayer, shell::OfferSummary(scene));
  connect(m_offer, &widgets::SceneOffer::accepted, this, &orvane::ReturnScene);
  connect(m_offer, &widgets::SceneOffer::declined, this, &orvane::DismissScene);
  setTabOrder(ui.m_tabLayer->Keys(), m_offer->RestoreButton());
  setTabOrder(m_offer->RestoreButton(), m_offer->DismissButton());
  setTabOrder(m_offer->DismissButton(), ui.m_renderWgt);
  m_offer->show();
}

// From within one of its signals.
void orvane::EndOffer() {
  m_offer->hide();
  m_offer->deleteLater();
  m_offer = nullptr;
  m_former.clear();
}

// It is not offered again. What the operator has made since stays kept.
void orvane::DismissScene() {
  EndOffer();
  if (!m_sceneTouched) {
    m_keeper.Forget();
  }
}

// Coming back.

// The layers that every run begins with are those of the former scene, where it has them: they are
// running already. One that it does not have was deleted then, and what it shows may be nobody's
// business.
void orvane::ReturnScene() {
  shell::SceneReturn scene;
  scene.layers = m_former;
  scene.known = m_book.Match(m_former);
  EndOffer();
  m_undo.Clear();
  {
    const QScopedValueRollback<bool> retraces(m_retracing, true);
    for (const int id : m_book.FirstIds()) {
      if (std::find(scene.known.begin(), scene.known.end(), id) == scene.known.end()) {
        SlotDeleteItem(RowOf(m_book.SlotOf(id)));
      }
    }
  }
  m_return = scene;
  ReturnNext();
}

void orvane::ReturnNext() {
  if (!m_return) {
    return;
  }
  // A dialog may hold the number of a row.
  const bool isAsked = QApplication::activeModalWidget() != nullptr;
  if (!isAsked) {
    const std::size_t next = m_return->next++;
    if (next >= m_return->layers.size()) {
      EndReturn();
      return;
    }
    const QScopedValueRollback<bool> retraces(m_retracing, true);
    ReturnLayer(m_return->layers[next], m_return->known[next]);
  }
  QTimer::singleShot(isAsked ? kDialogMs : 0, this, &orvane::ReturnNext);
}

// On top of those that are back already.
void orvane::ReturnLayer(const shell::LayerRecord& record, int known) {
  const int slot = m_book.SlotOf(known);
  if (slot >= 0) {
    BringTo(slot, ui.m_tabLayer->RowCount() - 1);
    m_book.Find(slot)->place = record.place;
    PlaceAgain(slot, record);
    ui.m_tabLayer->SetRowVisible(RowOf(slot), record.shown);
    return;
  }
  if (shell::SceneIsFull(ui.m_tabLayer->RowCount())) {
    m_return->tooMany.append(shell::LabelOf(record));
  } else if (AddFrom(record) < 0) {
    m_return->gone.append(shell::LabelOf(record));
  }
}

void orvane::EndReturn() {
  const QString text = shell::LeftOutText(m_return->gone, m_return->tooMany);
  m_return.reset();
  m_sceneTouched = true;
  KeepScene();
  if (!text.isEmpty()) {
    InformationDlg(InformationDlg::kText, text, this).exec();
  }
}
