#include "QuarnCore/scans/ScanError.h"

#include <cerrno>

namespace quarn {
namespace {

std::string textOf(ScanError::Problem problem, const std::string& file) {
  switch (problem) {
    case ScanError::Problem::foreign: return file + " is not a scan (\"quarn scan -o FILE\" writes one)";
    case ScanError::Problem::newer: return file + " is a scan of a newer version of quarn (update quarn)";
    case ScanError::Problem::damaged: return file + " is damaged (copy it again, or make a new scan)";
  }
  return file;
}

}  // namespace

ScanError::ScanError(Problem problem, const std::string& file)
    : FileError(EINVAL, "open scan", file), problem_(problem), text_(textOf(problem, file)) {}

}  // namespace quarn
