// KeepAwakeProgram SESSION SYSTEM: keeps the machine awake by those buses until it is ended.
#include <unistd.h>

#include "platform/KeepAwake.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    return 2;
  }
  platform::KeepAwake awake({argv[1], argv[2]});
  awake.Begin("test");
  for (;;) {
    pause();
  }
}
