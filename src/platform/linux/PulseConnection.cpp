#include "platform/linux/PulseConnection.h"

#include <pulse/error.h>

namespace platform {

PulseConnection::PulseConnection() : m_loop(pa_mainloop_new()) {}

PulseConnection::~PulseConnection() {
  Disconnect();
  if (m_loop != nullptr) {
    pa_mainloop_free(m_loop);
  }
}

void PulseConnection::Connect() {
  Disconnect();
  if (m_loop == nullptr) {
    return;
  }
  m_context = pa_context_new(pa_mainloop_get_api(m_loop), "Orvane");
  if (m_context != nullptr) {
    // A failure shows in the context's state.
    pa_context_connect(m_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
  }
}

void PulseConnection::Disconnect() {
  if (m_context != nullptr) {
    pa_context_disconnect(m_context);
    pa_context_unref(m_context);
    m_context = nullptr;
  }
}

bool PulseConnection::Ready() const {
  return m_context != nullptr && pa_context_get_state(m_context) == PA_CONTEXT_READY;
}

bool PulseConnection::Failed() const {
  return m_context == nullptr || !PA_CONTEXT_IS_GOOD(pa_context_get_state(m_context));
}

std::string PulseConnection::Error() const {
  return m_context != nullptr ? pa_strerror(pa_context_errno(m_context)) : "out of memory";
}

void PulseConnection::Turn(int timeoutMs) {
  if (m_loop != nullptr && pa_mainloop_prepare(m_loop, timeoutMs * 1000) >= 0 &&
      pa_mainloop_poll(m_loop) >= 0) {
    pa_mainloop_dispatch(m_loop);
  }
}

void PulseConnection::Wake() {
  if (m_loop != nullptr) {
    pa_mainloop_wakeup(m_loop);
  }
}

}  // namespace platform
