#pragma once

namespace quarn {

/// Says to the system that the calling thread helps a long piece of work that a person sees progress of and does not
/// wait for at every moment. Every thread that the library starts calls it first. On macOS: quality of service
/// "utility". Nothing on Linux.
void becomeHelperThread();

}  // namespace quarn
