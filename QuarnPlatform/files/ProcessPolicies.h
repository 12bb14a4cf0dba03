#pragma once

namespace quarn {

// Settings that macOS keeps for the whole process, from the call on. They change what every part of the program does,
// so a program on the library decides whether to call them; `quarn` calls them first. False, and errno, when the system
// refuses. On Linux both do nothing and return true: a mounted volume has no cloud, and each opening keeps access times
// by itself.

/// Refuses to download what is only in the cloud. Reading such a file, or entering such a folder, fails with EDEADLK
/// instead; read reports count it as `UnreadableCause::onlyInCloud`.
[[nodiscard]] bool refuseCloudDownloads();

/// Keeps the access times of all that this process reads; see `AccessTimes`.
[[nodiscard]] bool keepAccessTimes();

}  // namespace quarn
