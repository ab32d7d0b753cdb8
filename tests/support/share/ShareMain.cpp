// The helper program behind StalledShare: a directory served through FUSE, its files in memory.
//
// orvane_stalled_share DIRECTORY
//
// One thread answers all calls, so a process that is stopped answers none. Says "ready" when the
// directory is mounted, and ends with SIGTERM.
#define FUSE_USE_VERSION 35
#include <fuse.h>
#include <fuse_lowlevel.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

namespace support {
namespace {

std::map<std::string, std::string> g_files;  // content by path

bool IsTop(const char* path) {
  return std::strcmp(path, "/") == 0;
}

int GetAttributes(const char* path, struct stat* attributes, fuse_file_info* /*info*/) {
  *attributes = {};
  attributes->st_uid = getuid();
  attributes->st_gid = getgid();
  attributes->st_nlink = 1;
  if (IsTop(path)) {
    attributes->st_mode = S_IFDIR | 0700;
    return 0;
  }
  const auto file = g_files.find(path);
  if (file == g_files.end()) {
    return -ENOENT;
  }
  attributes->st_mode = S_IFREG | 0600;
  attributes->st_size = static_cast<off_t>(file->second.size());
  return 0;
}

int List(const char* path, void* buffer, fuse_fill_dir_t fill, off_t /*offset*/,
         fuse_file_info* /*info*/, fuse_readdir_flags /*flags*/) {
  if (!IsTop(path)) {
    return -ENOENT;
  }
  for (const auto& [name, content] : g_files) {
    fill(buffer, name.c_str() + 1, nullptr, 0, static_cast<fuse_fill_dir_flags>(0));
  }
  return 0;
}

int Create(const char* path, mode_t /*mode*/, fuse_file_info* /*info*/) {
  g_files[path].clear();
  return 0;
}

int Open(const char* path, fuse_file_info* /*info*/) {
  return g_files.count(path) != 0 ? 0 : -ENOENT;
}

int Read(const char* path, char* buffer, std::size_t size, off_t offset, fuse_file_info* /*info*/) {
  const std::string& content = g_files[path];
  const std::size_t from = std::min(static_cast<std::size_t>(offset), content.size());
  return static_cast<int>(content.copy(buffer, size, from));
}

int Write(const char* path, const char* data, std::size_t size, off_t offset,
          fuse_file_info* /*info*/) {
  std::string& content = g_files[path];
  const auto from = static_cast<std::size_t>(offset);
  content.resize(std::max(content.size(), from + size));
  content.replace(from, size, data, size);
  return static_cast<int>(size);
}

int Truncate(const char* path, off_t size, fuse_file_info* /*info*/) {
  g_files[path].resize(static_cast<std::size_t>(size));
  return 0;
}

int Remove(const char* path) {
  return g_files.erase(path) != 0 ? 0 : -ENOENT;
}

int Main(char* program, const char* directory) {
  fuse_operations operations{};
  operations.getattr = GetAttributes;
  operations.readdir = List;
  operations.create = Create;
  operations.open = Open;
  operations.read = Read;
  operations.write = Write;
  operations.truncate = Truncate;
  operations.unlink = Remove;
  char* arguments[] = {program, nullptr};
  fuse_args fuseArguments = FUSE_ARGS_INIT(1, arguments);
  fuse* share = fuse_new(&fuseArguments, &operations, sizeof operations, nullptr);
  if (share == nullptr || fuse_mount(share, directory) != 0) {
    return 1;
  }
  fuse_set_signal_handlers(fuse_get_session(share));
  std::puts("ready");
  std::fflush(stdout);
  fuse_loop(share);
  fuse_remove_signal_handlers(fuse_get_session(share));
  fuse_unmount(share);
  fuse_destroy(share);
  return 0;
}

}  // namespace
}  // namespace support

int main(int argc, char** argv) {
  return argc == 2 ? support::Main(argv[0], argv[1]) : 2;
}
