// The main window with its graph on devices in memory, open to the test.
#ifndef ORVANE_TESTS_SHELL_WINDOWFIXTURE_H
#define ORVANE_TESTS_SHELL_WINDOWFIXTURE_H

#include <gtest/gtest.h>

#include <QApplication>

#include "shell/LayersRig.h"

class OpenWindow : public support::OpenOrvane {
 public:
  using orvane::m_actDlg;
  using orvane::m_adPixmap;
  using orvane::m_backend;
  using orvane::m_catalogue;
  using orvane::m_dragFrom;
  using orvane::m_dragMode;
  using orvane::m_dragTo;
  using orvane::m_encoder;
  using orvane::m_isLiving;
  using orvane::m_layerMoved;
  using orvane::m_leftDown;
  using orvane::m_liveTime;
  using orvane::m_liveTimer;
  using orvane::m_loginDlg;
  using orvane::m_loginShadow;
  using orvane::m_loopback;
  using orvane::m_maximised;
  using orvane::m_mic;
  using orvane::m_mixOut;
  using orvane::m_normalRect;
  using orvane::m_pressPos;
  using orvane::m_pressRect;
  using orvane::m_silence;
  using orvane::m_wndDlg;
  using orvane::m_wndDrag;
};

class MainWindow : public support::LayersRig {
 protected:
  MainWindow() {
    main = new OpenWindow;
    window.reset(main);
  }

  void Run() {
    main->InitGraph();
    main->show();
    QApplication::setActiveWindow(main);
    QApplication::processEvents();
  }
  QWidget* Find(const char* name) const {
    return main->findChild<QWidget*>(QLatin1String(name), Qt::FindChildrenRecursively);
  }
  template <typename T>
  T* Get(const char* name) const {
    return qobject_cast<T*>(Find(name));
  }

  OpenWindow* main;
};

#endif
