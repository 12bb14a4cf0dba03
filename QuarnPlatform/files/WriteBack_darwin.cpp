#include "QuarnPlatform/files/WriteBack.h"

namespace quarn {

void beginWriteBack(int /*descriptor*/) {}

}  // namespace quarn
