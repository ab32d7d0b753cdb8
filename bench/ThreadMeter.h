// CPU time of this process by thread name, threads that have ended included as far as they were
// seen: what one lived on after the last Sample falls into "other".
//
// One thread uses it. Sample costs about 0.1 ms; once a second is enough.
#ifndef ORVANE_BENCH_THREADMETER_H
#define ORVANE_BENCH_THREADMETER_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace bench {

struct ThreadShare {
  std::string name;
  int threads = 0;
  double seconds = 0;
};

class ThreadMeter {
 public:
  // Reads every thread; a thread without a name of its own counts as "main", or as "libraries"
  // where it is not the first one.
  void Sample();
  // Since Begin, largest first. The last entry is what no sample saw.
  std::vector<ThreadShare> Shares() const;
  // CPU seconds of the whole process since Begin.
  double Total() const;
  // What was used before this moment counts no more.
  void Begin();

 private:
  struct Thread {
    std::string name;
    double begin = 0;
    double now = 0;
  };

  std::map<int, Thread> m_threads;  // by id; ended ones keep their last figure
  double m_begin = 0;
};

// Resident memory of this process in MiB, now and at its highest.
double ResidentMb();
double PeakResidentMb();

}  // namespace bench

#endif
