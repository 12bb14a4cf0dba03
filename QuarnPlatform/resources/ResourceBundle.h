#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace quarn {

/// A host folder of read-only resources: the built-in ones or a replacement.
class ResourceBundle {
 public:
  /// Maximum size of a resource in bytes.
  static constexpr std::size_t kMaximumBytes = 16u << 20;

  /// The installed resources: "../share/quarn" relative to the folder of the running program, so an installation can
  /// be moved. The folder need not exist; then the bundle is empty.
  static ResourceBundle shipped();
  /// The bundle that contains a class of the library. All classes are in the installed resources; the argument
  /// documents the reader.
  template <class Anchor>
  static ResourceBundle containing() {
    static_assert(std::is_empty_v<Anchor>);
    return shipped();
  }
  explicit ResourceBundle(std::string folder) : folder_(std::move(folder)) {}

  /// Gets the path and the errno of a resource that is there and cannot be read; called on the reading thread.
  using OnUnreadable = std::function<void(const std::string& path, int error)>;
  /// The same folder; what cannot be read is told to `onUnreadable`.
  [[nodiscard]] ResourceBundle reportingTo(OnUnreadable onUnreadable) const;

  [[nodiscard]] const std::string& folder() const { return folder_; }

  /// True if an item exists at "<folder>/<subdirectory>/<name>.<extension>", readable or not.
  [[nodiscard]] bool contains(std::string_view name, std::string_view extension,
                              std::string_view subdirectory = "") const;

  /// Reads the file "<folder>/<subdirectory>/<name>.<extension>". Names are case-sensitive. Absent if the file cannot
  /// be read or a name has a ".." component.
  [[nodiscard]] std::optional<std::string> read(std::string_view name, std::string_view extension,
                                                std::string_view subdirectory = "") const;

  /// The same for the file in the subdirectory, or for the one in the bundle's folder if there is none. A file that
  /// cannot be read hides the other one.
  [[nodiscard]] std::optional<std::string> readBelowOrHere(std::string_view name, std::string_view extension,
                                                           std::string_view subdirectory) const;

  struct OpenResource;  ///< private to the source file

 private:
  [[nodiscard]] std::optional<std::string> contentOf(const std::string& path, const OpenResource& file) const;
  [[nodiscard]] std::optional<std::string> pathOf(std::string_view name, std::string_view extension,
                                                  std::string_view subdirectory) const;

  std::string folder_;
  OnUnreadable onUnreadable_;
};

}  // namespace quarn
