// The main window with its members open to a test.
#ifndef ORVANE_TESTS_SHELL_ORVANEMEMBERS_H
#define ORVANE_TESTS_SHELL_ORVANEMEMBERS_H

#include "shell/orvane.h"

namespace support {

class OrvaneMembers : public orvane {
 public:
  using orvane::m_actDlg;
  using orvane::m_adPixmap;
  using orvane::m_backend;
  using orvane::m_book;
  using orvane::m_camDlg;
  using orvane::m_catalogue;
  using orvane::m_dragFrom;
  using orvane::m_dragMode;
  using orvane::m_dragTo;
  using orvane::m_encoder;
  using orvane::m_isLiving;
  using orvane::m_layerMoved;
  using orvane::m_layers;
  using orvane::m_leftDown;
  using orvane::m_liveTime;
  using orvane::m_liveTimer;
  using orvane::m_loginDlg;
  using orvane::m_loginShadow;
  using orvane::m_loopback;
  using orvane::m_maximised;
  using orvane::m_mic;
  using orvane::m_mixFrame;
  using orvane::m_mixOut;
  using orvane::m_normalRect;
  using orvane::m_offer;
  using orvane::m_pressPos;
  using orvane::m_pressRect;
  using orvane::m_render;
  using orvane::m_silence;
  using orvane::m_slots;
  using orvane::m_textDlg;
  using orvane::m_tip;
  using orvane::m_tipShown;
  using orvane::m_TuCMenu;
  using orvane::m_undo;
  using orvane::m_wndDlg;
  using orvane::m_wndDrag;
  using orvane::m_WndMenu;
  using orvane::ui;
  using orvane::Undo;
};

}  // namespace support

#endif
