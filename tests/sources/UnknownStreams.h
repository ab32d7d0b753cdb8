// Media files in which nothing can be made out, for tests that are linked with
// --wrap=avformat_find_stream_info: no file of a few bytes gets the library to say so.
#ifndef ORVANE_TESTS_SOURCES_UNKNOWNSTREAMS_H
#define ORVANE_TESTS_SOURCES_UNKNOWNSTREAMS_H

extern "C" {
#include <libavformat/avformat.h>
}

namespace support {

// While one lives avformat_find_stream_info fails.
class UnknownStreams {
 public:
  UnknownStreams() { Count() = 1; }
  ~UnknownStreams() { Count() = 0; }
  UnknownStreams(const UnknownStreams&) = delete;
  UnknownStreams& operator=(const UnknownStreams&) = delete;

  static int& Count() {
    static int count = 0;
    return count;
  }
};

}  // namespace support

extern "C" {
int __real_avformat_find_stream_info(AVFormatContext* context, AVDictionary** options);
int __wrap_avformat_find_stream_info(AVFormatContext* context, AVDictionary** options);
__attribute__((used)) inline int __wrap_avformat_find_stream_info(AVFormatContext* context,
                                                                  AVDictionary** options) {
  return support::UnknownStreams::Count() > 0 ? AVERROR_INVALIDDATA
                                              : __real_avformat_find_stream_info(context, options);
}
}

#endif
