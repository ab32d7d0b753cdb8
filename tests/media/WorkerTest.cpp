#include "media/Worker.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using media::WorkerRole;

int Niceness() {
  return getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
}

void* Note(void* niceness) {
  *static_cast<int*>(niceness) = Niceness();
  return nullptr;
}

// What an encoder or a decoder would do.
void* NoteOfAChild(void* niceness) {
  pthread_t child;
  EXPECT_EQ(0, pthread_create(&child, nullptr, Note, niceness));
  pthread_join(child, nullptr);
  return nullptr;
}

int NicenessOf(WorkerRole role, void* (*entry)(void*)) {
  int niceness = -100;
  pthread_t thread;
  EXPECT_TRUE(media::StartWorker(&thread, "worker", entry, &niceness, role));
  pthread_join(thread, nullptr);
  return niceness;
}

TEST(Worker, TheStreamComesBeforeWhatPreparesAndThatBeforeWhatShows) {
  const int mine = Niceness();
  for (void* (*entry)(void*) : {Note, NoteOfAChild}) {
    EXPECT_EQ(mine, NicenessOf(WorkerRole::kStream, entry));
    EXPECT_GT(NicenessOf(WorkerRole::kPrepare, entry), mine);
    EXPECT_GT(NicenessOf(WorkerRole::kShow, entry), NicenessOf(WorkerRole::kPrepare, entry));
  }
  EXPECT_EQ(mine, Niceness()) << "whoever starts them stays where it is";
}

TEST(Worker, WhatALibraryStartsHasTheRoleOfItsOpening) {
  const int mine = Niceness();
  int own = -100;
  int child = -100;
  media::RunAs(WorkerRole::kPrepare, [&] {
    Note(&own);
    NoteOfAChild(&child);
  });
  EXPECT_GT(own, mine);
  EXPECT_EQ(own, child);
  EXPECT_EQ(mine, Niceness());
}

}  // namespace
