// What a running program holds and has used, as the kernel tells it: the numbers that must not grow
// while a broadcast goes on for hours.
//
// Any thread. A program that is gone gives zeros.
#ifndef ORVANE_TESTS_SUPPORT_PROCESSSTATS_H
#define ORVANE_TESTS_SUPPORT_PROCESSSTATS_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace support {

struct ProcessStats {
  // What it has taken for itself. The pages of its files are the kernel's, which drops them where
  // they are long unused and reads them again: by that alone a program of 400 MB is 25 MB more or
  // less.
  long memoryKb = 0;
  int threads = 0;
  int handles = 0;        // open files, sockets and the like
  double cpuSeconds = 0;  // in user and system mode, ended threads included
};

ProcessStats ReadProcessStats(pid_t process);

// The names of this program's threads, sorted. One that was joined stands in the kernel's list for
// a moment more, and is left out.
std::vector<std::string> ThreadNames();
// Whether a thread of this program bears that name.
bool HasThread(const std::string& name);

}  // namespace support

#endif
