#pragma once

#include <functional>

namespace quarn {

/// The errno of the FileError that `work` throws; 0 if it throws none.
int errorOf(const std::function<void()>& work);

}  // namespace quarn
