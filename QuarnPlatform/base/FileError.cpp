#include "QuarnPlatform/base/FileError.h"

#include <cerrno>
#include <utility>

namespace quarn {
namespace {

// clang-format off
constexpr std::pair<int, std::string_view> kErrnoNames[] = {
    {EPERM, "EPERM"},
    {ENOENT, "ENOENT"},
    {EINTR, "EINTR"},
    {EIO, "EIO"},
    {ENXIO, "ENXIO"},
    {EBADF, "EBADF"},
    {EAGAIN, "EAGAIN"},
    {EDEADLK, "EDEADLK"},
    {ENOMEM, "ENOMEM"},
    {EACCES, "EACCES"},
    {EBUSY, "EBUSY"},
    {EXDEV, "EXDEV"},
    {ENODEV, "ENODEV"},
    {ENOTDIR, "ENOTDIR"},
    {EISDIR, "EISDIR"},
    {EINVAL, "EINVAL"},
    {ENFILE, "ENFILE"},
    {EMFILE, "EMFILE"},
    {EFBIG, "EFBIG"},
    {ENAMETOOLONG, "ENAMETOOLONG"},
    {ENOSYS, "ENOSYS"},
    {ELOOP, "ELOOP"},
    {ENOTSUP, "ENOTSUP"},
    {EOVERFLOW, "EOVERFLOW"},
    {ESTALE, "ESTALE"},
    {EILSEQ, "EILSEQ"},
    {E2BIG, "E2BIG"},
    {EROFS, "EROFS"},
    {ENOSPC, "ENOSPC"},
    {ETIMEDOUT, "ETIMEDOUT"},
#ifdef EUCLEAN
    {EUCLEAN, "EUCLEAN"},
#endif
};
// clang-format on

}  // namespace

FileError::FileError(int error, std::string operation, std::string path)
    : std::system_error(error, std::generic_category(), operation + " " + path),
      operation_(std::move(operation)),
      path_(std::move(path)) {}

void throwFileError(std::string_view operation, std::string_view path) { throwFileError(errno, operation, path); }

void throwFileError(int error, std::string_view operation, std::string_view path) {
  throw FileError(error, std::string(operation), std::string(path));
}

bool meansMissing(int error) {
  return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG || error == EILSEQ;
}

bool meansNoDescriptor(int error) { return error == EMFILE || error == ENFILE; }

std::string errnoName(int error) {
  for (const auto& [number, name] : kErrnoNames) {
    if (number == error) return std::string(name);
  }
  return "E" + std::to_string(error);
}

}  // namespace quarn
