// Runs a program that was built for macOS on x86_64 under Linux: macho_run [--with LIBRARY]... PROGRAM [WORDS...]
//
// It maps the program and the libraries that come with it (those named "@rpath/…"), binds what they import from the
// system to functions of this process (Shims.h), and calls the program's main. The system calls that only macOS has
// come from tests/macos/emulation. It shows that the program computes what it should; it cannot show what a Mac's
// kernel answers. What a library after --with defines serves every import: the unwinder, on a Mac a part of the system.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <list>

#include "tests/macos/loader/Image.h"
#include "tests/macos/loader/Shims.h"
#include "tests/macos/loader/ThreadLocals.h"

extern char** environ;

namespace quarn::loader {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kRunPath = "@rpath/";
constexpr std::string_view kLoaderPath = "@loader_path";
constexpr std::string_view kExecutablePath = "@executable_path";

[[noreturn]] void fail(const std::string& why) {
  std::fprintf(stderr, "macho_run: %s\n", why.c_str());
  std::exit(126);
}

// Both prefixes are the program's folder: no library here brings a run path of its own.
fs::path resolvedRunPath(const fs::path& program, const std::string& runPath) {
  for (const std::string_view prefix : {kLoaderPath, kExecutablePath}) {
    if (runPath.starts_with(prefix)) return program.parent_path() / ("." + runPath.substr(prefix.size()));
  }
  return runPath;
}

fs::path libraryPath(const fs::path& program, const Image& image, const std::string& library) {
  for (const std::string& runPath : image.runPaths()) {
    const fs::path candidate = resolvedRunPath(program, runPath) / library.substr(kRunPath.size());
    if (fs::exists(candidate)) return candidate;
  }
  fail("no run path leads to " + library);
}

/// The program first, then its libraries and the further ones; an image's place in memory must not change.
std::list<Image> load(const fs::path& program, const std::vector<std::string>& furtherLibraries) {
  std::list<Image> images;
  images.emplace_back(program);
  for (const std::string& library : images.front().libraries()) {
    if (library.starts_with(kRunPath)) images.emplace_back(libraryPath(program, images.front(), library));
  }
  for (const std::string& library : furtherLibraries) images.emplace_back(library);
  return images;
}

void* resolve(const std::list<Image>& images, std::string_view symbol) {
  for (const Image& image : images) {
    if (void* found = image.exported(symbol)) return found;
  }
  return findImport(symbol);
}

void bind(std::list<Image>& images) {
  int missing = 0;
  for (Image& image : images) {
    for (const std::string& symbol : image.bind([&](std::string_view name) { return resolve(images, name); })) {
      std::fprintf(stderr, "macho_run: nothing to bind %s to\n", symbol.c_str());
      ++missing;
    }
  }
  if (missing != 0) fail(std::to_string(missing) + " imports are unknown");
}

int run(const std::vector<std::string>& furtherLibraries, int count, char** words) {
  std::error_code error;
  const fs::path program = fs::canonical(words[0], error);
  if (error) fail(std::string(words[0]) + ": " + error.message());
  std::list<Image> images = load(program, furtherLibraries);
  runningProgram() = {.path = program, .wordCount = count, .words = words, .images = &images};
  bind(images);
  useThreadLocals(images.front());
  for (auto image = images.rbegin(); image != images.rend(); ++image) image->initialize(count, words, environ);
  using Main = int (*)(int, char**, char**);
  const auto main = reinterpret_cast<Main>(images.front().mainFunction());
  if (main == nullptr) fail("it is a library");
  std::exit(main(count, words, environ));
}

}  // namespace
}  // namespace quarn::loader

int main(int count, char** words) {
  std::vector<std::string> furtherLibraries;
  int next = 1;
  for (; next + 1 < count && std::string_view(words[next]) == "--with"; next += 2)
    furtherLibraries.emplace_back(words[next + 1]);
  if (next >= count) {
    std::fputs("usage: macho_run [--with LIBRARY]... PROGRAM [WORDS...]\n", stderr);
    return 126;
  }
  return quarn::loader::run(furtherLibraries, count - next, words + next);
}
