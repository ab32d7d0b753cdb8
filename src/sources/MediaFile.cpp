#include "sources/MediaFile.h"

#include <sys/stat.h>

#include <cerrno>
#include <vector>

#include "media/ffmpeg/ErrorText.h"
#include "media/ffmpeg/Scoped.h"

namespace sources {

namespace {

// Told of every further file or address that a demuxer wants to open.
int RefuseOpen(AVFormatContext* context, AVIOContext** /*io*/, const char* url, int /*flags*/,
               AVDictionary** /*options*/) {
  av_log(context, AV_LOG_ERROR, "the file refers to \"%s\", which is not opened\n", url);
  return AVERROR(EACCES);
}

int CheckRegular(const std::string& path, std::int64_t maxBytes, std::string* cause) {
  struct stat info {};
  if (stat(path.c_str(), &info) != 0) {
    const int error = AVERROR(errno);
    *cause = ffmpeg::ErrorText(error);
    return error;
  }
  if (!S_ISREG(info.st_mode)) {
    *cause = "not a regular file";
    return AVERROR(EINVAL);
  }
  if (maxBytes > 0 && info.st_size > maxBytes) {
    *cause = "a file of " + std::to_string(info.st_size) + " bytes is too large, the limit is " +
             std::to_string(maxBytes);
    return AVERROR(EFBIG);
  }
  return 0;
}

int OpenContext(const std::string& path, const AVIOInterruptCB& interrupt,
                AVFormatContext** context) {
  AVIOContext* io = nullptr;
  const int opened = avio_open2(&io, ("file:" + path).c_str(), AVIO_FLAG_READ, &interrupt, nullptr);
  if (opened < 0) {
    return opened;
  }
  *context = avformat_alloc_context();
  if (*context == nullptr) {
    avio_closep(&io);
    return AVERROR(ENOMEM);
  }
  (*context)->pb = io;
  (*context)->interrupt_callback = interrupt;
  (*context)->io_open = RefuseOpen;
  // Demuxers that open further files on their own pass this on; no protocol has that name.
  (*context)->protocol_whitelist = av_strdup("none");
  // Without a name the format can only be made out from the content.
  const int result = avformat_open_input(context, "", nullptr, nullptr);
  if (result < 0) {
    avio_closep(&io);  // the context is gone, but not what it did not open
  }
  return result;
}

}  // namespace

int OpenMediaFile(const std::string& path, const AVIOInterruptCB& interrupt, std::int64_t maxBytes,
                  AVFormatContext** context, std::string* cause) {
  *context = nullptr;
  const int regular = CheckRegular(path, maxBytes, cause);
  if (regular < 0) {
    return regular;
  }
  const int result = OpenContext(path, interrupt, context);
  if (result < 0) {
    *cause = ffmpeg::ErrorText(result);
  }
  return result;
}

int FindStreamInfo(AVFormatContext* context, std::int64_t maxPixels) {
  const unsigned int count = context->nb_streams;
  std::vector<AVDictionary*> options(count, nullptr);
  for (AVDictionary*& entry : options) {
    av_dict_set_int(&entry, "max_pixels", maxPixels, 0);
  }
  const int result = avformat_find_stream_info(context, count > 0 ? options.data() : nullptr);
  for (AVDictionary*& entry : options) {
    av_dict_free(&entry);
  }
  return result;
}

void CloseMediaFile(AVFormatContext** context) {
  if (*context == nullptr) {
    return;
  }
  AVIOContext* io = (*context)->pb;
  avformat_close_input(context);
  avio_closep(&io);
}

}  // namespace sources
