#include "shell/CEvent.h"

CEvent CEvent::s_instance;

CEvent* CEvent::instance() {
  return &s_instance;
}
