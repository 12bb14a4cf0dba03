#include <fcntl.h>

#include "QuarnPlatform/files/WriteBack.h"

namespace quarn {

void beginWriteBack(int descriptor) { (void)::sync_file_range(descriptor, 0, 0, SYNC_FILE_RANGE_WRITE); }

}  // namespace quarn
