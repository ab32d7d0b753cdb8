// The helper program behind FakeCamera: a file served through FUSE that behaves as a V4L2 device.
//
// orvane_fake_camera_device SOCKET FILE CARD WIDTH HEIGHT FORMAT FPS RED GREEN BLUE KIND
//
// KIND: pictures, clock (they tell when they were captured) or metadata (none).
//
// FILE, an empty file, becomes the device; SOCKET is an inherited descriptor on which commands come
// in, one a message, each answered "done". Three threads: the FUSE loop answers the calls, one
// makes pictures, one takes commands. The picture maker writes into the kernel's cache of the file
// (which is what a program has mapped) without holding any lock: a read of the same page may be
// waiting for the loop.
#define FUSE_USE_VERSION 35
#include <fuse_lowlevel.h>
#include <linux/videodev2.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <thread>

#include "support/camera/CameraDriver.h"
#include "support/camera/CameraPicture.h"

namespace support {
namespace {

constexpr double kForever = 1e6;
constexpr auto kBlockedPoll = std::chrono::milliseconds(5);

// One open file.
struct OpenFile {
  std::uint64_t id = 0;
  bool blocking = false;
};

// A DQBUF on a blocking file that waits for its picture.
struct Waiter {
  fuse_req_t request = nullptr;
  std::uint64_t owner = 0;
};

struct Device {
  Device(const DriverMode& mode, CameraPicture* source)
      : driver(mode), picture(source), content(driver.BufferSpan() * CameraDriver::kBuffers) {}

  CameraDriver driver;
  CameraPicture* picture;
  std::mutex contentMutex;  // guards content
  std::vector<std::uint8_t> content;
  std::mutex waitersMutex;  // guards waiters
  std::vector<Waiter> waiters;
  std::uint64_t nextOwner = 1;  // FUSE loop only
  std::atomic<bool> ending{false};
};

Device* DeviceOf(fuse_req_t request) {
  return static_cast<Device*>(fuse_req_userdata(request));
}

OpenFile* FileOf(fuse_file_info* info) {
  return reinterpret_cast<OpenFile*>(info->fh);
}

void GetAttributes(fuse_req_t request, fuse_ino_t node, fuse_file_info*) {
  struct stat attributes {};
  attributes.st_ino = node;
  attributes.st_mode = S_IFREG | 0666;
  attributes.st_nlink = 1;
  attributes.st_uid = getuid();
  attributes.st_gid = getgid();
  attributes.st_size = static_cast<off_t>(DeviceOf(request)->content.size());
  fuse_reply_attr(request, &attributes, kForever);
}

void Open(fuse_req_t request, fuse_ino_t, fuse_file_info* info) {
  auto* file = new OpenFile;
  file->id = DeviceOf(request)->nextOwner++;
  file->blocking = (info->flags & O_NONBLOCK) == 0;
  info->fh = reinterpret_cast<std::uint64_t>(file);
  info->keep_cache = 1;  // what others have mapped
  fuse_reply_open(request, info);
}

void Release(fuse_req_t request, fuse_ino_t, fuse_file_info* info) {
  DeviceOf(request)->driver.Release(FileOf(info)->id);
  delete FileOf(info);
  fuse_reply_err(request, 0);
}

// The content of the buffers, where the kernel has not kept what was stored.
void Read(fuse_req_t request, fuse_ino_t, std::size_t size, off_t offset, fuse_file_info*) {
  Device* device = DeviceOf(request);
  std::lock_guard<std::mutex> lock(device->contentMutex);
  const std::size_t start = std::min(static_cast<std::size_t>(offset), device->content.size());
  fuse_reply_buf(request, reinterpret_cast<const char*>(device->content.data() + start),
                 std::min(size, device->content.size() - start));
}

// A page that a program has written to comes back here; a camera has no use for it.
void Write(fuse_req_t request, fuse_ino_t, const char*, std::size_t size, off_t, fuse_file_info*) {
  fuse_reply_write(request, size);
}

void Interrupted(fuse_req_t request, void* data) {
  auto* device = static_cast<Device*>(data);
  std::lock_guard<std::mutex> lock(device->waitersMutex);
  const auto found = std::find_if(device->waiters.begin(), device->waiters.end(),
                                  [&](const Waiter& waiter) { return waiter.request == request; });
  if (found != device->waiters.end()) {
    device->waiters.erase(found);
    fuse_reply_err(request, EINTR);
  }
}

void Control(fuse_req_t request, fuse_ino_t, unsigned code, void*, fuse_file_info* info, unsigned,
             const void* input, std::size_t inputSize, std::size_t outputSize) {
  Device* device = DeviceOf(request);
  alignas(8) std::uint8_t argument[512] = {};
  if (inputSize > sizeof argument || outputSize > sizeof argument) {
    fuse_reply_err(request, EINVAL);
    return;
  }
  if (inputSize > 0) {
    std::memcpy(argument, input, inputSize);
  }
  const int result = device->driver.Control(FileOf(info)->id, code, argument);
  if (result == EAGAIN && FileOf(info)->blocking) {
    {
      std::lock_guard<std::mutex> lock(device->waitersMutex);
      device->waiters.push_back({request, FileOf(info)->id});
    }
    fuse_req_interrupt_func(request, Interrupted, device);
  } else if (result != 0) {
    fuse_reply_err(request, result);
  } else {
    fuse_reply_ioctl(request, 0, argument, outputSize);
  }
}

// Answers those who wait for a picture and can have one now.
void AnswerWaiters(Device* device) {
  std::lock_guard<std::mutex> lock(device->waitersMutex);
  auto& waiters = device->waiters;
  for (auto waiter = waiters.begin(); waiter != waiters.end();) {
    v4l2_buffer buffer{};
    const int result = device->driver.Control(waiter->owner, VIDIOC_DQBUF, &buffer);
    if (result == EAGAIN) {
      ++waiter;
      continue;
    }
    if (result == 0) {
      fuse_reply_ioctl(waiter->request, 0, &buffer, sizeof buffer);
    } else {
      fuse_reply_err(waiter->request, result);
    }
    waiter = waiters.erase(waiter);
  }
}

void MakePictures(Device* device, fuse_session* session) {
  while (!device->ending) {
    CameraDriver::Due due;
    if (device->driver.TakeDue(&due)) {
      const std::vector<std::uint8_t>& picture = device->picture->Make(due.frame);
      const std::size_t offset = static_cast<std::size_t>(due.buffer) * device->driver.BufferSpan();
      {
        std::lock_guard<std::mutex> lock(device->contentMutex);
        std::copy(picture.begin(), picture.end(),
                  device->content.begin() + static_cast<std::ptrdiff_t>(offset));
      }
      fuse_bufvec content = FUSE_BUFVEC_INIT(picture.size());
      content.buf[0].mem = const_cast<std::uint8_t*>(picture.data());
      fuse_lowlevel_notify_store(session, FUSE_ROOT_ID, static_cast<off_t>(offset), &content,
                                 static_cast<fuse_buf_copy_flags>(0));
      device->driver.Complete(due, picture.size());
    }
    AnswerWaiters(device);
  }
}

void Obey(CameraDriver* driver, const std::string& command) {
  if (command == "freeze" || command == "thaw") {
    driver->SetFrozen(command == "freeze");
  } else if (command == "busy" || command == "free") {
    driver->SetBusy(command == "busy");
  } else if (command == "unplug") {
    driver->Unplug();
  } else if (command.rfind("damage ", 0) == 0) {
    driver->Damage(std::atoi(command.c_str() + std::strlen("damage ")));
  }
}

void TakeCommands(Device* device, int socket) {
  char message[256];
  for (;;) {
    const ssize_t length = recv(socket, message, sizeof message, 0);
    if (length <= 0) {
      return;
    }
    Obey(&device->driver, std::string(message, static_cast<std::size_t>(length)));
    send(socket, "done", 4, MSG_NOSIGNAL);
  }
}

std::uint32_t PixelFormat(const std::string& name) {
  return name == "rgb24"   ? V4L2_PIX_FMT_RGB24
         : name == "mjpeg" ? V4L2_PIX_FMT_MJPEG
                           : V4L2_PIX_FMT_YUYV;
}

int Serve(Device* device, int socket, const char* file) {
  fuse_lowlevel_ops operations{};
  operations.getattr = GetAttributes;
  operations.open = Open;
  operations.release = Release;
  operations.read = Read;
  operations.write = Write;
  operations.ioctl = Control;
  char program[] = "orvane_fake_camera_device";
  char* arguments[] = {program, nullptr};
  fuse_args fuseArguments = FUSE_ARGS_INIT(1, arguments);
  fuse_session* session = fuse_session_new(&fuseArguments, &operations, sizeof operations, device);
  if (session == nullptr || fuse_set_signal_handlers(session) != 0 ||
      fuse_session_mount(session, file) != 0) {
    return 1;
  }
  std::thread maker(MakePictures, device, session);
  std::thread commands(TakeCommands, device, socket);
  send(socket, "done", 4, MSG_NOSIGNAL);
  fuse_session_loop(session);
  device->ending = true;
  shutdown(socket, SHUT_RDWR);
  commands.join();
  maker.join();
  fuse_session_unmount(session);
  fuse_remove_signal_handlers(session);
  fuse_session_destroy(session);
  return 0;
}

int Main(char** argv) {
  const int socket = std::atoi(argv[1]);
  const CameraColour background{std::atoi(argv[8]), std::atoi(argv[9]), std::atoi(argv[10])};
  DriverMode mode;
  mode.card = argv[3];
  mode.bus = std::string("orvane-") + argv[2];
  mode.width = std::atoi(argv[4]);
  mode.height = std::atoi(argv[5]);
  mode.pixelFormat = PixelFormat(argv[6]);
  mode.framesPerSecond = std::atoi(argv[7]);
  const std::string kind = argv[11];
  mode.capturesPictures = kind != "metadata";
  CameraPicture picture(mode.pixelFormat, mode.width, mode.height, background);
  if (kind == "clock") {
    picture.ShowClock();
  }
  mode.rowBytes = picture.RowBytes();
  mode.pictureBytes = picture.LargestBytes();
  Device device(mode, &picture);
  return Serve(&device, socket, argv[2]);
}

}  // namespace
}  // namespace support

int main(int argc, char** argv) {
  return argc == 12 ? support::Main(argv) : 2;
}
