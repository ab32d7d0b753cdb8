// The address of the backend comes from the test that starts the program.
#include "backend/BackendClient.h"

QString BackendClient::BaseAddress() {
  return qEnvironmentVariable("ORVANE_TEST_BACKEND");
}
