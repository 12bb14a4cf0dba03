#pragma once

namespace quarn {

/// Keeps this process from downloading what is only in the cloud: reading such a file, or entering such a folder, fails
/// with EDEADLK instead, which read reports count as "in the cloud". For the whole process and until it ends, so a
/// program on the library decides itself whether to call it; `quarn` calls it first. False, and errno, when the system
/// refuses. Nothing to do on Linux, where a mounted volume has no cloud.
[[nodiscard]] bool refuseCloudDownloads();

}  // namespace quarn
