#include <pthread.h>
#include <pthread/qos.h>

#include "QuarnPlatform/base/HelperThread.h"

namespace quarn {

// A refusal changes nothing but the thread's share of the processor.
void becomeHelperThread() { ::pthread_set_qos_class_self_np(QOS_CLASS_UTILITY, 0); }

}  // namespace quarn
