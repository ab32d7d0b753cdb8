// Opens one local file for reading, as the operator chose it: whatever its name holds, and nothing
// but that file.
//
// A path is never read as anything else than a path: "http://x" or "concat:a|b" is a file of that
// name, a "%d" or "*" in it no pattern. What the file itself refers to (play lists, external
// tracks) is not opened either, so a file from a stranger reaches neither the network nor other
// files. Pipes, devices and directories are refused, since reading one may block for ever.
//
// Threads: any, one at a time for one file.
#ifndef ORVANE_SOURCES_MEDIAFILE_H
#define ORVANE_SOURCES_MEDIAFILE_H

#include <cstdint>
#include <string>

extern "C" {
#include <libavformat/avformat.h>
}

namespace sources {

// *context becomes the open file, to be closed with CloseMediaFile; its format is made out from its
// content. interrupt ends a read that goes on for too long and must outlive the context. maxBytes:
// larger files are refused; 0 for no limit. On failure *context is null, the result a negative
// AVERROR and *cause says why.
int OpenMediaFile(const std::string& path, const AVIOInterruptCB& interrupt, std::int64_t maxBytes,
                  AVFormatContext** context, std::string* cause);

// avformat_find_stream_info, with a limit on the pictures that it may decode on the way.
int FindStreamInfo(AVFormatContext* context, std::int64_t maxPixels);

// Closes *context, null included, and nulls it.
void CloseMediaFile(AVFormatContext** context);

}  // namespace sources

#endif
