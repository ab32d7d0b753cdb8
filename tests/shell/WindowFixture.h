// The main window with its graph on devices in memory, open to the test.
#ifndef ORVANE_TESTS_SHELL_WINDOWFIXTURE_H
#define ORVANE_TESTS_SHELL_WINDOWFIXTURE_H

#include <gtest/gtest.h>

#include <QApplication>

#include "shell/LayersRig.h"

class MainWindow : public support::LayersRig {
 protected:
  MainWindow() {
    main = new support::OpenOrvane;
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

  support::OpenOrvane* main;
};

#endif
