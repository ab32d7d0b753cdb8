// The layers of the scene: a row of the list, a slot of the renderer and a node in m_layers, kept
// in step. Rows count from the top, the drawing order from the bottom.
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <vector>

extern "C" {
#include <libavutil/pixfmt.h>
}

#include "media/CSrcInterface.h"
#include "output/CRender.h"
#include "platform/WindowSystem.h"
#include "shell/LayerRules.h"
#include "shell/PreviewRules.h"
#include "shell/orvane.h"
#include "sources/CInputDev.h"
#include "sources/CInputFile.h"
#include "sources/CInputPic.h"
#include "sources/CInputSilentFile.h"
#include "sources/CWndCapture.h"
#include "sources/DeviceCatalogue.h"
#include "widgets/ActivitiesWndDlg.h"
#include "widgets/CAddTextDlg.h"
#include "widgets/CCamDlg.h"
#include "widgets/ItemData.h"
#include "widgets/theme/CustomShadowEffect.h"
#include "widgets/theme/DeleteItemConfimDlg.h"
#include "widgets/theme/InformationDlg.h"

namespace {

CInputDev* NewCamera(const std::string& device) {
  return new CInputDev(false, device, 0, 0, AV_PIX_FMT_RGB24);
}

shell::LayerRecord RecordOf(shell::LayerKind kind, const QString& name,
                            const QString& source = QString()) {
  shell::LayerRecord record;
  record.kind = kind;
  record.name = name;
  record.source = source;
  return record;
}

shell::LayerRecord RecordOfWindow(const QString& title, platform::WindowHandle window) {
  shell::LayerRecord record = RecordOf(shell::LayerKind::kWindow, title);
  record.window = window;
  return record;
}

}  // namespace

// Menus.

void orvane::OpenWndMenu() {
  OpenMenu(&m_WndMenu, ui.m_AddWinBtn);
}

void orvane::OpenTuCMenu() {
  OpenMenu(&m_TuCMenu, ui.m_AddTuC);
}

void orvane::OpenMenu(QMenu* menu, const QWidget* button) {
  m_WndMenu.close();
  m_TuCMenu.close();
  menu->exec(shell::MenuPlace(mapToGlobal(button->pos())));
}

// New layers.

bool orvane::MayAddLayer() {
  if (!shell::SceneIsFull(ui.m_tabLayer->RowCount())) {
    return true;
  }
  InformationDlg(InformationDlg::kText, shell::SceneIsFullText(), this).exec();
  return false;
}

void orvane::ListLayer(int slot, CSrcInterface* node, const shell::LayerRecord& record) {
  const bool isText = record.kind == shell::LayerKind::kText;
  ui.m_tabLayer->AddRow(record.shown, record.name, widgets::kRowSize,
                        isText ? widgets::kTextLayer : widgets::kOtherLayer);
  m_slots.Keep(slot, node);
  m_book.Add(slot, record);
  m_sceneTouched = true;
  ShowFailures();
}

// A text stands somewhere as soon as it is set; any other layer waits for its first picture.
void orvane::PlaceAgain(int slot, const shell::LayerRecord& record) {
  if (record.kind == shell::LayerKind::kText) {
    const shell::Rect measured = RectAt(slot).value_or(shell::Rect());
    if (const auto place = shell::TextPlace(measured, record.place)) {
      m_render->PlaceLayer(slot, *place);
    }
  } else if (record.place.width > 0 && record.place.height > 0) {
    m_render->PlaceLayer(slot, record.place);
  }
}

int orvane::AddSource(CSrcInterface* node, const shell::LayerRecord& record, Corner corner) {
  const int slot = shell::LayerSlots::Link(node, m_render);
  if (slot < 0) {
    delete node;
    return -1;
  }
  if (corner == Corner::kYes) {
    m_render->SetLayerAutoFit(slot, 1);
  }
  PlaceAgain(slot, record);
  m_render->SetLayerHidden(slot, !record.shown);
  // A source that does not open tells the log; its layer is listed and stays empty.
  node->Start();
  ListLayer(slot, node, record);
  return slot;
}

// A film without sound is refused by the node that plays sound and picture together: another one,
// which has no input of the mix, then takes its slot.
int orvane::AddFilm(const shell::LayerRecord& record) {
  const std::string path = record.source.toStdString();
  auto* file = new CInputFile(path);
  const int slot = shell::LayerSlots::Link(file, m_render);
  if (slot < 0) {
    delete file;
    return -1;
  }
  PlaceAgain(slot, record);
  m_render->SetLayerHidden(slot, !record.shown);
  CSrcInterface* node = file;
  m_slots.LinkSound(slot, file, m_mixFrame);
  if (file->Start() < 0) {
    m_slots.UnlinkSound(slot, file, m_mixFrame);
    if (file->LacksSound()) {
      delete file;
      node = new CInputSilentFile(path);
      node->AddVideoOutput(m_render);
      node->SetVideoIndex(slot);
      node->Start();
    }
  }
  ListLayer(slot, node, record);
  return slot;
}

// Most sources open before they are listed. A window is looked at by its worker, a little later,
// and what the operator has allowed to be captured he may forbid at any time.
void orvane::ShowFailures() {
  const int rows = ui.m_tabLayer->RowCount();
  for (int row = 0; row < rows; ++row) {
    const auto layer = m_layers.find(m_render->LayerAt(PositionOf(row)));
    if (layer != m_layers.end() && layer->second != nullptr) {
      ui.m_tabLayer->SetRowFailure(row, QString::fromStdString(layer->second->Failure()));
    }
  }
}

// A film plays once and stays with its last picture. An input of the mix that falls silent below
// others would take their sound away, for the audience too.
void orvane::FollowSounds() {
  for (const auto& [slot, node] : m_layers) {
    auto* film = dynamic_cast<CInputFile*>(node);
    if (film != nullptr && film->Failure().empty()) {
      m_slots.FollowSound(slot, film, !film->SoundHasEnded(), m_mixFrame);
    }
  }
}

void orvane::SlotAddDesk() {
  if (MayAddLayer()) {
    AddFrom(RecordOf(shell::LayerKind::kDesk, shell::DeskName()));
  }
  m_WndMenu.close();
}

void orvane::SlotAddCamera() {
  if (MayAddLayer()) {
    delete m_camDlg;
    m_camDlg = new CCamDlg(this);
    ShadowOnce(m_camDlg, &m_camShadow, this);
    if (m_camDlg->exec() == QDialog::Accepted && !m_camDlg->DeviceName().empty()) {
      const std::string device = m_camDlg->DeviceName();
      AddSource(NewCamera(device), RecordOf(shell::LayerKind::kCamera, shell::CameraName(),
                                            QString::fromStdString(device)));
    }
  }
  m_WndMenu.close();
}

void orvane::SlotAddWindow() {
  if (MayAddLayer()) {
    if (platform::WindowSystem::Current().HasPicker()) {
      // The system asks which one; the layer waits for the answer.
      AddSource(new CWndCapture(platform::kPickedWindow),
                RecordOfWindow(shell::WindowName(), platform::kPickedWindow));
    } else {
      AddListedWindow();
    }
  }
  m_WndMenu.close();
}

void orvane::AddListedWindow() {
  delete m_wndDlg;
  m_wndDlg = new ActivitiesWndDlg(this);
  ShadowOnce(m_wndDlg, &m_wndShadow, this);
  if (m_wndDlg->exec() == QDialog::Accepted) {
    AddSource(new CWndCapture(m_wndDlg->selectedWnd),
              RecordOfWindow(m_wndDlg->selectedTitle, m_wndDlg->selectedWnd));
  }
}

void orvane::SlotAddText() {
  if (MayAddLayer()) {
    MakeTextDialog();
    ShadowOnce(m_textDlg, &m_textShadow, this);
    if (m_textDlg->exec() == QDialog::Accepted && !m_textDlg->text.isEmpty()) {
      shell::LayerRecord record = RecordOf(shell::LayerKind::kText, m_textDlg->text);
      record.color = m_textDlg->color;
      AddTextLayer(record);
    }
  }
  m_TuCMenu.close();
}

// The overlay in the renderer draws the text: the node has no thread, it only stands for the layer.
// Nothing of it is seen before it stands where it belongs.
int orvane::AddTextLayer(const shell::LayerRecord& record) {
  const int slot = shell::LayerSlots::Take(m_render);
  if (slot < 0) {
    return -1;
  }
  shell::LayerRecord text = record;
  if (text.measured.isEmpty()) {
    text.measured = text.name;
  }
  m_render->SetLayerHidden(slot, true);
  m_render->SetLayerText(slot, text.color, text.measured.toStdString());
  PlaceAgain(slot, text);
  if (text.name != text.measured) {
    m_render->SetLayerText(slot, text.color, text.name.toStdString());
  }
  m_render->SetLayerHidden(slot, !text.shown);
  ListLayer(slot, new CSrcInterface(0, 1), text);
  return slot;
}

void orvane::SlotAddPic() {
  if (MayAddLayer()) {
    const std::string path = AskForFile(shell::PictureQuestion());
    if (!path.empty()) {
      AddSource(new CInputPic(path), RecordOf(shell::LayerKind::kPicture, shell::PictureName(),
                                              QString::fromStdString(path)));
    }
  }
  m_TuCMenu.close();
}

void orvane::SlotAddFile() {
  if (MayAddLayer()) {
    const std::string path = AskForFile(shell::MediaQuestion());
    if (!path.empty()) {
      AddFilm(RecordOf(shell::LayerKind::kFilm, shell::FileName(), QString::fromStdString(path)));
    }
  }
  m_TuCMenu.close();
}

std::string orvane::AskForFile(const shell::FileQuestion& question) {
  QFileDialog dialog(this, question.caption, QString(), question.filter);
  // The window's dark background reaches into it, its letters do not.
  dialog.setStyleSheet(QStringLiteral("QWidget{color:#B4BECC;}"));
  return dialog.exec() == QDialog::Accepted ? shell::FirstPath(dialog.selectedFiles())
                                            : std::string();
}

void orvane::MakeTextDialog() {
  if (m_textDlg == nullptr) {
    m_textDlg = new CAddTextDlg(this);
  }
}

void orvane::AddDefaultLayers() {
  SlotAddDesk();
  const QString camera = m_catalogue->VideoDevice(1);
  if (!camera.isEmpty()) {
    // It takes the corner with its first picture.
    AddSource(NewCamera(camera.toStdString()),
              RecordOf(shell::LayerKind::kCamera, shell::CameraName(), camera), Corner::kYes);
  }
  connect(ui.m_tabLayer, &MyListView::changeItem, this, &orvane::SlotChangeItem);
  connect(ui.m_tabLayer, &MyListView::editItem, this, &orvane::SlotEditItem);
  connect(ui.m_tabLayer, &MyListView::visibleSignal, this, &orvane::SlotvisibleSignal);
  // So every run begins: there is nothing in it of the operator's yet.
  m_book.MarkFirst();
  m_sceneTouched = false;
}

// Layers that were there before.

int orvane::AddFrom(const shell::LayerRecord& record) {
  const std::string source = record.source.toStdString();
  switch (record.kind) {
    case shell::LayerKind::kDesk:
      return AddSource(
          new CInputDev(false, m_catalogue->VideoDevice(0).toStdString(), m_catalogue->renderWidth,
                        m_catalogue->renderHeight, AV_PIX_FMT_RGB24),
          record);
    case shell::LayerKind::kCamera:
      return IsFreeCamera(record.source) ? AddSource(NewCamera(source), record) : -1;
    case shell::LayerKind::kWindow:
      return AddWindowFrom(record);
    case shell::LayerKind::kText:
      return AddTextLayer(record);
    case shell::LayerKind::kPicture:
      return QFileInfo(record.source).isFile() ? AddSource(new CInputPic(source), record) : -1;
    case shell::LayerKind::kFilm:
      return QFileInfo(record.source).isFile() ? AddFilm(record) : -1;
  }
  return -1;
}

// Behind the desktop, which stands first.
bool orvane::IsFreeCamera(const QString& device) {
  m_catalogue->RefreshDevices();
  std::vector<QString> devices;
  m_catalogue->CopyVideoDevices(&devices);
  const auto contains = [&](auto begin, auto end) { return std::find(begin, end, device) != end; };
  const std::vector<QString>& used = m_catalogue->usedVideoDevices;
  return !devices.empty() && contains(devices.begin() + 1, devices.end()) &&
         !contains(used.begin(), used.end());
}

// In the same run by its handle, whatever its title has become. Where the system itself asks for
// the window, it asks again.
int orvane::AddWindowFrom(const shell::LayerRecord& record) {
  shell::LayerRecord again = record;
  if (platform::WindowSystem::Current().HasPicker()) {
    again.window = platform::kPickedWindow;
  } else if (again.window == 0) {
    std::map<platform::WindowHandle, QString> windows;
    m_catalogue->ListWindows(&windows);
    std::set<platform::WindowHandle> taken;
    for (const auto& [slot, node] : m_layers) {
      taken.insert(RecordAt(slot).window);
    }
    again.window = shell::WindowOfTitle(windows, record.name, taken);
  }
  return again.window != 0 ? AddSource(new CWndCapture(again.window), again) : -1;
}

// What the list asks for.

int orvane::PositionOf(int row) const {
  return shell::PositionOfRow(ui.m_tabLayer->RowCount(), row);
}

std::optional<shell::Rect> orvane::RectAt(int slot) const {
  shell::Rect rect;
  const bool isThere =
      m_render->GetLayerRect(slot, &rect.x, &rect.y, &rect.width, &rect.height) == 0;
  return isThere ? std::optional<shell::Rect>(rect) : std::nullopt;
}

void orvane::RecvDeleteSignal(int row, int kind, QPoint point) {
  DeleteItemConfimDlg question(kind);
  question.move(shell::PanelPlace(point));
  if (question.exec() == QDialog::Accepted) {
    SlotDeleteItem(row);
  }
}

void orvane::SlotDeleteItem(int row) {
  const int position = PositionOf(row);
  NoteDeletion(position);
  ui.m_tabLayer->RemoveRow(row);
  m_book.Remove(m_render->LayerAt(position));
  m_slots.Drop(position, m_render);
  TellSelection();
}

void orvane::SlotChangeItem(int fristRow, int secondRow) {
  const int first = PositionOf(fristRow);
  const int second = PositionOf(secondRow);
  if (m_render->SwapLayers(first, second) == 0 && first != second) {
    NoteStep(shell::Swapped{m_book.IdAt(m_render->LayerAt(first)),
                            m_book.IdAt(m_render->LayerAt(second))});
  }
}

void orvane::SlotEditItem(int row) {
  MakeTextDialog();
  if (m_textDlg->exec() != QDialog::Accepted) {
    return;
  }
  const int slot = m_render->LayerAt(PositionOf(row));
  const auto layer = m_layers.find(slot);
  if (layer != m_layers.end() && layer->second != nullptr) {
    m_render->SetLayerText(slot, m_textDlg->color, m_textDlg->text.toStdString());
    shell::LayerRecord* record = m_book.Find(slot);
    if (record != nullptr && record->kind == shell::LayerKind::kText) {
      NoteStep(shell::Edited{m_book.IdAt(slot), record->name, record->color});
      record->name = m_textDlg->text;
      record->color = m_textDlg->color;
    }
  }
  ui.m_tabLayer->SetRowText(row, m_textDlg->text);
}

void orvane::SlotvisibleSignal(int row, bool vis) {
  const int slot = m_render->LayerAt(PositionOf(row));
  m_render->SetLayerHidden(slot, !vis);
  if (shell::LayerRecord* record = m_book.Find(slot)) {
    record->shown = vis;
    m_sceneTouched = true;
  }
}

// The tip with a row's whole name.

void orvane::RecvStatusTip(QString str, QPoint point) {
  if (m_tipShown) {
    return;
  }
  m_tip.setModal(false);
  m_tip.SetTipText(str);
  m_tip.move(shell::TipPlace(point, m_tip.size(), ui.m_tabLayer->RowOnScreen(point),
                             QGuiApplication::primaryScreen()->availableGeometry()));
  m_tip.show();
  m_tipShown = true;
}

void orvane::RecvHideStatusTip() {
  m_tip.close();
  m_tipShown = false;
}
