#include <limits>

#include <gmock/gmock.h>

#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/MemoryVolume.h"

namespace quarn::rpc_command_tests {
namespace {

using ::testing::HasSubstr;

TEST(RPCCommand, AnOverflowIsAnErrorOfOneRequestAndTheServerGoesOn) {
  MacVolume volume = volumeInMemory();
  constexpr std::int64_t kHuge = std::numeric_limits<std::int64_t>::max() - 1;
  volume.sparse("/Users/ann/Documents/a", kHuge).sparse("/Users/ann/Documents/b", kHuge);
  const std::string size =
      R"({"jsonrpc":"2.0","id":1,"method":"FileSizeCalculator.itemSize","params":{"at":"file:///Users/ann/Documents","allowSlow":true,"includeHidden":true}})";
  const CommandRun run =
      runQuarn({"--volume", volume.root(), "rpc"},
               size + "\n" + R"({"jsonrpc":"2.0","id":2,"method":"AppsService.discoverApps"})" + "\n");
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr(R"("id":1,"error":{"code":-32000)"));
  EXPECT_THAT(run.out, HasSubstr("EOVERFLOW"));
  EXPECT_THAT(run.out, HasSubstr(R"("id":2,"result":[])"));
}

TEST(RPCCommand, TheFolderOfScansMustExistAndNotBeOnTheVolume) {
  const MacVolume volume;
  const CommandRun inside = runQuarn({"--volume", volume.root(), "rpc", "--scans", volume.root() + "/Users"});
  EXPECT_EQ(inside.exitCode, 2);
  EXPECT_THAT(inside.err, HasSubstr("--scans: " + volume.root() + "/Users is on the inspected volume"));
  const CommandRun missing = runQuarn({"--volume", volume.root(), "rpc", "--scans", "/nowhere/scans"});
  EXPECT_EQ(missing.exitCode, 3);
  EXPECT_THAT(missing.err, HasSubstr("/nowhere/scans: No such file or directory"));
}

}  // namespace
}  // namespace quarn::rpc_command_tests
