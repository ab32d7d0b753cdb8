#include "backend/TestAddress.h"

#include "backend/BackendClient.h"

namespace {

QString g_address;

}  // namespace

void SetTestAddress(const QString& address) {
  g_address = address;
}

QString BackendClient::BaseAddress() {
  return g_address;
}
