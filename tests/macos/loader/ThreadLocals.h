#pragma once

#include "tests/macos/loader/Image.h"

namespace quarn::loader {

/// Gives every thread its own copy of the program's thread-local variables. Call once, before the program runs.
void useThreadLocals(const Image& program);

}  // namespace quarn::loader

/// What a thread-local variable's descriptor calls for the variable's address (`_tlv_bootstrap`). It keeps every
/// register but the one of the result.
extern "C" void quarn_thread_local_address();
