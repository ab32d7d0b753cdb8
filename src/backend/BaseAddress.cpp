// Alone in its file, so that a test can link another address.
#include "backend/BackendClient.h"

QString BackendClient::BaseAddress() {
  return QStringLiteral(ORVANE_BACKEND_ADDRESS);
}
