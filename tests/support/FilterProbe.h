// Stands between the code under test and the calls of libavfilter that build a graph and move
// frames: keeps what was asked, and lets a call fail that never fails by itself.
//
// A test links orvane_filter_probe. Without a living FilterProbe every call goes through untouched.
// One thread at a time: the calls under test are made on the test's own, or on one that the test
// starts after Fail and joins before Records.
#ifndef ORVANE_TESTS_SUPPORT_FILTERPROBE_H
#define ORVANE_TESTS_SUPPORT_FILTERPROBE_H

#include <string>
#include <vector>

namespace support {

class FilterProbe {
 public:
  enum class Call {
    kAllocate,   // avfilter_graph_alloc
    kCreate,     // avfilter_graph_create_filter; subject: the name of the instance
    kSetBinary,  // av_opt_set_bin; subject: the option
    kParse,      // avfilter_graph_parse_ptr; subject: the description
    kLink,       // avfilter_link; subject: the filter before the link, by its kind or name
    kConfigure,  // avfilter_graph_config
    kCopy,       // av_frame_copy
    kAdd,        // av_buffersrc_add_frame_flags
    kGet,        // av_buffersink_get_frame_flags and av_buffersink_get_frame
  };
  struct Record {
    Call call;
    std::string subject;
    std::string detail;  // kCreate: "FILTER ARGUMENTS"; kSetBinary: "N bytes"
  };

  FilterProbe();
  ~FilterProbe();
  FilterProbe(const FilterProbe&) = delete;
  FilterProbe& operator=(const FilterProbe&) = delete;

  // From now on this call fails when its subject is the given one, or always with "".
  void Fail(Call call, const std::string& subject = "");
  // The next one of this call fails, and no other.
  void FailOnce(Call call);
  std::vector<Record> Records(Call call) const;
};

}  // namespace support

#endif
