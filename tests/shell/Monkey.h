// Does to the main window whatever an operator can, at random, and knows after each step what the
// list, the drawing order and the nodes must look like.
#ifndef ORVANE_TESTS_SHELL_MONKEY_H
#define ORVANE_TESTS_SHELL_MONKEY_H

#include <QStringList>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "shell/LiveWindow.h"

namespace support {

class Monkey {
 public:
  Monkey(LiveWindow* stage, unsigned seed);

  // One operation; its name.
  std::string Step();
  // Empty when the window is in step with what was done, else what is not.
  std::string Complaint() const;
  void DeleteAll();

 private:
  int Pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }
  int Rows() const { return m_rows.size(); }
  QModelIndex Index(int row) const;
  QPoint Anywhere();
  OpenOrvane* Window() const { return m_stage->window.get(); }

  std::string Add();
  std::string Delete();
  std::string Hide();
  std::string Drop();
  std::string Edit();
  std::string Click();
  std::string Drag();
  std::string Maximise();
  std::string Hover();

  void Added(const QString& text);
  void Deleted(int row);
  void SendMouse(QEvent::Type type, const QPoint& at, Qt::MouseButton button,
                 Qt::MouseButtons held);

  LiveWindow* m_stage;
  std::mt19937 m_random;
  QStringList m_rows;  // from the top
  std::vector<bool> m_visible;
  std::vector<int> m_order;  // from the bottom
  std::set<int> m_nodes;
};

}  // namespace support

#endif
