#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tests/macos/loader/MachO.h"

namespace quarn::loader {

/// A program or library for macOS on x86_64, mapped into this process. It stays mapped until the process ends.
/// Programs are mapped where they were linked, libraries (linked at 0) wherever there is room. Ends the process with a
/// message on a file that is not such a Mach-O, or that uses chained fixups, which this loader does not know.
class Image {
 public:
  /// Where an imported symbol ("_memcpy") is; null when nowhere.
  using Resolver = std::function<void*(std::string_view symbol)>;

  explicit Image(const std::string& path);

  /// The libraries that the file names, in the file's order: "/usr/lib/libSystem.B.dylib".
  [[nodiscard]] const std::vector<std::string>& libraries() const { return libraries_; }
  [[nodiscard]] const std::vector<std::string>& runPaths() const { return runPaths_; }
  /// The address of a symbol that the image defines for others; null when it does not.
  [[nodiscard]] void* exported(std::string_view symbol) const;

  /// Moves what the image says about its own addresses, binds its imports and protects its segments. Returns the
  /// symbols that `resolve` does not know.
  std::vector<std::string> bind(const Resolver& resolve);
  /// Runs the image's initialisers in order.
  void initialize(int count, char** words, char** environment) const;
  /// The program's main; null for a library.
  [[nodiscard]] void* mainFunction() const;

  [[nodiscard]] bool contains(std::uint64_t address) const;
  [[nodiscard]] std::uint64_t base() const { return slide_ + textAddress_; }
  /// A section's place in memory, empty when there is none.
  struct Bytes {
    const char* data = nullptr;
    std::uint64_t size = 0;
  };
  [[nodiscard]] Bytes section(std::string_view name) const;
  /// The image's thread-local variables: the room that all of them take, and the initial values of those that do not
  /// start as zeros.
  struct ThreadLocals {
    std::uint64_t size = 0;
    Bytes values;
    std::uint64_t valuesOffset = 0;  ///< of `values` in the room
  };
  [[nodiscard]] ThreadLocals threadLocals() const;

 private:
  template <class Record>
  [[nodiscard]] const Record* recordAt(std::uint64_t offset, std::uint64_t count = 1) const;
  void readCommands();
  void readCommand(const macho::Command& command, std::uint64_t offset);
  [[nodiscard]] std::string textOf(const macho::Command& command, std::uint64_t offset) const;
  void map(int file);
  void mapSegment(const macho::Segment& segment, int file) const;
  void indexExports();
  void protect() const;
  void rebase() const;
  [[nodiscard]] std::uint64_t* placeAt(std::uint64_t address) const;
  [[nodiscard]] std::uint64_t segmentAddress(std::uint8_t index) const;
  /// A weak symbol that no image exports keeps the image's own definition, which its place already has.
  enum class Binding : std::uint8_t { now, weak, lazy };
  void bindRange(std::uint32_t offset, std::uint32_t size, Binding binding, const Resolver& resolve,
                 std::vector<std::string>& missing) const;
  [[noreturn]] void fail(const std::string& why) const;

  std::string path_;
  std::string_view bytes_;  ///< the file's
  std::vector<macho::Segment> segments_;
  std::vector<macho::Section> sections_;
  std::vector<std::string> libraries_;
  std::vector<std::string> runPaths_;
  const macho::DyldInfo* dyldInfo_ = nullptr;
  const macho::SymbolTable* symbolTable_ = nullptr;
  std::uint64_t entryOffset_ = 0;
  std::uint64_t textAddress_ = 0;
  std::uint64_t slide_ = 0;  // how far from where it was linked it is mapped
  // A program binds thousands of symbols, each of them looked for in every image.
  std::unordered_map<std::string_view, void*> exports_;
};

}  // namespace quarn::loader
