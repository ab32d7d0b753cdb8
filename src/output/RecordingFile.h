// The file of a recording: made, written, brought onto the disk, closed.
//
// It is new, whatever stands in its directory already, and its owner's alone (0600). What it is
// given goes to the system at once and, with Sync, onto the disk, so that a power cut leaves what
// was there at the last Sync.
//
// Ownership: the bytes' context belongs to the file and lives from Open to Close or Discard.
//
// Threads: one makes, uses and deletes it. Each call may wait for the disk, or for whoever serves
// it over a network, without limit: it is no thread that anybody waits for.
//
// Failure: a negative AVERROR. What could not be written is the context's error, and stays so.
#ifndef ORVANE_OUTPUT_RECORDINGFILE_H
#define ORVANE_OUTPUT_RECORDINGFILE_H

#include <cstdint>
#include <string>

extern "C" {
#include <libavformat/avio.h>
}

#include "output/RecordingStatus.h"

namespace output {

class RecordingFile {
 public:
  RecordingFile() = default;
  ~RecordingFile();  // Close
  RecordingFile(const RecordingFile&) = delete;
  RecordingFile& operator=(const RecordingFile&) = delete;

  // Once. Makes the directory too; a name that is taken gets a number.
  int Open(const RecordingPlace& place);
  // Null before Open and after the end.
  AVIOContext* Bytes() const { return m_bytes; }
  const std::string& Path() const { return m_path; }
  int Sync();
  int Close();
  // Leaves no file behind.
  void Discard();

 private:
  int OpenNew(const RecordingPlace& place);
  static int Write(void* opaque, std::uint8_t* data, int size);
  static std::int64_t Seek(void* opaque, std::int64_t offset, int whence);

  int m_descriptor = -1;
  AVIOContext* m_bytes = nullptr;
  std::string m_directory;
  std::string m_path;
};

}  // namespace output

#endif
