#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace quarn {

/// A folder of read-only resources on the host: what the library ships, or a folder in its place. A plain value.
class ResourceBundle {
 public:
  /// Largest resource that is read, in bytes.
  static constexpr std::size_t kMaximumBytes = 16u << 20;

  /// The shipped resources: "share/quarn" beside the folder of the running program ("bin/quarn"), so that an
  /// installation may be moved as a whole. Need not exist; then nothing is found.
  static ResourceBundle shipped();
  explicit ResourceBundle(std::string folder) : folder_(std::move(folder)) {}

  /// Gets the path and the errno of a resource that is there and cannot be read; called on the reading thread.
  using OnUnreadable = std::function<void(const std::string& path, int error)>;
  /// The same folder; what cannot be read is told to `onUnreadable`.
  [[nodiscard]] ResourceBundle reportingTo(OnUnreadable onUnreadable) const;

  [[nodiscard]] const std::string& folder() const { return folder_; }

  /// Whether anything lies at "<folder>/<subdirectory>/<name>.<extension>", readable or not.
  [[nodiscard]] bool contains(std::string_view name, std::string_view extension,
                              std::string_view subdirectory = "") const;

  /// The bytes of "<folder>/<subdirectory>/<name>.<extension>", exact names; absent when there is no such readable
  /// file. A name that would leave the folder (a ".." component) finds nothing.
  [[nodiscard]] std::optional<std::string> read(std::string_view name, std::string_view extension,
                                                std::string_view subdirectory = "") const;

 private:
  [[nodiscard]] std::optional<std::string> pathOf(std::string_view name, std::string_view extension,
                                                  std::string_view subdirectory) const;

  std::string folder_;
  OnUnreadable onUnreadable_;
};

}  // namespace quarn
