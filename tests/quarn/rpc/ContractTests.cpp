#include <gtest/gtest.h>

#include "quarn/rpc/Server.h"
#include "tests/support/GoldenFile.h"
#include "tests/support/ProjectFolder.h"

namespace quarn::contract_tests {
namespace {

// A change of methods, params, results, records or errors changes the contract with clients. It fails here first;
// update the file deliberately with QUARN_UPDATE_GOLDEN=1, and `kProtocolVersion` with it.
TEST(Contract, TheInterfaceMatchesTheGoldenFile) {
  EXPECT_TRUE(isGolden(projectFolder() / "tests/quarn/rpc/contract.json", describeInterface() + "\n"));
}

}  // namespace
}  // namespace quarn::contract_tests
