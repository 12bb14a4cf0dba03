#include <gmock/gmock.h>

#include "tests/quarn/browse/Tmux.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/GoldenFile.h"
#include "tests/support/MacVolume.h"

// Where a Mac keeps what its terminals can do: in folders with hexadecimal names, because its file system does not
// tell "A" from "a".

namespace quarn::browse_on_terminal_tests_darwin {
namespace {

using testing::HasSubstr;

/// The last screen of the browser on a terminal "linux", which is not built in, with one description of it.
std::string screenWithDescription(const std::string& place) {
  MacVolume descriptions;
  descriptions.text(place, contentOf("/lib/terminfo/l/linux"));
  Tmux terminal(80, 24);
  terminal.start({quarnProgram(), "--volume", sampleFolder(), "--home", "/Users/ann", "browse", "~/Library"},
                 {"TERM=linux", "TERMINFO=" + descriptions.root()});
  return terminal.waitFor([](const std::string& now) {
    return now.find("space marks") != std::string::npos || now.find("exit code") != std::string::npos;
  });
}

TEST(BrowserTerminals, AreReadFromFoldersWithHexadecimalNames) {
  EXPECT_THAT(screenWithDescription("/6c/linux"), HasSubstr("space marks"));
}

TEST(BrowserTerminals, AreNotLookedForInFoldersNamedByALetter) {
  EXPECT_THAT(screenWithDescription("/l/linux"), HasSubstr("open terminal linux"));
}

}  // namespace
}  // namespace quarn::browse_on_terminal_tests_darwin
