#include <gmock/gmock.h>

#include "QuarnSystem/UserHomes.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::user_homes_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(UserHomes, AreTheVisibleFoldersInUsersThatBelongToAUser) {
  MacVolume volume;
  volume.folder("/Users/zoe").folder("/Users/ann").folder("/Users/Shared").folder("/Users/Guest");
  volume.folder("/Users/.hidden").file("/Users/file").file("/Users/.localized");
  EXPECT_THAT(userHomes(volume.files()), ElementsAre(FileURL("/Users/ann"), FileURL("/Users/zoe")));
}

TEST(UserHomes, ALinkIsNotOne) {
  MacVolume volume;
  volume.folder("/Users/ann").folder("/Elsewhere/bob").link("/Users/bob", "/Elsewhere/bob").link("/Users/me", "ann");
  volume.link("/Users/loop", "loop").link("/Users/out", "/Volumes/Disk/out");
  EXPECT_THAT(userHomes(volume.files()), ElementsAre(FileURL("/Users/ann")));
}

TEST(UserHomes, AVolumeWithoutUsersHasNoneAndAClosedFolderIsAnError) {
  MacVolume volume("/Users/ann");
  volume.remove("/Users");
  EXPECT_THAT(userHomes(volume.files()), IsEmpty());
  volume.folder("/Users/ann").mode("/Users", 0000);
  const UnprivilegedUser user;
  EXPECT_THROW(userHomes(volume.files()), FileError);
}

}  // namespace
}  // namespace quarn::user_homes_tests
