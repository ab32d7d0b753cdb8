#include "output/RecordingFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

extern "C" {
#include <libavutil/mem.h>
}

#include "output/RecordingName.h"

namespace output {

namespace {

constexpr int kBufferBytes = 64 * 1024;

// What can't be brought onto a disk, such as a file that is none on one, is not the file's failure.
int SyncData(int descriptor) {
  return fdatasync(descriptor) == 0 || errno == EINVAL || errno == EROFS ? 0 : AVERROR(errno);
}

// That the file is there at all stands in its directory.
void SyncDirectory(const std::string& path) {
  const int directory = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory >= 0) {
    fsync(directory);
    close(directory);
  }
}

}  // namespace

RecordingFile::~RecordingFile() {
  Close();
}

int RecordingFile::Open(const RecordingPlace& place) {
  m_directory = place.directory;
  std::error_code error;
  std::filesystem::create_directories(m_directory, error);
  if (error) {
    return AVERROR(error.value());
  }
  const int opened = OpenNew(place);
  if (opened < 0) {
    return opened;
  }
  auto* buffer = static_cast<unsigned char*>(av_malloc(kBufferBytes));
  m_bytes = buffer != nullptr
                ? avio_alloc_context(buffer, kBufferBytes, 1, this, nullptr, &Write, &Seek)
                : nullptr;
  if (m_bytes == nullptr) {
    av_free(buffer);
    Discard();
    return AVERROR(ENOMEM);
  }
  SyncDirectory(m_directory);
  return 0;
}

int RecordingFile::OpenNew(const RecordingPlace& place) {
  for (int number = 1; number <= kLastRecordingNumber; ++number) {
    const QString name = RecordingName(place.title, place.date, number);
    const std::string path = m_directory + "/" + name.toStdString();
    m_descriptor = open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (m_descriptor >= 0) {
      m_path = path;
      return 0;
    }
    if (errno != EEXIST) {
      return AVERROR(errno);
    }
  }
  return AVERROR(EEXIST);
}

int RecordingFile::Sync() {
  return m_descriptor >= 0 ? SyncData(m_descriptor) : 0;
}

// All is handed to the system before the disk is waited for: that outlives the process.
int RecordingFile::Close() {
  if (m_descriptor < 0) {
    return 0;
  }
  int error = 0;
  if (m_bytes != nullptr) {
    avio_flush(m_bytes);
    error = m_bytes->error;
    av_freep(&m_bytes->buffer);
    avio_context_free(&m_bytes);
  }
  const int synced = SyncData(m_descriptor);
  // Some that are served over a network tell here that they had no room.
  const int closed = close(m_descriptor) == 0 ? 0 : AVERROR(errno);
  m_descriptor = -1;
  for (const int later : {synced, closed}) {
    error = error < 0 ? error : later;
  }
  return error;
}

void RecordingFile::Discard() {
  if (m_descriptor >= 0) {
    Close();
    unlink(m_path.c_str());
    m_path.clear();
  }
}

int RecordingFile::Write(void* opaque, std::uint8_t* data, int size) {
  const int descriptor = static_cast<RecordingFile*>(opaque)->m_descriptor;
  int written = 0;
  while (written < size) {
    const ssize_t count =
        write(descriptor, data + written, static_cast<std::size_t>(size - written));
    if (count > 0) {
      written += static_cast<int>(count);
    } else if (count == 0 || errno != EINTR) {
      return count == 0 ? AVERROR(EIO) : AVERROR(errno);
    }
  }
  return size;
}

std::int64_t RecordingFile::Seek(void* opaque, std::int64_t offset, int whence) {
  const int descriptor = static_cast<RecordingFile*>(opaque)->m_descriptor;
  if ((whence & AVSEEK_SIZE) != 0) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 ? status.st_size : AVERROR(errno);
  }
  const off_t place = lseek(descriptor, offset, whence & ~AVSEEK_FORCE);
  return place >= 0 ? place : AVERROR(errno);
}

}  // namespace output
