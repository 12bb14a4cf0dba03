#pragma once

#include <string>
#include <vector>

#include "QuarnCore/vendors/VendorProfile.h"

namespace quarn {

/// The texts of an app that vendor profiles match, lower-cased and composed once.
struct AppTexts {
  explicit AppTexts(const AppEntity& app);

  std::string bundleID;  ///< "" if the app has none
  std::string name;
  std::string bundleName;  ///< file name of the bundle: "example.app"
};

/// The match rules of a profile, lower-cased and composed once. Matching many apps with many profiles only compares.
class VendorMatcher {
 public:
  explicit VendorMatcher(const VendorProfile& profile);

  [[nodiscard]] bool matches(const AppTexts& app) const;

 private:
  [[nodiscard]] bool matchesByName(const AppTexts& app) const;

  std::vector<std::string> bundleIDs_;
  std::vector<std::string> prefixes_;
  std::vector<std::string> nameParts_;
  std::vector<std::string> bundleNames_;  ///< file names that confirm a name match; if empty, none is needed
};

}  // namespace quarn
