#include "tests/support/ProjectFolder.h"

namespace quarn {

std::filesystem::path projectFolder() { return QUARN_PROJECT_FOLDER; }

}  // namespace quarn
