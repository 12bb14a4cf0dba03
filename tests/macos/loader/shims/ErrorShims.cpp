// Error numbers. A program has an errno of its own, in macOS's numbers; what glibc left in its errno is translated when
// the program asks for it.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tests/macos/loader/Shims.h"

namespace quarn::loader {
namespace {

struct ErrorRow {
  int here, darwin;
};

// Where the two systems' numbers differ.
constexpr std::array kErrors = std::to_array<ErrorRow>({
    {EAGAIN, 35},       {EDEADLK, 11},       {ENAMETOOLONG, 63},    {ENOLCK, 77},       {ENOSYS, 78},
    {ENOTEMPTY, 66},    {ELOOP, 62},         {ENOMSG, 91},          {EIDRM, 90},        {ENODATA, 93},
    {ETIME, 101},       {ENOLINK, 97},       {EPROTO, 100},         {EBADMSG, 94},      {EOVERFLOW, 84},
    {EILSEQ, 92},       {EUSERS, 68},        {ENOTSOCK, 38},        {EDESTADDRREQ, 39}, {EMSGSIZE, 40},
    {EPROTOTYPE, 41},   {ENOPROTOOPT, 42},   {EPROTONOSUPPORT, 43}, {EOPNOTSUPP, 45},   {EAFNOSUPPORT, 47},
    {EADDRINUSE, 48},   {EADDRNOTAVAIL, 49}, {ENETDOWN, 50},        {ENETUNREACH, 51},  {ENETRESET, 52},
    {ECONNABORTED, 53}, {ECONNRESET, 54},    {ENOBUFS, 55},         {EISCONN, 56},      {ENOTCONN, 57},
    {ETIMEDOUT, 60},    {ECONNREFUSED, 61},  {EHOSTUNREACH, 65},    {EALREADY, 37},     {EINPROGRESS, 36},
    {ESTALE, 70},       {EDQUOT, 69},        {ECANCELED, 89},       {EOWNERDEAD, 105},  {ENOTRECOVERABLE, 104},
});

int hereError(int darwin) {
  const auto* row = std::find_if(kErrors.begin(), kErrors.end(), [&](const ErrorRow& r) { return r.darwin == darwin; });
  return row == kErrors.end() ? darwin : row->here;
}

thread_local int programError = 0;

int* error() {
  if (errno != 0) programError = darwinError(errno);
  errno = 0;
  return &programError;
}

char* errorText(int number) { return ::strerror(hereError(number)); }

int errorTextInto(int number, char* text, std::size_t size) {
  std::snprintf(text, size, "%s", errorText(number));
  return 0;
}

void printError(const char* what) { std::fprintf(stderr, "%s: %s\n", what, errorText(*error())); }

}  // namespace

int darwinError(int number) {
  const auto* row = std::find_if(kErrors.begin(), kErrors.end(), [&](const ErrorRow& r) { return r.here == number; });
  return row == kErrors.end() ? number : row->darwin;
}

std::span<const Shim> errorShims() {
  static const std::array shims{shim("__error", error), shim("strerror", errorText), shim("strerror_r", errorTextInto),
                                shim("perror", printError)};
  return shims;
}

}  // namespace quarn::loader
