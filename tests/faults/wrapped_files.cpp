// The calls of platform/posix for files and folders, on their way to the system.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "tests/faults/fault_layer.h"

using quillgate::test::bytesToMove;
using quillgate::test::failsNow;
using quillgate::test::isInterruptedNow;
using quillgate::test::isProgram;

// The linker asks for these names.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {
decltype(::open) __real_open;
decltype(::read) __real_read;
decltype(::write) __real_write;
decltype(::lseek) __real_lseek;
decltype(::ftruncate) __real_ftruncate;
decltype(::fchmod) __real_fchmod;
decltype(::flock) __real_flock;
decltype(::fstat) __real_fstat;
decltype(::lstat) __real_lstat;
decltype(::stat) __real_stat;
decltype(::rename) __real_rename;
decltype(::unlink) __real_unlink;
decltype(::mkdir) __real_mkdir;
decltype(::close) __real_close;
decltype(::fcntl) __real_fcntl;

int __wrap_open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if (isInterruptedNow() || failsNow("open", EACCES, path)) return -1;
  return __real_open(path, flags, mode);
}

ssize_t __wrap_read(int file, void* buffer, size_t size) {
  if (isInterruptedNow() || failsNow("read", EIO, file)) return -1;
  return __real_read(file, buffer, bytesToMove(size));
}

ssize_t __wrap_write(int file, const void* data, size_t size) {
  if (isInterruptedNow() || failsNow("write", ENOSPC, file)) return -1;
  // A line of the log is written with one call.
  const bool whole = isProgram() && (__real_fcntl(file, F_GETFL) & O_APPEND) != 0;
  return __real_write(file, data, whole ? size : bytesToMove(size));
}

off_t __wrap_lseek(int file, off_t offset, int from) noexcept {
  if (failsNow("lseek", EIO, file)) return -1;
  return __real_lseek(file, offset, from);
}

int __wrap_ftruncate(int file, off_t size) noexcept {
  if (failsNow("ftruncate", EIO, file)) return -1;
  return __real_ftruncate(file, size);
}

int __wrap_fsync(int file) {
  if (failsNow("fsync", EIO, file)) return -1;
  return 0;  // nothing here ends the system, so nothing need wait for the disk
}

int __wrap_fchmod(int file, mode_t mode) noexcept {
  if (failsNow("fchmod", EPERM, file)) return -1;
  return __real_fchmod(file, mode);
}

int __wrap_flock(int file, int operation) noexcept {
  if (isInterruptedNow() || failsNow("flock", ENOLCK, file)) return -1;
  return __real_flock(file, operation);
}

int __wrap_fstat(int file, struct stat* status) noexcept {
  if (failsNow("fstat", EIO, file)) return -1;
  return __real_fstat(file, status);
}

int __wrap_lstat(const char* path, struct stat* status) noexcept {
  if (failsNow("lstat", EIO, path)) return -1;
  return __real_lstat(path, status);
}

int __wrap_stat(const char* path, struct stat* status) noexcept {
  if (failsNow("stat", EIO, path)) return -1;
  return __real_stat(path, status);
}

int __wrap_rename(const char* from, const char* to) noexcept {
  if (failsNow("rename", EACCES, from)) return -1;
  return __real_rename(from, to);
}

int __wrap_unlink(const char* path) noexcept {
  if (failsNow("unlink", EACCES, path)) return -1;
  return __real_unlink(path);
}

int __wrap_mkdir(const char* path, mode_t mode) noexcept {
  if (failsNow("mkdir", EACCES, path)) return -1;
  return __real_mkdir(path, mode);
}

int __wrap_close(int descriptor) {
  const bool fails = failsNow("close", EINTR, descriptor);
  // Linux closes it all the same.
  const int result = __real_close(descriptor);
  if (!fails) return result;
  errno = EINTR;
  return -1;
}
}
// NOLINTEND(readability-identifier-naming)
